#pragma once

#include "db/AuditSink.h"

#include <QDateTime>
#include <QFile>
#include <QString>
#include <functional>

namespace qormin::db {

// The audit trail file: one JSON object per line, appended and flushed as each statement ends.
// A file that would grow past the rotation size is renamed to <file>.1 first (an older .1 to .2,
// and so on; none is ever deleted), so every line is kept whole in exactly one file.
class AuditTrail : public AuditSink {
public:
    static constexpr qint64 defaultRotationBytes = 10 * 1024 * 1024;

    using ServerName = std::function<QString(int side)>;
    // Told of every line that could not be written, with the reason.
    using FailureHandler = std::function<void(const QString& problem)>;

    AuditTrail(ServerName serverName, FailureHandler onFailure);

    void setPath(const QString& path);
    QString path() const { return m_path; }
    void setRotationBytes(qint64 bytes) { m_rotationBytes = bytes; }

    void record(const AuditRecord& record) override;

    // The line for a record (without its line end); the statement and error text are masked.
    static QByteArray line(const AuditRecord& record, const QDateTime& time, const QString& server);

private:
    bool write(const QByteArray& line, QString& problem);
    bool open(QString& problem);
    bool rotate(QString& problem);

    ServerName m_serverName;
    FailureHandler m_onFailure;
    QString m_path;
    qint64 m_rotationBytes = defaultRotationBytes;
    QFile m_file;
};

} // namespace qormin::db
