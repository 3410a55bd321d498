#include "dbfiles/BackupStatements.h"

namespace qormin::dbfiles {

QString BackupStatements::defaultBackupFolder() {
    return QStringLiteral("p:\\backup\\MIR\\");
}

QString BackupStatements::fullBackup(const QString& database, const QString& folder) {
    return QStringLiteral("BACKUP DATABASE ") + database + QStringLiteral(" TO DISK = '") + folder +
           database + QStringLiteral(".BAK'   WITH FORMAT");
}

QString BackupStatements::logBackup(const QString& database, const QString& folder) {
    return QStringLiteral("BACKUP Log  ") + database + QStringLiteral(" TO DISK = '") + folder + database +
           QStringLiteral("_log.BAK'   WITH FORMAT");
}

QStringList BackupStatements::backupDatabase(const QString& database, const QString& folder, bool logOnly) {
    QStringList statements;
    if (!logOnly) {
        statements << fullBackup(database, folder);
    }
    statements << logBackup(database, folder);
    return statements;
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
