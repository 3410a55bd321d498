#include "app/SubsystemTools.h"

#include "anonymize/ConfigAnonymizePage.h"
#include "dbfiles/DatabaseFileTools.h"
#include "net/NetworkSharePage.h"
#include "sqltools/SqlToolsInstaller.h"
#include "tablecopy/TableCopyInstaller.h"
#include "transfer/MigrateDataInstaller.h"
#include "transfer/TransferDBInstaller.h"
#include "window/MainWindowContext.h"

namespace qormin::app {

// One line per subsystem, in the order their buttons should appear.
void installSubsystemTools(window::MainWindowContext& context) {
    net::NetworkSharePage* shares = net::NetworkSharePage::install(context);
    context.provideClearConnections([shares](int side) { shares->cmdClearConnections_Click(side); });
    dbfiles::installDatabaseFileTools(context);
    tablecopy::installTableCopyTools(context);
    anonymize::ConfigAnonymizePage::install(context);
    sqltools::installSqlTools(context);
    transfer::installMigrateDataWindows(context);
    transfer::installTransferDBWindows(context);
}

} // namespace qormin::app
