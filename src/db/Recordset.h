#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <QVariant>
#include <memory>

namespace qormin::db {

// The shared record set: one query's first result set, fully read, walked row by row. A
// closed record set is at its end and has no fields, so a loop over it simply does nothing.
class Recordset {
public:
    void open(ResultTable table);
    void close();
    bool isOpen() const { return m_table != nullptr; }

    bool eof() const;
    void MoveNext();
    void MoveFirst();
    qsizetype position() const { return m_position; }

    int fieldCount() const;
    QString fieldName(int index) const;
    // The current row's value; invalid for NULL, a missing field or a position past the end.
    QVariant field(int index) const;
    QVariant field(const QString& name) const;
    qsizetype RecordCount() const;

    // Shared with grid models, which keep showing it after the record set moves on.
    std::shared_ptr<const ResultTable> table() const { return m_table; }

private:
    std::shared_ptr<const ResultTable> m_table;
    qsizetype m_position = 0;
};

} // namespace qormin::db
