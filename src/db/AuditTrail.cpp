#include "db/AuditTrail.h"

#include "db/SecretMask.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>

#ifndef Q_OS_WIN
#include <pwd.h>
#include <unistd.h>
#endif

namespace qormin::db {

namespace {

// The account the process runs as, which under cron or sudo need not be the one in $USER.
QString operatingSystemUser() {
#ifdef Q_OS_WIN
    return qEnvironmentVariable("USERNAME");
#else
    if (const passwd* entry = getpwuid(geteuid()))
        return QString::fromLocal8Bit(entry->pw_name);
    return QString::number(geteuid());
#endif
}

QString outcomeName(AuditRecord::Outcome outcome) {
    switch (outcome) {
    case AuditRecord::Outcome::Done:
        return QStringLiteral("done");
    case AuditRecord::Outcome::Error:
        return QStringLiteral("error");
    case AuditRecord::Outcome::Withheld:
        return QStringLiteral("withheld");
    case AuditRecord::Outcome::Cancelled:
        return QStringLiteral("cancelled");
    }
    return {};
}

QString sideName(int side) {
    if (side == 0)
        return QStringLiteral("left");
    return side == 1 ? QStringLiteral("right") : QStringLiteral("-");
}

} // namespace

AuditTrail::AuditTrail(ServerName serverName, FailureHandler onFailure)
    : m_serverName(std::move(serverName)), m_onFailure(std::move(onFailure)) {}

void AuditTrail::setPath(const QString& path) {
    if (path == m_path)
        return;
    m_file.close();
    m_path = path;
}

QByteArray AuditTrail::line(const AuditRecord& record, const QDateTime& time, const QString& server) {
    static const QString user = operatingSystemUser();
    QJsonObject object{
        {QStringLiteral("time"), time.toUTC().toString(Qt::ISODateWithMs)},
        {QStringLiteral("user"), user},
        {QStringLiteral("host"), QSysInfo::machineHostName()},
        {QStringLiteral("side"), sideName(record.side)},
        {QStringLiteral("server"), server},
        {QStringLiteral("database"), record.database},
        {QStringLiteral("statement"), maskSecrets(record.statement)},
        {QStringLiteral("outcome"), outcomeName(record.outcome)},
        {QStringLiteral("rows"),
         record.rowsAffected ? QJsonValue(double(*record.rowsAffected)) : QJsonValue()},
    };
    if (!record.error.isEmpty())
        object.insert(QStringLiteral("error"), maskSecrets(record.error));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void AuditTrail::record(const AuditRecord& record) {
    const QString server = m_serverName ? m_serverName(record.side) : QString();
    QString problem;
    if (write(line(record, QDateTime::currentDateTimeUtc(), server) + '\n', problem))
        return;
    // Opened afresh for the next line: a folder made writable again is used again.
    m_file.close();
    if (m_onFailure)
        m_onFailure(problem);
}

bool AuditTrail::write(const QByteArray& line, QString& problem) {
    if (m_path.isEmpty()) {
        problem = QStringLiteral("no file is set");
        return false;
    }
    if (!m_file.isOpen() && !open(problem))
        return false;
    if (m_file.size() > 0 && m_file.size() + line.size() > m_rotationBytes && !rotate(problem))
        return false;
    if (m_file.write(line) != line.size() || !m_file.flush()) {
        problem = m_path + QStringLiteral(": ") + m_file.errorString();
        return false;
    }
    return true;
}

bool AuditTrail::open(QString& problem) {
    m_file.setFileName(m_path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        problem = m_path + QStringLiteral(": ") + m_file.errorString();
        return false;
    }
    // Statements name patients' databases and tables: the trail is for its owner's eyes.
    m_file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    return true;
}

// From the oldest down, so that no rename replaces a file not yet moved on.
bool AuditTrail::rotate(QString& problem) {
    m_file.close();
    int last = 0;
    while (QFileInfo::exists(m_path + u'.' + QString::number(last + 1)))
        ++last;
    for (int index = last; index >= 0; --index) {
        const QString from = index == 0 ? m_path : m_path + u'.' + QString::number(index);
        const QString to = m_path + u'.' + QString::number(index + 1);
        if (!QFile::rename(from, to)) {
            problem = QStringLiteral("%1 could not be renamed to %2").arg(from, to);
            return false;
        }
    }
    return open(problem);
}

} // namespace qormin::db
