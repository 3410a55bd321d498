#pragma once

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::app {

// Lets every subsystem put its buttons, pages and windows onto the assembled main window.
void installSubsystemTools(window::MainWindowContext& context);

} // namespace qormin::app
