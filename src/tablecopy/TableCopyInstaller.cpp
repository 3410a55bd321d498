#include "tablecopy/TableCopyInstaller.h"

#include "tablecopy/CopyByIdTools.h"
#include "tablecopy/TableCopyTools.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>

namespace qormin::tablecopy {

namespace {
constexpr int copyPage = window::Tab::Copy;
}

void installTableCopyTools(window::MainWindowContext& context) {
    TableCopyControls controls{context.serverAccess(), *context.Grid2(), *context.txtDB(), *context.chkStop(),
                               &context.confirmations()};
    auto* tools = new TableCopyTools(controls, context.page(copyPage));
    context.pageToolArea(copyPage)->addWidget(tools);
    context.pageToolArea(copyPage)->addWidget(new CopyByIdTools(context, context.page(copyPage)));
}

} // namespace qormin::tablecopy
