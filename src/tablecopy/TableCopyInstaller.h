#pragma once

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::tablecopy {

// Puts the table-copy buttons onto the "Copy" page of the main window.
void installTableCopyTools(window::MainWindowContext& context);

} // namespace qormin::tablecopy
