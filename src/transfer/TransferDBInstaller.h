#pragma once

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::transfer {

// Registers "frmTransferDB" and "frmHistorical" and puts their opening buttons, cmdEclaims and
// cmdHistorical, on the "Transfer Data" page.
void installTransferDBWindows(window::MainWindowContext& context);

} // namespace qormin::transfer
