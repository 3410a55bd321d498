#pragma once

#include "db/ResultTable.h"

#include <QAbstractTableModel>
#include <memory>

namespace qormin::db {

// A read-only grid view of a result table: values as text, NULL as an empty cell, the
// column names as headers.
class ResultTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit ResultTableModel(QObject* parent = nullptr);
    explicit ResultTableModel(std::shared_ptr<const ResultTable> table, QObject* parent = nullptr);

    void setTable(std::shared_ptr<const ResultTable> table);
    std::shared_ptr<const ResultTable> table() const { return m_table; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // How a value reads in a grid cell.
    static QString displayText(const QVariant& value);
    // A column of quantities (integer, decimal, money, floating point), read right-aligned. A bit
    // is a flag, not a quantity.
    static bool holdsNumbers(const ColumnInfo& column);

private:
    std::shared_ptr<const ResultTable> m_table;
};

} // namespace qormin::db
