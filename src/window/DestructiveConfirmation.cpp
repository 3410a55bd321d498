#include "window/DestructiveConfirmation.h"

#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"

namespace qormin::window {

namespace {

constexpr qsizetype namesShown = 5;

QString sideName(int side) {
    return side == 0 ? QStringLiteral("left") : QStringLiteral("right");
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

QString destructiveQuestion(const DestructiveAction& action, const QString& server) {
    return QStringLiteral("%1 on the %2 server %3%4. Go ahead?")
        .arg(action.action, sideName(action.side), server, targetText(action));
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
    const QString question = destructiveQuestion(action, m_serverName(action.side));
    if (m_boxes.MsgBox(question, platform::MessageBoxButtons::YesNoDefaultNo, QStringLiteral("Confirm")) ==
        platform::MessageBoxAnswer::Yes)
        return true;
    m_access.LogMessage(notConfirmedLine(action));
    return false;
}

} // namespace qormin::window
