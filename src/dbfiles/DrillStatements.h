#pragma once

#include <QList>
#include <QString>

namespace qormin::dbfiles {

struct RestoreFile;

// What a drill found in one restored copy, for its log line.
struct DrillFigures {
    qint64 tables = 0;
    qint64 rows = 0;
    qint64 megabytes = 0;
};

// Statement texts of the restore drill: a backup restored under a scratch name, checked,
// counted and dropped again. The original database's name only ever appears in the backup
// file names; every statement that changes a server names the scratch database.
class DrillStatements {
public:
    DrillStatements() = delete;

    // "<db>_drill".
    static QString scratchName(const QString& database);
    // The file name with "_drill" before its extension ("Billing_log.ldf" -> "Billing_log_drill.ldf").
    static QString drillFileName(const QString& fileName);
    // Where a file of the backup goes: the drill folder when one is set (a missing "\" added),
    // otherwise where the restore pass puts it (logs to "<log drive>:\LDF\" when that is set,
    // everything else to "<drive>:\db\").
    static QString targetFolder(const RestoreFile& file, const QString& drillFolder, const QString& drive,
                                const QString& logDrive);
    static QString moveClauses(const QList<RestoreFile>& files, const QString& drillFolder,
                               const QString& drive, const QString& logDrive);

    static QString existsQuery(const QString& scratch);
    // NORECOVERY when a log backup follows, RECOVERY otherwise.
    static QString restoreDatabase(const QString& scratch, const QString& backupFile, const QString& moves,
                                   bool logFollows);
    static QString restoreLog(const QString& scratch, const QString& logFile);
    static QString checkDatabase(const QString& scratch);
    // One row: tables, their rows (clustered index or heap), the data and log files' size in MB.
    static QString figuresQuery(const QString& scratch);
    static QString dropDatabase(const QString& scratch);

    static QString cleanLine(const QString& database, const QString& side, double seconds,
                             const DrillFigures& figures);
    static QString failedLine(const QString& database, const QString& side, const QString& step,
                              const QString& error);
};

} // namespace qormin::dbfiles
