#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace qormin::dbfiles {

// What one database came to in a backup, restore or verify pass.
struct RunLogLine {
    QString operation; // "backup", "restore", "verify"
    QString database;
    QStringList files;
    QDateTime start;
    QDateTime end;
    QString result; // "OK", "failed", "script only"
    QString error;  // the first error the server gave
};

// The run log: a CSV file with one line per database and pass, so that a week of nightly runs
// can be read at a glance in a spreadsheet. Lines end with CRLF, as spreadsheets expect.
class RunLog {
public:
    RunLog() = delete;

    static QString fileName(); // "backup-runs.csv"
    static QString header();
    static QString csvLine(const RunLogLine& line);
    // Quoted when it holds a comma, a quote, a line break or blanks at its ends.
    static QString csvField(const QString& text);
    // Appends the line, the header first when the file is new; false (and error) when it could
    // not be written.
    static bool append(const QString& path, const RunLogLine& line, QString& error);
};

} // namespace qormin::dbfiles
