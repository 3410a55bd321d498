#include "controls/FlexGridModel.h"

#include "db/ResultTable.h"
#include "db/ResultTableModel.h"

namespace qormin::controls {

namespace {

QStringList blankRow(int columns) {
    QStringList row;
    row.reserve(columns);
    for (int c = 0; c < columns; ++c)
        row.append(QString());
    return row;
}

} // namespace

int FlexGridModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid())
        return 0;
    return std::max(gridRows() - 1, 0);
}

int FlexGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_columns;
}

QVariant FlexGridModel::data(const QModelIndex& index, int role) const {
    if (role == Qt::TextAlignmentRole)
        return (alignment(index.column()) | Qt::AlignVCenter).toInt();
    if (role == Qt::BackgroundRole) {
        const QColor color = rowBackColor(index.row() + 1);
        return color.isValid() ? QVariant(color) : QVariant();
    }
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return QVariant();
    return text(index.row() + 1, index.column());
}

QVariant FlexGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    // A number column's name stands over its digits.
    if (role == Qt::TextAlignmentRole && orientation == Qt::Horizontal)
        return (alignment(section) | Qt::AlignVCenter).toInt();
    if (role != Qt::DisplayRole)
        return QVariant();
    if (orientation == Qt::Vertical)
        return section + 1; // the grid's own number of that data row
    return text(0, section);
}

void FlexGridModel::setTable(std::shared_ptr<const db::ResultTable> table) {
    beginResetModel();
    m_cells.clear();
    m_rowColors.clear();
    m_table = std::move(table);
    m_columns = m_table ? static_cast<int>(m_table->columns.size()) : 0;
    m_alignments.assign(m_columns, Qt::AlignLeft);
    for (int c = 0; c < m_columns; ++c) {
        if (db::ResultTableModel::holdsNumbers(m_table->columns[c]))
            m_alignments[c] = Qt::AlignRight;
    }
    endResetModel();
}

int FlexGridModel::gridRows() const {
    if (m_table)
        return static_cast<int>(m_table->rows.size()) + 1;
    return static_cast<int>(m_cells.size());
}

void FlexGridModel::setGridRows(int rows) {
    detach();
    beginResetModel();
    m_cells.resize(std::max(rows, 0), blankRow(m_columns));
    endResetModel();
}

void FlexGridModel::setGridColumns(int columns) {
    detach();
    columns = std::max(columns, 0);
    beginResetModel();
    m_columns = columns;
    m_alignments.resize(columns, Qt::AlignLeft);
    for (QStringList& row : m_cells) {
        while (row.size() < columns)
            row.append(QString());
        row.resize(columns);
    }
    endResetModel();
}

QString FlexGridModel::text(int row, int column) const {
    if (row < 0 || row >= gridRows() || column < 0 || column >= m_columns)
        return QString();
    if (!m_table)
        return m_cells[row].at(column);
    if (row == 0)
        return m_table->columns[column].name;
    const std::vector<QVariant>& values = m_table->rows[row - 1];
    return column < static_cast<int>(values.size()) ? db::ResultTableModel::displayText(values[column])
                                                    : QString();
}

void FlexGridModel::setText(int row, int column, const QString& text) {
    if (row < 0 || row >= gridRows() || column < 0 || column >= m_columns)
        return;
    detach();
    m_cells[row][column] = text;
    if (row == 0) {
        Q_EMIT headerDataChanged(Qt::Horizontal, column, column);
        return;
    }
    const QModelIndex cell = index(row - 1, column);
    Q_EMIT dataChanged(cell, cell);
}

void FlexGridModel::appendRow(const QStringList& cells) {
    detach();
    if (cells.size() > m_columns)
        setGridColumns(static_cast<int>(cells.size()));
    if (m_cells.empty()) {
        // The header row comes first, so added items start at row 1 as under a fixed row.
        beginResetModel();
        m_cells.push_back(blankRow(m_columns));
        endResetModel();
    }
    QStringList row = cells;
    while (row.size() < m_columns)
        row.append(QString());
    const int viewRow = rowCount();
    beginInsertRows(QModelIndex(), viewRow, viewRow);
    m_cells.push_back(std::move(row));
    endInsertRows();
}

Qt::Alignment FlexGridModel::alignment(int column) const {
    if (column < 0 || column >= static_cast<int>(m_alignments.size()))
        return Qt::AlignLeft;
    return m_alignments[column];
}

void FlexGridModel::setAlignment(int column, Qt::Alignment alignment) {
    if (column < 0 || column >= static_cast<int>(m_alignments.size()))
        return;
    m_alignments[column] = alignment & Qt::AlignHorizontal_Mask;
    Q_EMIT headerDataChanged(Qt::Horizontal, column, column);
    if (rowCount() > 0)
        Q_EMIT dataChanged(index(0, column), index(rowCount() - 1, column), {Qt::TextAlignmentRole});
}

void FlexGridModel::setRowBackColor(int row, const QColor& color) {
    if (row < 1 || row >= gridRows())
        return;
    m_rowColors[row] = color;
    Q_EMIT dataChanged(index(row - 1, 0), index(row - 1, std::max(m_columns - 1, 0)), {Qt::BackgroundRole});
}

QColor FlexGridModel::rowBackColor(int row) const {
    const auto color = m_rowColors.find(row);
    return color == m_rowColors.end() ? QColor() : color->second;
}

void FlexGridModel::detach() {
    if (!m_table)
        return;
    std::vector<QStringList> cells;
    cells.reserve(m_table->rows.size() + 1);
    for (int r = 0; r < gridRows(); ++r) {
        QStringList row;
        row.reserve(m_columns);
        for (int c = 0; c < m_columns; ++c)
            row.append(text(r, c));
        cells.push_back(std::move(row));
    }
    m_table.reset();
    m_cells = std::move(cells);
}

} // namespace qormin::controls
