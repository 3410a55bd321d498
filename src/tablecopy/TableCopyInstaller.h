#pragma once

namespace qormin::app {
class MainWindowContext;
}

namespace qormin::tablecopy {

// Puts the table-copy buttons onto the "Copy" page of the main window.
void installTableCopyTools(app::MainWindowContext& context);

} // namespace qormin::tablecopy
