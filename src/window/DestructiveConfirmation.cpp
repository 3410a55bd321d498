#include "window/DestructiveConfirmation.h"

#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"

namespace qormin::window {

namespace {

constexpr qsizetype namesShown = 5;

QString sideName(int side) {
    if (side == DestructiveAction::bothSides)
        return QStringLiteral("both");
    return side == 0 ? QStringLiteral("left") : QStringLiteral("right");
}

QString serverText(int side, const QStringList& servers) {
    if (side != DestructiveAction::bothSides)
        return QStringLiteral("the %1 server %2").arg(sideName(side), servers.value(side));
    return QStringLiteral("the left server %1 and the right server %2")
        .arg(servers.value(0), servers.value(1));
}

QString targetText(const DestructiveAction& action) {
    const QStringList& targets = action.targets;
    if (targets.isEmpty())
        return QString();
    if (targets.size() == 1)
        return QStringLiteral(": ") + action.noun + u' ' + targets.front();
    QString shown = targets.mid(0, namesShown).join(QStringLiteral(", "));
    if (targets.size() > namesShown)
        shown += QStringLiteral(" and %1 more").arg(targets.size() - namesShown);
    return QStringLiteral(": %1 %2s: %3").arg(targets.size()).arg(action.noun, shown);
}

} // namespace

QString destructiveQuestion(const DestructiveAction& action, const QStringList& servers) {
    return QStringLiteral("%1 on %2%3. Go ahead?")
        .arg(action.action, serverText(action.side, servers), targetText(action));
}

QString notConfirmedLine(const DestructiveAction& action) {
    return QStringLiteral("%1 (%2) not started: the confirmation was answered No")
        .arg(action.action, sideName(action.side));
}

DestructiveConfirmation::DestructiveConfirmation(db::ServerAccess& access, platform::MessageBoxService& boxes,
                                                 std::function<QString(int side)> serverName)
    : m_access(access), m_boxes(boxes), m_serverName(std::move(serverName)) {}

bool DestructiveConfirmation::confirm(const DestructiveAction& action) {
    if (!m_enabled || m_access.scriptOnly())
        return true;
    const QString question = destructiveQuestion(action, {m_serverName(0), m_serverName(1)});
    if (m_boxes.MsgBox(question, platform::MessageBoxButtons::YesNoDefaultNo, QStringLiteral("Confirm")) ==
        platform::MessageBoxAnswer::Yes)
        return true;
    m_access.LogMessage(notConfirmedLine(action));
    return false;
}

} // namespace qormin::window
