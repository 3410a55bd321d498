#include "tablecopy/CopyByIdStatements.h"

namespace qormin::tablecopy {

namespace {

QString quoted(const QString& text) {
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

} // namespace

QString CopyByIdStatements::defaultDatabase(const QString& database) {
    return QStringLiteral(" Exec sp_defaultdb @loginame='sa', @defdb=") + quoted(database);
}

QString CopyByIdStatements::useDatabase(const QString& database) {
    return QStringLiteral("Use ") + database;
}

QString CopyByIdStatements::objectIdQuery(const QString& table) {
    return QStringLiteral("select object_id from sys.tables where name=") + quoted(table);
}

QString CopyByIdStatements::idnumColumnQuery(const QString& objectId) {
    return QStringLiteral("Select * From sys.columns where object_id = ") + quoted(objectId) +
           QStringLiteral("  and name ='idnum' ");
}

QString CopyByIdStatements::tableQuery(const QString& table) {
    return QStringLiteral("select * from sys.tables where name=") + quoted(table);
}

QString CopyByIdStatements::rangeQuery(const QString& database, const QString& table, const QString& start,
                                       const QString& end) {
    return QStringLiteral("select * from ") + qualifiedTable(database, table) +
           QStringLiteral(" where idnum >= ") + quoted(start) + QStringLiteral(" and idnum <= ") +
           quoted(end);
}

QString CopyByIdStatements::lookup(const QString& database, const QString& table, const QString& idnum) {
    return QStringLiteral("Select * from   ") + qualifiedTable(database, table) +
           QStringLiteral(" where idnum = ") + quoted(idnum) + QLatin1Char(' ');
}

QString CopyByIdStatements::qualifiedTable(const QString& database, const QString& table) {
    return database + QStringLiteral("..") + table;
}

QString CopyByIdStatements::closingLine(const QString& table, qint16 added, qint16 existing) {
    return QStringLiteral("Records added to ") + table + QStringLiteral(": ") + QString::number(added) +
           QStringLiteral("  exist:") + QString::number(existing);
}

QString CopyByIdStatements::tableNotFoundLine(const QString& table) {
    return QStringLiteral("table not found in database 2 ") + table;
}

// The counters are 16-bit, as they always were; a range past that is reported, not wrapped.
QString CopyByIdStatements::overflowLine(const QString& table, bool added) {
    return QStringLiteral("Overflow: more than 32767 records %1 in %2; the table was left there")
        .arg(added ? QStringLiteral("to add") : QStringLiteral("already there"), table);
}

QString CopyByIdStatements::idTextRefusedLine(const QString& control, const QString& text,
                                              const QString& reason) {
    return QStringLiteral("Copy records: %1 \"%2\" holds %3; nothing was sent").arg(control, text, reason);
}

} // namespace qormin::tablecopy
