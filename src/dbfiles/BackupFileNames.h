#pragma once

#include <QString>
#include <optional>

namespace qormin::dbfiles {

// Name rules for backup files: which database a file holds, which files an all-files
// restore skips, and the renames that strip a date from dated backups.
class BackupFileNames {
public:
    BackupFileNames() = delete;

    // The text before the first "." ("Billing_log.BAK" holds "Billing_log").
    static QString databaseNameFromFile(const QString& fileName);

    // A full pass restores each log backup together with its database, so "_log" names
    // are skipped unless only logs are being restored.
    static bool skippedInAllFilesPass(const QString& databaseName, bool logOnly);

    // cmdRename: the name before the first "_2015", plus ".bak". No new name (leave the
    // file alone) when the name lacks "_2015" or the result would be a bare ".bak".
    static std::optional<QString> withoutDateSuffix(const QString& fileName);

    // cmdRenameDir: the name before the first separator, plus ".bak". No new name when the
    // separator is absent or empty, the result would be a bare ".bak", or nothing changes.
    static std::optional<QString> withoutSeparatorSuffix(const QString& fileName, const QString& separator);

    // cmdRenameDir's folder: a missing trailing "\" is added.
    static QString withTrailingBackslash(const QString& folder);

    // cmdRename's path of a file in the left server's backup share.
    static QString serverBackupPath(const QString& server, const QString& fileName);
};

} // namespace qormin::dbfiles
