#include "db/ServerMessageLog.h"

#include "db/SecretMask.h"

#include <QStringList>

namespace qormin::db {

ServerMessageLog::ServerMessageLog(QObject* parent) : QObject(parent) {}

// A PRINT of a script may carry a password like any other output.
void ServerMessageLog::add(int side, const ServerMessage& received) {
    ServerMessage message = received;
    message.text = maskSecrets(message.text);
    m_entries.push_back({side, message});
    if (m_entries.size() > entryLimit) {
        m_entries.pop_front();
    }
    Q_EMIT added(side, message);
}

void ServerMessageLog::clear() {
    m_entries.clear();
    Q_EMIT cleared();
}

QString ServerMessageLog::text() const {
    QStringList lines;
    lines.reserve(static_cast<qsizetype>(m_entries.size()));
    for (const auto& entry : m_entries) {
        lines.append(format(entry.message));
    }
    return lines.join(QStringLiteral("\r\n"));
}

QString ServerMessageLog::format(const ServerMessage& message) {
    if (!message.isError()) {
        return message.text;
    }
    QString heading = QStringLiteral("Msg %1, Level %2, State %3, ")
                          .arg(message.number)
                          .arg(message.severity)
                          .arg(message.state);
    if (!message.procedure.isEmpty()) {
        heading += QStringLiteral("Procedure %1, ").arg(message.procedure);
    }
    heading += QStringLiteral("Line %1").arg(message.line);
    return heading + QStringLiteral("\r\n") + message.text;
}

} // namespace qormin::db
