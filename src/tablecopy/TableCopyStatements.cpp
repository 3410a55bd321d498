#include "tablecopy/TableCopyStatements.h"

namespace qormin::tablecopy {

namespace {

QString joinedWithCommas(const QStringList& fieldNames, const QString& before, const QString& after) {
    QString list;
    for (const QString& name : fieldNames) {
        list += before + name + after + QLatin1Char(',');
    }
    list.chop(1);
    return list;
}

} // namespace

QString TableCopyStatements::sourceTable(const QString& database, const QString& table) {
    return database + QStringLiteral("..") + table;
}

QString TableCopyStatements::sisterTable(const QString& database, const QString& table) {
    return database + QStringLiteral("2..") + table;
}

QString TableCopyStatements::newTableName(const QString& table) {
    return table + QStringLiteral("_NEW2");
}

QString TableCopyStatements::useDatabase(const QString& database) {
    return QStringLiteral("Use ") + database;
}

QString TableCopyStatements::connectionUseDatabase(const QString& database) {
    return QStringLiteral("use ") + database;
}

QString TableCopyStatements::useSisterDatabase(const QString& database) {
    return QStringLiteral("Use ") + database + QLatin1Char('2');
}

QString TableCopyStatements::bracketedColumnList(const QStringList& fieldNames) {
    return joinedWithCommas(fieldNames, QStringLiteral("["), QStringLiteral("]"));
}

QString TableCopyStatements::plainColumnList(const QStringList& fieldNames) {
    return joinedWithCommas(fieldNames, QString(), QString());
}

QString TableCopyStatements::firstRowQuery(const QString& qualifiedTable) {
    return QStringLiteral("select top 1 * from  ") + qualifiedTable;
}

QString TableCopyStatements::userTableExistsQuery(const QString& table) {
    return QStringLiteral("SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'") + table +
           QStringLiteral("') AND type in (N'U')");
}

QString TableCopyStatements::truncateQualified(const QString& qualifiedTable) {
    return QStringLiteral("truncate table ") + qualifiedTable + QLatin1Char(' ');
}

QString TableCopyStatements::identityInsert(const QString& qualifiedTable, bool on) {
    return QStringLiteral("SET IDENTITY_INSERT ") + qualifiedTable +
           (on ? QStringLiteral(" ON") : QStringLiteral(" OFF"));
}

QString TableCopyStatements::copyIntoInsert(const QString& destination, const QString& columns,
                                            const QString& source) {
    return QStringLiteral("INSERT into ") + destination + QStringLiteral(" (") + columns +
           QStringLiteral(") SELECT ") + columns + QStringLiteral(" from ") + source;
}

QString TableCopyStatements::cloneInsert(const QString& destination, const QString& columns,
                                         const QString& source) {
    return QStringLiteral("INSERT INTO ") + destination + QStringLiteral(" (") + columns +
           QStringLiteral(")") + QStringLiteral(" SELECT ") + columns + QStringLiteral("    From ") + source;
}

QString TableCopyStatements::copyStructure(const QString& destination, const QString& source) {
    return QStringLiteral("select  * into ") + destination + QStringLiteral("  from ") + source +
           QLatin1Char(' ');
}

QString TableCopyStatements::dropQualified(const QString& qualifiedTable) {
    return QStringLiteral("drop table ") + qualifiedTable + QLatin1Char(' ');
}

QString TableCopyStatements::checkTable(const QString& table) {
    return QStringLiteral("DBCC CHECKtable('") + table + QStringLiteral("')");
}

QString TableCopyStatements::truncateTable(const QString& table) {
    return QStringLiteral("Truncate Table   ") + table + QLatin1Char(' ');
}

QString TableCopyStatements::seedSisterTable(const QString& destination, const QString& source) {
    return QStringLiteral("SELECT top 1 * INTO ") + destination + QStringLiteral(" FROM ") + source;
}

QString TableCopyStatements::seedNewTable(const QString& newTable, const QString& source) {
    return QStringLiteral("select top  1 * into ") + newTable + QStringLiteral("  from ") + source;
}

QString TableCopyStatements::truncateNewTable(const QString& newTable) {
    return QStringLiteral("truncate table ") + newTable + QStringLiteral("  ");
}

QString TableCopyStatements::errorLine(const QString& errorText, const QString& table) {
    return errorText + QLatin1Char(' ') + table;
}

QString TableCopyStatements::copiedLine(qint32 copied) {
    return QStringLiteral("copied ") + QString::number(copied);
}

QString TableCopyStatements::errorsLine(qint32 errors) {
    return QStringLiteral("errors ") + QString::number(errors);
}

} // namespace qormin::tablecopy
