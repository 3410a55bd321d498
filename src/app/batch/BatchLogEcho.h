#pragma once

#include <QObject>
#include <QString>

class QDateTime;
class QTextStream;

namespace qormin::db {
class ServerAccess;
struct ServerMessage;
} // namespace qormin::db

namespace qormin::app {

// Batch mode writes every line that reaches txtLog or txtErrs, and every server message, to
// its output as it happens, one output line per text line:
//     2026-11-24 01:30:12.345 left log: Running SQL..
//     2026-11-24 01:30:13.020 left server: 10 percent processed.
//     2026-11-24 01:30:20.001 - errors: copied 0
// The side is that of the routine that wrote the line (ExecuteSQL, OpenRecordset, ...), "-"
// for lines a handler writes between statements.
class BatchLogEcho : public QObject {
    Q_OBJECT
public:
    BatchLogEcho(db::ServerAccess& access, QTextStream& output);

    static QString sideName(int side); // "left", "right", "-"
    // One output line per line of text, each with the time stamp, side and mark.
    static QString stamped(const QDateTime& when, int side, const QString& mark, const QString& text);

private:
    void write(int side, const QString& mark, const QString& text);

    db::ServerAccess& m_access;
    QTextStream& m_output;
};

} // namespace qormin::app
