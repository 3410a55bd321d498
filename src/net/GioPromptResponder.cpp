#include "net/GioPromptResponder.h"

#include <QRegularExpression>

namespace qormin::net {

ToolProcess::Answer GioPromptResponder::read(const QByteArray& newOutput) {
    m_pending += newOutput;
    // gio waits after each prompt, so a prompt is always the end of what it wrote.
    static const QRegularExpression prompt(
        QStringLiteral("(User|Domain|Password|Choice)(?: \\[[^\\]\\n]*\\])?: $"));
    const QRegularExpressionMatch match = prompt.match(QString::fromUtf8(m_pending));
    if (!match.hasMatch())
        return {};
    m_pending.clear();
    const QString asked = match.captured(1);
    if (asked == u"Choice") {
        m_unexpected = true;
        return giveUp();
    }
    if (m_passwordGiven && asked != u"Domain") {
        m_refused = true;
        return giveUp();
    }
    if (asked == u"User")
        return give(m_credentials.user);
    if (asked == u"Domain")
        return give(m_credentials.domain);
    m_passwordGiven = true;
    return give(m_credentials.password);
}

ToolProcess::Answer GioPromptResponder::give(const QString& text) {
    return {text.toUtf8() + '\n', false};
}

ToolProcess::Answer GioPromptResponder::giveUp() {
    return {QByteArray(), true};
}

} // namespace qormin::net
