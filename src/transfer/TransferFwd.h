#pragma once

// The collaborators the transfer windows and their handlers hold by reference, declared once so
// their headers need not pull in the database and control layers.

namespace qormin::db {
class RecordReader;
class RecordWriter;
class ServerAccess;
} // namespace qormin::db

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::platform {
class MessageBoxService;
}
