#include "db/Recordset.h"

namespace qormin::db {

void Recordset::open(ResultTable table) {
    m_table = std::make_shared<const ResultTable>(std::move(table));
    m_position = 0;
}

void Recordset::close() {
    m_table.reset();
    m_position = 0;
}

bool Recordset::eof() const {
    return !m_table || m_position >= static_cast<qsizetype>(m_table->rows.size());
}

void Recordset::MoveNext() {
    if (!eof()) {
        ++m_position;
    }
}

void Recordset::MoveFirst() {
    m_position = 0;
}

int Recordset::fieldCount() const {
    return m_table ? static_cast<int>(m_table->columns.size()) : 0;
}

QString Recordset::fieldName(int index) const {
    if (index < 0 || index >= fieldCount()) {
        return {};
    }
    return m_table->columns[static_cast<size_t>(index)].name;
}

QVariant Recordset::field(int index) const {
    if (eof() || index < 0 || index >= fieldCount()) {
        return {};
    }
    return m_table->rows[static_cast<size_t>(m_position)][static_cast<size_t>(index)];
}

QVariant Recordset::field(const QString& name) const {
    return m_table ? field(m_table->columnIndex(name)) : QVariant();
}

qsizetype Recordset::RecordCount() const {
    return m_table ? static_cast<qsizetype>(m_table->rows.size()) : 0;
}

} // namespace qormin::db
