#include "app/SideColumn.h"

#include "controls/FlexGrid.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qormin::app {

namespace {

QString indexed(const char* name, int index) {
    return QString::fromLatin1(name) + u'(' + QString::number(index) + u')';
}

QLineEdit* field(const char* name, int side, QWidget* parent, const QString& tip) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(indexed(name, side));
    edit->setToolTip(tip);
    return edit;
}

QLineEdit* maskedField(const char* name, int side, QWidget* parent, const QString& tip) {
    QLineEdit* edit = field(name, side, parent, tip);
    edit->setEchoMode(QLineEdit::Password);
    return edit;
}

} // namespace

SideColumn::SideColumn(int side, QWidget* parent)
    : QGroupBox(side == 0 ? tr("Left server (0)") : tr("Right server (1)"), parent),
      txtServer(field("txtServer", side, this, tr("Server address: host, host,port or host\\instance"))),
      txtUserID(field("txtUserID", side, this, tr("SQL login"))),
      txtPW(maskedField("txtPW", side, this, tr("SQL password; when stored, the side connects at start-up"))),
      txtServerUser(field("txtServerUser", side, this, tr("Windows user for the server's shares"))),
      txtServerPW(maskedField("txtServerPW", side, this, tr("Windows password for the server's shares"))),
      txtLogDrive(
          field("txtLogDrive", side, this, tr("Drive letter for restored log files; empty: with the data"))),
      txtPath(field("txtPath", side, this, tr("Backup folder of this server"))),
      cmdConnect(new QPushButton(tr("Connect"), this)),
      cmdRefreshDB(new QPushButton(tr("Refresh DBs"), this)), GridDB(new controls::FlexGrid(this)),
      lblDBCount(new QLabel(this)) {
    setObjectName(indexed("fraServer", side));
    cmdConnect->setObjectName(indexed("cmdConnect", side));
    cmdRefreshDB->setObjectName(indexed("cmdRefreshDB", side));
    GridDB->setObjectName(indexed("GridDB", side));
    lblDBCount->setObjectName(indexed("lblDBCount", side));
    txtLogDrive->setMaximumWidth(40);

    auto* fields = new QGridLayout;
    fields->addWidget(new QLabel(tr("Server"), this), 0, 0);
    fields->addWidget(txtServer, 0, 1, 1, 3);
    fields->addWidget(new QLabel(tr("User"), this), 1, 0);
    fields->addWidget(txtUserID, 1, 1);
    fields->addWidget(new QLabel(tr("Password"), this), 1, 2);
    fields->addWidget(txtPW, 1, 3);
    fields->addWidget(new QLabel(tr("Win user"), this), 2, 0);
    fields->addWidget(txtServerUser, 2, 1);
    fields->addWidget(new QLabel(tr("Win password"), this), 2, 2);
    fields->addWidget(txtServerPW, 2, 3);
    fields->addWidget(new QLabel(tr("Backup folder"), this), 3, 0);
    auto* pathRow = new QHBoxLayout;
    pathRow->addWidget(txtPath, 1);
    pathRow->addWidget(new QLabel(tr("Log Drive"), this));
    pathRow->addWidget(txtLogDrive);
    fields->addLayout(pathRow, 3, 1, 1, 3);
    fields->setColumnStretch(1, 1);
    fields->setColumnStretch(3, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdConnect);
    buttons->addWidget(cmdRefreshDB);
    buttons->addStretch(1);
    buttons->addWidget(new QLabel(tr("Rows:"), this));
    buttons->addWidget(lblDBCount);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(4);
    column->addLayout(fields);
    column->addLayout(buttons);
    column->addWidget(GridDB, 1);
}

} // namespace qormin::app
