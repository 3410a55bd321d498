#include "dbfiles/DrillStatements.h"

#include "dbfiles/BackupFileNames.h"
#include "dbfiles/RestoreFile.h"

#include <QStringList>

namespace qormin::dbfiles {

QString DrillStatements::scratchName(const QString& database) {
    return database + QStringLiteral("_drill");
}

QString DrillStatements::drillFileName(const QString& fileName) {
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0)
        return fileName + QStringLiteral("_drill");
    return fileName.left(dot) + QStringLiteral("_drill") + fileName.mid(dot);
}

QString DrillStatements::targetFolder(const RestoreFile& file, const QString& drillFolder,
                                      const QString& drive, const QString& logDrive) {
    if (!drillFolder.isEmpty())
        return BackupFileNames::withTrailingBackslash(drillFolder);
    const bool isLogFile = file.fileName.toUpper().contains(QLatin1String(".LDF"));
    if (isLogFile && !logDrive.isEmpty())
        return logDrive + QStringLiteral(":\\LDF\\");
    return drive + QStringLiteral(":\\db\\");
}

QString DrillStatements::moveClauses(const QList<RestoreFile>& files, const QString& drillFolder,
                                     const QString& drive, const QString& logDrive) {
    QStringList clauses;
    for (const RestoreFile& file : files)
        clauses.append(QStringLiteral("MOVE '%1' TO '%2%3'")
                           .arg(file.logicalName, targetFolder(file, drillFolder, drive, logDrive),
                                drillFileName(file.fileName)));
    return clauses.join(QStringLiteral(", "));
}

QString DrillStatements::existsQuery(const QString& scratch) {
    return QStringLiteral("SELECT name FROM sys.databases WHERE name = '%1'").arg(scratch);
}

QString DrillStatements::restoreDatabase(const QString& scratch, const QString& backupFile,
                                         const QString& moves, bool logFollows) {
    return QStringLiteral("RESTORE DATABASE %1 FROM DISK = '%2' WITH %3, %4")
        .arg(scratch, backupFile, moves,
             logFollows ? QStringLiteral("NORECOVERY") : QStringLiteral("RECOVERY"));
}

QString DrillStatements::restoreLog(const QString& scratch, const QString& logFile) {
    return QStringLiteral("RESTORE LOG %1 FROM DISK = '%2' WITH RECOVERY").arg(scratch, logFile);
}

QString DrillStatements::checkDatabase(const QString& scratch) {
    return QStringLiteral("DBCC CHECKDB (%1) WITH NO_INFOMSGS").arg(scratch);
}

QString DrillStatements::figuresQuery(const QString& scratch) {
    return QStringLiteral("SELECT (SELECT COUNT(*) FROM %1.sys.tables), "
                          "(SELECT SUM(p.rows) FROM %1.sys.partitions p JOIN %1.sys.tables t "
                          "ON t.object_id = p.object_id WHERE p.index_id IN (0, 1)), "
                          "(SELECT SUM(CAST(size AS bigint)) / 128 FROM sys.master_files "
                          "WHERE database_id = DB_ID('%1'))")
        .arg(scratch);
}

QString DrillStatements::dropDatabase(const QString& scratch) {
    return QStringLiteral("DROP DATABASE %1").arg(scratch);
}

QString DrillStatements::cleanLine(const QString& database, const QString& side, double seconds,
                                   const DrillFigures& figures) {
    return QStringLiteral("Drill %1 (%2): restored in %3 s, checks clean, %4 tables, %5 rows, %6 MB")
        .arg(database, side, QString::number(seconds, 'f', 1), QString::number(figures.tables),
             QString::number(figures.rows), QString::number(figures.megabytes));
}

QString DrillStatements::failedLine(const QString& database, const QString& side, const QString& step,
                                    const QString& error) {
    return QStringLiteral("Drill %1 (%2): failed at %3: %4").arg(database, side, step, error);
}

} // namespace qormin::dbfiles
