#pragma once

#include <QString>
#include <QStringList>

namespace qormin::anonymize {

// The texts the anonymisation pages send and write, and the rules that read their lists.
// Pure: text in, text out.
namespace AnonymizeStatements {

// The 40 lines of "Default tables", joined with CR LF (no line break after the last).
QString defaultTables();

QString databasesQuery();
QString tablesQuery();
// Keeps its unclosed parenthesis: the server refuses it and the table adds no columns.
QString nameColumnsQuery(const QString& database, const QString& table);
QString sampleQuery(const QString& column, const QString& database, const QString& table);
QString skippingLine(const QString& database, const QString& table);
// A table is excluded only where its name is followed by CR LF in the excluded list.
bool isExcluded(const QString& excludedText, const QString& database, const QString& table);
// A "Save Tables" line: database..table, then every further cell, each followed by a blank.
QString savedTablesLine(const QStringList& cells);

// What lblRecCount shows: the table's rows as the run starts on it.
QString countQuery(const QString& table);

QString confirmText(const QString& connectionString);

// A name list as the run reads it: everything up to each CR LF is an entry (an empty line is an
// empty entry), a last line without CR LF counts whole, nothing follows a final CR LF.
QStringList nameListEntries(QString text);
// The table list's lines (CR LF; a bare LF also ends a line).
QStringList tableListLines(const QString& text);
// A table-list line split at single blanks: table, then its columns; doubled blanks give
// empty cells, which the run passes over.
QStringList tableListWords(const QString& line);

// The fast run's index: Int(999 * r), 0 to 998 whatever the lists' lengths.
int fastIndex(double uniform);
// The fast run's pick: the list's entry, or an empty name past a short list's end.
QString fastPick(const QStringList& names, int index);

// The complete run draws surnames for columns whose name says last name or surname.
bool isSurnameColumn(const QString& column);

// Rows that still hold one of the values seen before the run in any of the columns.
QString remainingQuery(const QString& table, const QStringList& columns, const QStringList& literals);
QString reportLine(const QString& table, qint64 rows, qint64 replaced, qint64 left, qint64 failed);
QString checkLine(const QString& table, qint64 remaining, qsizetype sampled);
// The closing line of both runs; any record counted there makes the run a failed one.
QString notReplacedLine(qint64 records);

} // namespace AnonymizeStatements

} // namespace qormin::anonymize
