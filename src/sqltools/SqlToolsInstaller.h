#pragma once

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::sqltools {

// Puts the SQL utilities onto their pages: TEST, SQL to String, table sizes, SP Replace, Users.
void installSqlTools(window::MainWindowContext& context);

} // namespace qormin::sqltools
