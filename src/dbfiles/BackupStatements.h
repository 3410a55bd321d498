#pragma once

#include <QString>
#include <QStringList>

namespace qormin::dbfiles {

// Backup, recovery-model and user-mode statements of the backup tab.
class BackupStatements {
public:
    BackupStatements() = delete;

    // txtBackupDrive's default; the folder is pasted verbatim, so it must end with "\".
    static QString defaultBackupFolder();

    // With checksum the server checks every page as it writes it; without, the texts are the
    // ones the tool has always sent.
    static QString fullBackup(const QString& database, const QString& folder, bool checksum = false);
    static QString logBackup(const QString& database, const QString& folder, bool checksum = false);
    // cmdBackup's statements for one database: the full backup unless logOnly, then the log backup.
    static QStringList backupDatabase(const QString& database, const QString& folder, bool logOnly,
                                      bool checksum = false);
    // The files those statements write, in the same order.
    static QStringList backupFiles(const QString& database, const QString& folder, bool logOnly);
    // cmdVerify: reads a backup file through without restoring it.
    static QString verifyOnly(const QString& file);

    static QString fullRecovery(const QString& database);   // cmdFullRecovery
    static QString simpleRecovery(const QString& database); // cmdMakeSimple
    static QString singleUser(const QString& database);     // Command1
    static QString multiUser(const QString& database);      // Command2
};

} // namespace qormin::dbfiles
