#include "transfer/MigrateDataInstaller.h"

#include "transfer/frmFixTransDate.h"
#include "transfer/frmMigrateData.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QPushButton>

namespace qormin::transfer {

namespace {

constexpr int transferPage = window::Tab::TransferData;

// A running handler reads these buttons' flags on purpose, so they stay live.
void allowStopButtons(window::MainWindowContext& context, QWidget* window,
                      std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (auto* button = window->findChild<QPushButton*>(QString::fromLatin1(name))) {
            context.allowWhileBusy(button);
        }
    }
}

void addOpeningButton(window::MainWindowContext& context, QBoxLayout* row, const QString& name,
                      const QString& caption, const QString& window) {
    auto* button = new QPushButton(caption, context.page(transferPage));
    button->setObjectName(name);
    QObject::connect(button, &QPushButton::clicked, button,
                     [&context, window] { context.openWindow(window); });
    row->addWidget(button);
}

} // namespace

void installMigrateDataWindows(window::MainWindowContext& context) {
    context.registerWindow(QStringLiteral("frmMigrateData"), [&context](QWidget* parent) -> QWidget* {
        auto* window = new frmMigrateData(context.serverAccess(), context.messageBoxes(),
                                          context.dataDirectory(), parent);
        allowStopButtons(context, window, {"cmdStop", "cmdSkipTable"});
        return window;
    });
    context.registerWindow(QStringLiteral("frmFixTransDate"), [&context](QWidget* parent) -> QWidget* {
        auto* window =
            new frmFixTransDate(context.serverAccess(), context.messageBoxes(), context.settings(), parent);
        allowStopButtons(context, window, {"cmdStop"});
        return window;
    });
    auto* row = new QHBoxLayout;
    addOpeningButton(context, row, QStringLiteral("cmdMigrateData"), QStringLiteral("Migrate Data"),
                     QStringLiteral("frmMigrateData"));
    addOpeningButton(context, row, QStringLiteral("cmdFixTransDate"), QStringLiteral("Fix Trans Date"),
                     QStringLiteral("frmFixTransDate"));
    row->addStretch();
    context.pageToolArea(transferPage)->addLayout(row);
}

} // namespace qormin::transfer
