#include "dbfiles/RestoreStatements.h"

#include "dbfiles/RestoreFile.h"

namespace qormin::dbfiles {

namespace {

QString fromDisk(const QString& database, const QString& backupFolder, const char* fileSuffix) {
    return QStringLiteral(" ") + database + QStringLiteral(" FROM DISK = '") + backupFolder + database +
           QLatin1String(fileSuffix);
}

} // namespace

QString RestoreStatements::mainBackupFolder() {
    return QStringLiteral("p:\\backup\\");
}

QString RestoreStatements::fileListQuery(const QString& backupFolder, const QString& database) {
    return QStringLiteral(" RESTORE FILELISTONLY ") + QStringLiteral(" FROM DISK = '") + backupFolder +
           database + QStringLiteral(".bak' WITH FILE = 1");
}

QString RestoreStatements::moveClause(const QString& logicalName, const QString& fileName,
                                      const QString& drive) {
    return QStringLiteral(" MOVE  '") + logicalName + QStringLiteral("' TO '") + drive +
           QStringLiteral(":\\db\\") + fileName + QStringLiteral("', ");
}

QString RestoreStatements::logMoveClause(const QString& logicalName, const QString& fileName,
                                         const QString& logDrive) {
    return QStringLiteral(" MOVE  '") + logicalName + QStringLiteral("' TO '") + logDrive +
           QStringLiteral(":\\LDF\\") + fileName + QStringLiteral("', ");
}

QString RestoreStatements::moveClauses(const QList<RestoreFile>& files, const QString& drive,
                                       const QString& logDrive) {
    QString moves;
    for (const RestoreFile& file : files) {
        const bool isLogFile = file.fileName.toUpper().contains(QLatin1String(".LDF"));
        if (isLogFile && !logDrive.isEmpty()) {
            moves += logMoveClause(file.logicalName, file.fileName, logDrive);
        } else {
            moves += moveClause(file.logicalName, file.fileName, drive);
        }
    }
    return moves;
}

QString RestoreStatements::restoreDatabaseArguments(const QString& database, const QString& backupFolder,
                                                    const QString& moves, int side) {
    QString arguments = fromDisk(database, backupFolder, ".bak' With   ") + moves;
    if (side == 1) {
        arguments += QStringLiteral(" NORECOVERY   ");
    }
    return arguments;
}

QString RestoreStatements::restoreDatabase(const QString& database, const QString& backupFolder,
                                           const QString& moves, int side) {
    return QStringLiteral("RESTORE DATABASE ") +
           restoreDatabaseArguments(database, backupFolder, moves, side);
}

QString RestoreStatements::restoreLog(const QString& database, const QString& backupFolder,
                                      const QString& moves, int side) {
    QString statement =
        QStringLiteral("RESTORE LOG ") + fromDisk(database, backupFolder, "_log.bak' With  ") + moves;
    if (side == 1) {
        statement += QStringLiteral(" NORECOVERY  ");
    }
    return statement;
}

QString RestoreStatements::restoreToMain(const QString& database, const QString& backupFolder,
                                         const QString& moves) {
    return QStringLiteral("RESTORE DATABASE ") + fromDisk(database, backupFolder, ".bak' With  ") + moves +
           QStringLiteral(" Replace ");
}

} // namespace qormin::dbfiles
