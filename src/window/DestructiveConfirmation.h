#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace qormin::db {
class ServerAccess;
}

namespace qormin::platform {
class MessageBoxService;
}

namespace qormin::window {

// What an action is about to destroy, as the operator is asked about it.
struct DestructiveAction {
    static constexpr int bothSides = -1;

    QString action;      // the button's own words ("DropDB", "Truncate tbPatient")
    int side = 0;        // or bothSides
    QStringList targets; // empty: the action names its target itself
    QString noun = QStringLiteral("database");
};

// "DropDB on the right server SRV2: database Billing. Go ahead?"; for many targets the count
// and the first few names. servers: the left and the right server.
QString destructiveQuestion(const DestructiveAction& action, const QStringList& servers);
// The log line when the answer is No.
QString notConfirmedLine(const DestructiveAction& action);

// One question per click before a drop, detach, truncate, overwrite, purge or anonymisation,
// when the operator wants to be asked (Options: "Ask before destructive actions"). A Script only
// run sends nothing that could destroy, so it is not asked about.
class DestructiveConfirmation {
public:
    DestructiveConfirmation(db::ServerAccess& access, platform::MessageBoxService& boxes,
                            std::function<QString(int side)> serverName);

    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool enabled() const { return m_enabled; }

    // True when the action may go ahead; on No the log says that nothing was started.
    bool confirm(const DestructiveAction& action);

private:
    db::ServerAccess& m_access;
    platform::MessageBoxService& m_boxes;
    std::function<QString(int)> m_serverName;
    bool m_enabled = true;
};

} // namespace qormin::window
