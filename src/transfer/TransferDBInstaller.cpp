#include "transfer/TransferDBInstaller.h"

#include "transfer/frmHistorical.h"
#include "transfer/frmTransferDB.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QPushButton>

namespace qormin::transfer {

namespace {

constexpr int transferPage = window::Tab::TransferData;

void addOpeningButton(window::MainWindowContext& context, const QString& name, const QString& caption,
                      const QString& windowName) {
    auto* button = new QPushButton(caption, context.page(transferPage));
    button->setObjectName(name);
    context.pageToolArea(transferPage)->addWidget(button);
    QObject::connect(button, &QPushButton::clicked, button,
                     [&context, windowName] { context.openWindow(windowName); });
}

} // namespace

void installTransferDBWindows(window::MainWindowContext& context) {
    context.registerWindow(QStringLiteral("frmTransferDB"),
                           [&context](QWidget* parent) { return new frmTransferDB(context, parent); });
    context.registerWindow(QStringLiteral("frmHistorical"),
                           [&context](QWidget* parent) { return new frmHistorical(context, parent); });
    addOpeningButton(context, QStringLiteral("cmdEclaims"), QStringLiteral("Transfer DB (eClaims)"),
                     QStringLiteral("frmTransferDB"));
    addOpeningButton(context, QStringLiteral("cmdHistorical"), QStringLiteral("Transfer to History"),
                     QStringLiteral("frmHistorical"));
}

} // namespace qormin::transfer
