#include "dbfiles/AttachStatements.h"

namespace qormin::dbfiles {

namespace {

QString attachAttempt(const QString& database, const QString& folder, const QString& logSuffix) {
    return QStringLiteral("EXEC sp_attach_db @dbname = N'") + database + QStringLiteral("'") +
           QStringLiteral(", @filename1=N'") + folder + QStringLiteral("\\") + database +
           QStringLiteral(".mdf'  ") + QStringLiteral(", @filename2=N'") + folder + QStringLiteral("\\") +
           database + logSuffix;
}

CopyOrder leftToRight(const QString& fileName) {
    return {QStringLiteral("x:\\MIR\\") + fileName, QStringLiteral("y:\\MIR\\") + fileName};
}

} // namespace

QStringList AttachStatements::attachAttempts(const QString& database, const QString& folder) {
    return {attachAttempt(database, folder, QStringLiteral(".ldf'  ")),
            attachAttempt(database, folder, QStringLiteral("_1.ldf'  ")),
            attachAttempt(database, folder, QStringLiteral("_log.ldf'  "))};
}

QString AttachStatements::detach(const QString& database) {
    return QStringLiteral("EXEC sp_detach_db '") + database + QStringLiteral("','true'");
}

QString AttachStatements::drop(const QString& database) {
    return QStringLiteral("DROP DATABASE ") + database + QStringLiteral(" ");
}

QList<CopyOrder> AttachStatements::backupCopies(const QString& database, bool logOnly) {
    QList<CopyOrder> copies;
    if (!logOnly)
        copies.append(leftToRight(database + QStringLiteral(".BAK")));
    copies.append(leftToRight(database + QStringLiteral("_log.BAK")));
    return copies;
}

} // namespace qormin::dbfiles
