#include "sqltools/SqlToolsInstaller.h"

#include "sqltools/SpReplacePage.h"
#include "sqltools/SpeedTestPage.h"
#include "sqltools/SqlToStringPage.h"
#include "sqltools/TableSizesPage.h"
#include "sqltools/UsersPage.h"

namespace qormin::sqltools {

void installSqlTools(window::MainWindowContext& context) {
    SpeedTestPage::install(context);
    SqlToStringPage::install(context);
    TableSizesPage::install(context);
    SpReplacePage::install(context);
    UsersPage::install(context);
}

} // namespace qormin::sqltools
