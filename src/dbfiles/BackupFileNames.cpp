#include "dbfiles/BackupFileNames.h"

namespace qormin::dbfiles {

QString BackupFileNames::databaseNameFromFile(const QString& fileName) {
    const qsizetype dot = fileName.indexOf(QLatin1Char('.'));
    return dot < 0 ? fileName : fileName.left(dot);
}

bool BackupFileNames::skippedInAllFilesPass(const QString& databaseName, bool logOnly) {
    return !logOnly && databaseName.contains(QLatin1String("_log"));
}

std::optional<QString> BackupFileNames::withoutDateSuffix(const QString& fileName) {
    return withoutSeparatorSuffix(fileName, QStringLiteral("_2015"));
}

std::optional<QString> BackupFileNames::withoutSeparatorSuffix(const QString& fileName,
                                                               const QString& separator) {
    if (separator.isEmpty()) {
        return std::nullopt;
    }
    const qsizetype at = fileName.indexOf(separator);
    // At 0 the new name would be ".bak": a hidden, nameless file that the next one overwrites.
    if (at <= 0) {
        return std::nullopt;
    }
    QString newName = fileName.left(at) + QStringLiteral(".bak");
    if (newName == fileName) {
        return std::nullopt;
    }
    return newName;
}

QString BackupFileNames::withTrailingBackslash(const QString& folder) {
    if (folder.endsWith(QLatin1Char('\\'))) {
        return folder;
    }
    return folder + QLatin1Char('\\');
}

QString BackupFileNames::serverBackupPath(const QString& server, const QString& fileName) {
    return QStringLiteral("\\\\") + server + QStringLiteral("\\backup\\") + fileName;
}

} // namespace qormin::dbfiles
