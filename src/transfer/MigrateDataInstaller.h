#pragma once

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::transfer {

// Registers frmMigrateData and frmFixTransDate and puts their opening buttons, cmdMigrateData
// and cmdFixTransDate, side by side on the "Transfer Data" page.
void installMigrateDataWindows(window::MainWindowContext& context);

} // namespace qormin::transfer
