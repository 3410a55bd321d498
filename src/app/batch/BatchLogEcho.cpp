#include "app/batch/BatchLogEcho.h"

#include "db/LogBuffer.h"
#include "db/SecretMask.h"
#include "db/ServerAccess.h"
#include "db/ServerMessageLog.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTextStream>

namespace qormin::app {

BatchLogEcho::BatchLogEcho(db::ServerAccess& access, QTextStream& output)
    : m_access(access), m_output(output) {
    const auto logLine = [this](const QString& line) {
        write(m_access.activeSide(), QStringLiteral("log"), line);
    };
    const auto errorLine = [this](const QString& line) {
        write(m_access.activeSide(), QStringLiteral("errors"), line);
    };
    connect(&access.log(), &db::LogBuffer::prepended, this, logLine);
    connect(&access.log(), &db::LogBuffer::appended, this, logLine);
    connect(&access.errors(), &db::LogBuffer::prepended, this, errorLine);
    connect(&access.errors(), &db::LogBuffer::appended, this, errorLine);
    connect(&access.serverMessages(), &db::ServerMessageLog::added, this,
            [this](int side, const db::ServerMessage& message) {
                write(side, QStringLiteral("server"), db::ServerMessageLog::format(message));
            });
}

QString BatchLogEcho::sideName(int side) {
    if (side == 0)
        return QStringLiteral("left");
    if (side == 1)
        return QStringLiteral("right");
    return QStringLiteral("-");
}

QString BatchLogEcho::stamped(const QDateTime& when, int side, const QString& mark, const QString& text) {
    static const QRegularExpression lineBreak(QStringLiteral("\r\n|\r|\n"));
    const QString prefix = when.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz ")) + sideName(side) + u' ' +
                           mark + QStringLiteral(": ");
    QString result;
    for (const QString& line : text.split(lineBreak))
        result += prefix + line + u'\n';
    return result;
}

void BatchLogEcho::write(int side, const QString& mark, const QString& text) {
    m_output << stamped(QDateTime::currentDateTime(), side, mark, db::maskSecrets(text));
    m_output.flush();
}

} // namespace qormin::app
