#pragma once

#include <QString>
#include <QVariant>

namespace qormin::sqltools {

// The statements of the table sizes and Users pages, and the log line of one table.
namespace TableSizeStatements {

// txtTableSizes' text until the user edits it: the KB-and-MB query, CR LF line breaks.
QString defaultTableSizesText();
// cmdBigTables' MB-only query, one line.
QString bigTablesQuery();
// cmdTableSizes' switch of the side's connection (three blanks after USE).
QString tableSizesUse(const QString& database);
// cmdBigTables' switch on the connection itself, then the connection's default database.
QString bigTablesUse(const QString& database);
QString defaultDatabase(const QString& database);
QString sessionList();

// Fields a txtTableSizes query must give for the log lines.
inline constexpr const char* logFields[] = {"TableName", "RowCounts", "TotalSpaceMB"};

// Name, five blanks, tab, row count in thousands (a plain division: 0.5 for 500), tab, five
// blanks, total MB as the server sent it.
QString tableSizeLine(const QVariant& tableName, const QVariant& rowCounts, const QVariant& totalSpaceMb);

} // namespace TableSizeStatements

} // namespace qormin::sqltools
