#include "tablecopy/TableCopyInstaller.h"

#include "app/MainWindowContext.h"
#include "tablecopy/TableCopyTools.h"

#include <QBoxLayout>

namespace qormin::tablecopy {

namespace {
constexpr int copyPage = 1;
}

void installTableCopyTools(app::MainWindowContext& context) {
    TableCopyControls controls{context.serverAccess(), *context.Grid2(), *context.txtDB(),
                               *context.chkStop()};
    auto* tools = new TableCopyTools(controls, context.page(copyPage));
    context.pageToolArea(copyPage)->addWidget(tools);
}

} // namespace qormin::tablecopy
