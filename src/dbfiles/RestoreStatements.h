#pragma once

#include <QList>
#include <QString>

namespace qormin::dbfiles {

struct RestoreFile;

// Statement texts of the restore tab. Every MOVE list ends with "', ", and the statements
// are glued on as they stand: on side 0 cmdRestore's statements keep that trailing comma.
class RestoreStatements {
public:
    RestoreStatements() = delete;

    // The folder RestoreToMain reads from ("p:\backup\").
    static QString mainBackupFolder();

    static QString fileListQuery(const QString& backupFolder, const QString& database);

    static QString moveClause(const QString& logicalName, const QString& fileName, const QString& drive);
    static QString logMoveClause(const QString& logicalName, const QString& fileName,
                                 const QString& logDrive);
    // Log files (".LDF" in the upper-cased name) go to logDrive when it is not empty, all
    // else to drive; an empty logDrive is also how RestoreToMain asks for data clauses only.
    static QString moveClauses(const QList<RestoreFile>& files, const QString& drive,
                               const QString& logDrive = QString());

    // The RESTORE DATABASE text without its keyword; cmdRestore logs it before running it.
    static QString restoreDatabaseArguments(const QString& database, const QString& backupFolder,
                                            const QString& moves, int side);
    static QString restoreDatabase(const QString& database, const QString& backupFolder, const QString& moves,
                                   int side);
    static QString restoreLog(const QString& database, const QString& backupFolder, const QString& moves,
                              int side);
    // RestoreToMain and cmdRestoretoMain: " Replace " closes the MOVE list's trailing comma.
    static QString restoreToMain(const QString& database, const QString& backupFolder, const QString& moves);
};

} // namespace qormin::dbfiles
