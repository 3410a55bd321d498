#pragma once

#include <QString>
#include <QVariant>
#include <vector>

namespace qormin::db {

// One column of a result as the driver described it.
struct ColumnInfo {
    QString name;
    int sqlType = 0;  // ODBC SQL type code (SQL_INTEGER, SQL_WVARCHAR, ...)
    QString typeName; // the server's name for it ("money", "datetime2"); empty when not told
    qint64 size = 0;
    int decimalDigits = 0;
    bool nullable = true;
    bool autoIncrement = false; // an identity column: the server fills it in
    bool computed = false;      // the server computes it; never given a value
    bool rowVersion = false;    // rowversion (timestamp): the server sets it on every change
};

// A fully read result set. Values are typed QVariants: int, qlonglong, double, bool,
// QDateTime/QDate/QTime, QString (text, and decimal/numeric as exact text), QByteArray
// (binary); SQL NULL is an invalid QVariant.
struct ResultTable {
    std::vector<ColumnInfo> columns;
    std::vector<std::vector<QVariant>> rows;

    int columnIndex(const QString& name) const; // case-insensitive; -1 when absent
};

// A message the server sent while a batch ran (PRINT, progress, warnings, errors).
struct ServerMessage {
    int number = 0;
    int severity = 0;
    int state = 0;
    int line = 0;
    QString text;
    QString procedure;
    bool isError() const { return severity > 10; }
};

// Everything one batch produced, read to its very end before the call returned.
struct StatementOutcome {
    bool succeeded = true;
    bool cancelled = false;
    QString errorDescription; // the server's own text, no driver prefixes
    std::vector<ResultTable> resultSets;
    std::vector<qint64> rowCounts;
    std::vector<ServerMessage> messages; // in arrival order
    bool connectionLost = false;         // the link to the server broke: the connection is dead
    bool withheld = false;               // script only: the statement was not sent
};

} // namespace qormin::db
