#include "dbfiles/BackupStatements.h"

namespace qormin::dbfiles {

QString BackupStatements::defaultBackupFolder() {
    return QStringLiteral("p:\\backup\\MIR\\");
}

namespace {

QString withOptions(bool checksum) {
    return checksum ? QStringLiteral("'   WITH FORMAT, CHECKSUM") : QStringLiteral("'   WITH FORMAT");
}

QString fullBackupFile(const QString& database, const QString& folder) {
    return folder + database + QStringLiteral(".BAK");
}

QString logBackupFile(const QString& database, const QString& folder) {
    return folder + database + QStringLiteral("_log.BAK");
}

} // namespace

QString BackupStatements::fullBackup(const QString& database, const QString& folder, bool checksum) {
    return QStringLiteral("BACKUP DATABASE ") + database + QStringLiteral(" TO DISK = '") +
           fullBackupFile(database, folder) + withOptions(checksum);
}

QString BackupStatements::logBackup(const QString& database, const QString& folder, bool checksum) {
    return QStringLiteral("BACKUP Log  ") + database + QStringLiteral(" TO DISK = '") +
           logBackupFile(database, folder) + withOptions(checksum);
}

QStringList BackupStatements::backupDatabase(const QString& database, const QString& folder, bool logOnly,
                                             bool checksum) {
    QStringList statements;
    if (!logOnly) {
        statements << fullBackup(database, folder, checksum);
    }
    statements << logBackup(database, folder, checksum);
    return statements;
}

QStringList BackupStatements::backupFiles(const QString& database, const QString& folder, bool logOnly) {
    QStringList files;
    if (!logOnly) {
        files << fullBackupFile(database, folder);
    }
    files << logBackupFile(database, folder);
    return files;
}

QString BackupStatements::verifyOnly(const QString& file) {
    return QStringLiteral("RESTORE VERIFYONLY FROM DISK = '") + file + QLatin1Char('\'');
}

QString BackupStatements::fullRecovery(const QString& database) {
    return QStringLiteral("ALTER DATABASE ") + database + QStringLiteral("  SET RECOVERY FULL ");
}

QString BackupStatements::simpleRecovery(const QString& database) {
    return QStringLiteral("ALTER DATABASE ") + database + QStringLiteral(" SET RECOVERY SIMPLE");
}

// "DATABaSE" is how these two have always been written; the server does not mind.
QString BackupStatements::singleUser(const QString& database) {
    return QStringLiteral("ALTER DATABaSE ") + database +
           QStringLiteral(" SET SINGLE_USER WITH ROLLBACK IMMEDIATE");
}

QString BackupStatements::multiUser(const QString& database) {
    return QStringLiteral("ALTER DATABaSE ") + database + QStringLiteral(" SET MULTI_USER ");
}

} // namespace qormin::dbfiles
