#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <vector>

namespace qormin::db {

class SideConnection;

// Adds rows to a table the way AddNew/Update did: learns the table's columns from
// "SELECT TOP 1 * FROM <table>", then sends one parameterised INSERT per row with every value
// bound as its target column's SQL type, so numbers, decimals, dates, binary, unicode text and
// NULL arrive exactly. A failing row reports the server's reason and the writer stays usable.
class RecordWriter {
public:
    RecordWriter(SideConnection& side, const QString& table);

    bool open();
    QString error() const { return m_error; }
    const std::vector<ColumnInfo>& columns() const { return m_columns; }

    // Value i goes to column i (as copies by position do); fewer values leave the rest out.
    bool addRow(const std::vector<QVariant>& values, QString* error = nullptr);
    // Values matched to columns by name; names the table lacks and identity columns are
    // skipped, as failing field assignments were.
    bool addRowByName(const QStringList& names, const std::vector<QVariant>& values,
                      QString* error = nullptr);

    // "INSERT INTO t ([a], [b]) VALUES (?, ?)"; the driver names the markers @P1, @P2.
    static QString insertText(const QString& table, const QStringList& columnNames);

private:
    bool insert(const std::vector<int>& columnIndexes, const std::vector<QVariant>& values, QString* error);

    SideConnection& m_side;
    QString m_table;
    QString m_error;
    std::vector<ColumnInfo> m_columns;
};

} // namespace qormin::db
