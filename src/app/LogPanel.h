#pragma once

#include <QWidget>

class QCheckBox;
class QPushButton;

namespace qormin::db {
class ServerAccess;
}

namespace qormin::app {

class LogView;
class ServerMessageView;

// The log boxes beside the tab strip: txtLog (taking whatever height is left), txtErrs, the
// server messages, the Cancel button for a running statement and the script-only switch.
class LogPanel : public QWidget {
    Q_OBJECT
public:
    explicit LogPanel(db::ServerAccess& access, QWidget* parent = nullptr);

    LogView* txtLog;
    LogView* txtErrs;
    ServerMessageView* serverMessages;
    QPushButton* cmdCancelStatement;
    QCheckBox* chkScriptOnly;
    QPushButton* cmdSaveScript;
};

} // namespace qormin::app
