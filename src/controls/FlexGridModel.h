#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QStringList>
#include <map>
#include <memory>
#include <vector>

namespace qormin::db {
struct ResultTable;
}

namespace qormin::controls {

// The cells of a FlexGrid. Row 0 is the header row (column names): the view shows it as its
// header and the data rows below it. A bound result is shared, not copied; the grid turns it
// into its own text cells only when a caller changes a cell or the row count.
class FlexGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    void setTable(std::shared_ptr<const db::ResultTable> table);
    int gridRows() const;
    int gridColumns() const { return m_columns; }
    void setGridRows(int rows);
    void setGridColumns(int columns);
    QString text(int row, int column) const;
    void setText(int row, int column, const QString& text);
    void appendRow(const QStringList& cells);
    Qt::Alignment alignment(int column) const;
    void setAlignment(int column, Qt::Alignment alignment);
    // A data row's background; a new table clears them all.
    void setRowBackColor(int row, const QColor& color);
    QColor rowBackColor(int row) const; // invalid when none was set

private:
    void detach();

    std::shared_ptr<const db::ResultTable> m_table;
    std::vector<QStringList> m_cells; // without a bound table; m_cells[0] is the header row
    int m_columns = 0;
    std::vector<Qt::Alignment> m_alignments; // horizontal, one per column; kept when cells change
    std::map<int, QColor> m_rowColors;
};

} // namespace qormin::controls
