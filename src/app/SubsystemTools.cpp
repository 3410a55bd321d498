#include "app/SubsystemTools.h"

#include "app/MainWindowContext.h"
#include "dbfiles/DatabaseFileTools.h"
#include "net/NetworkSharePage.h"
#include "tablecopy/TableCopyInstaller.h"

namespace qormin::app {

// One line per subsystem, in the order their buttons should appear.
void installSubsystemTools(MainWindowContext& context) {
    (void)context;
    net::NetworkSharePage::install(context);
    dbfiles::installDatabaseFileTools(context);
    tablecopy::installTableCopyTools(context);
}

} // namespace qormin::app
