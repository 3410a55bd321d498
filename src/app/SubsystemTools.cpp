#include "app/SubsystemTools.h"

#include "anonymize/ConfigAnonymizePage.h"
#include "dbfiles/DatabaseFileTools.h"
#include "net/NetworkSharePage.h"
#include "tablecopy/TableCopyInstaller.h"
#include "transfer/TransferDBInstaller.h"
#include "window/MainWindowContext.h"

namespace qormin::app {

// One line per subsystem, in the order their buttons should appear.
void installSubsystemTools(window::MainWindowContext& context) {
    (void)context;
    net::NetworkSharePage::install(context);
    dbfiles::installDatabaseFileTools(context);
    tablecopy::installTableCopyTools(context);
    anonymize::ConfigAnonymizePage::install(context);
    transfer::installTransferDBWindows(context);
}

} // namespace qormin::app
