#pragma once

namespace qormin::app {

class MainWindowContext;

// Lets every subsystem put its buttons, pages and windows onto the assembled main window.
void installSubsystemTools(MainWindowContext& context);

} // namespace qormin::app
