#include "app/LogPanel.h"

#include "app/LogView.h"
#include "app/ServerMessageView.h"
#include "db/ServerAccess.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

namespace qormin::app {

LogPanel::LogPanel(db::ServerAccess& access, QWidget* parent)
    : QWidget(parent), txtLog(new LogView(access.log(), this)), txtErrs(new LogView(access.errors(), this)),
      serverMessages(new ServerMessageView(access.serverMessages(), this)),
      cmdCancelStatement(new QPushButton(tr("Cancel statement (Esc)"), this)),
      chkScriptOnly(new QCheckBox(tr("Script only"), this)),
      cmdSaveScript(new QPushButton(tr("Save script..."), this)) {
    txtLog->setObjectName(QStringLiteral("txtLog"));
    txtErrs->setObjectName(QStringLiteral("txtErrs"));
    serverMessages->setObjectName(QStringLiteral("txtServerMessages"));
    cmdCancelStatement->setObjectName(QStringLiteral("cmdCancelStatement"));
    chkScriptOnly->setObjectName(QStringLiteral("chkScriptOnly"));
    cmdSaveScript->setObjectName(QStringLiteral("cmdSaveScript"));
    cmdCancelStatement->setEnabled(false);
    chkScriptOnly->setToolTip(tr("Log the statements that would change a server instead of running them"));

    auto* controls = new QHBoxLayout;
    controls->addWidget(cmdCancelStatement);
    controls->addStretch(1);
    controls->addWidget(chkScriptOnly);
    controls->addWidget(cmdSaveScript);

    auto* errorsBox = new QWidget(this);
    auto* errorsLayout = new QVBoxLayout(errorsBox);
    errorsLayout->setContentsMargins(0, 0, 0, 0);
    errorsLayout->addWidget(new QLabel(tr("Errors"), errorsBox));
    errorsLayout->addWidget(txtErrs);
    auto* messagesBox = new QWidget(this);
    auto* messagesLayout = new QVBoxLayout(messagesBox);
    messagesLayout->setContentsMargins(0, 0, 0, 0);
    messagesLayout->addWidget(new QLabel(tr("Server messages"), messagesBox));
    messagesLayout->addWidget(serverMessages);

    // The log keeps the remaining height; the other two boxes start small.
    auto* boxes = new QSplitter(Qt::Vertical, this);
    boxes->addWidget(txtLog);
    boxes->addWidget(errorsBox);
    boxes->addWidget(messagesBox);
    boxes->setStretchFactor(0, 4);
    boxes->setStretchFactor(1, 1);
    boxes->setStretchFactor(2, 1);
    boxes->setChildrenCollapsible(false);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(tr("Log (newest first)"), this));
    layout->addWidget(boxes, 1);
    layout->addLayout(controls);
}

} // namespace qormin::app
