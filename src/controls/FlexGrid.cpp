#include "controls/FlexGrid.h"

#include "controls/FlexGridModel.h"
#include "db/ResultTable.h"

#include <QHeaderView>

namespace qormin::controls {

namespace {
constexpr int widestFittedColumn = 360;
}

FlexGrid::FlexGrid(QWidget* parent) : QTableView(parent), m_model(new FlexGridModel(this)) {
    setModel(m_model);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setAlternatingRowColors(true);
    setWordWrap(false);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // The last column takes the width the grid has left, so a wide grid shows no empty band.
    horizontalHeader()->setStretchLastSection(true);
    connect(this, &QAbstractItemView::clicked, this, [this](const QModelIndex& index) {
        m_row = index.row() + 1;
        m_column = index.column();
        Q_EMIT Click();
    });
    connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
        m_row = index.row() + 1;
        m_column = index.column();
        Q_EMIT DblClick();
    });
}

bool FlexGrid::bind(std::shared_ptr<const db::ResultTable> table) {
    if (!table)
        return false;
    m_model->setTable(std::move(table));
    m_twips.clear();
    m_row = Rows() > 1 ? 1 : 0;
    m_column = 0;
    fitColumns();
    showCurrentRow();
    return true;
}

void FlexGrid::clear() {
    m_model->setTable(nullptr);
    m_twips.clear();
    m_row = 0;
    m_column = 0;
}

int FlexGrid::Rows() const {
    return m_model->gridRows();
}

void FlexGrid::setRows(int rows) {
    m_model->setGridRows(rows);
    m_row = std::min(m_row, std::max(Rows() - 1, 0));
    showCurrentRow();
}

int FlexGrid::Cols() const {
    return m_model->gridColumns();
}

void FlexGrid::setCols(int columns) {
    m_model->setGridColumns(columns);
    m_column = std::min(m_column, std::max(Cols() - 1, 0));
}

void FlexGrid::setRow(int row) {
    if (row < 0 || row >= Rows())
        return;
    m_row = row;
    showCurrentRow();
}

void FlexGrid::setCol(int column) {
    if (column < 0 || column >= Cols())
        return;
    m_column = column;
    showCurrentRow();
}

QString FlexGrid::TextMatrix(int row, int column) const {
    return m_model->text(row, column);
}

void FlexGrid::setTextMatrix(int row, int column, const QString& text) {
    m_model->setText(row, column, text);
}

int FlexGrid::ColWidth(int column) const {
    const int shown = columnWidth(column);
    const auto set = m_twips.find(column);
    if (set == m_twips.end())
        return shown * twipsPerPixel;
    const int setPixels = set->second / twipsPerPixel;
    // The last column is drawn wider to fill the grid; its width is still the one it was given.
    const bool filling =
        column == Cols() - 1 && horizontalHeader()->stretchLastSection() && shown > setPixels;
    return shown == setPixels || filling ? set->second : shown * twipsPerPixel;
}

void FlexGrid::setColWidth(int column, int twips) {
    m_twips[column] = twips;
    setColumnWidth(column, twips / twipsPerPixel);
}

Qt::Alignment FlexGrid::ColAlignment(int column) const {
    return m_model->alignment(column);
}

void FlexGrid::setColAlignment(int column, Qt::Alignment alignment) {
    m_model->setAlignment(column, alignment);
}

void FlexGrid::setRowBackColor(int row, const QColor& color) {
    m_model->setRowBackColor(row, color);
}

QColor FlexGrid::rowBackColor(int row) const {
    return m_model->rowBackColor(row);
}

void FlexGrid::AddItem(const QString& line) {
    m_model->appendRow(line.split(u'\t'));
    if (m_row == 0 && Rows() > 1)
        m_row = 1;
}

QString FlexGrid::toText() const {
    QStringList lines;
    for (int r = 0; r < Rows(); ++r) {
        QStringList cells;
        for (int c = 0; c < Cols(); ++c)
            cells.append(TextMatrix(r, c));
        lines.append(cells.join(u'\t'));
    }
    return lines.join(u'\n');
}

void FlexGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    if (!current.isValid())
        return;
    m_row = current.row() + 1;
    m_column = current.column();
}

void FlexGrid::fitColumns() {
    // From the contents rather than the column: the last one may already be drawn wider.
    for (int c = 0; c < Cols(); ++c) {
        const int contents = std::max(sizeHintForColumn(c), horizontalHeader()->sectionSizeHint(c));
        const int fitted = std::min(contents, widestFittedColumn);
        setColumnWidth(c, fitted);
        m_twips[c] = fitted * twipsPerPixel;
    }
}

void FlexGrid::showCurrentRow() {
    if (m_row < 1) {
        clearSelection();
        return;
    }
    const QModelIndex cell = m_model->index(m_row - 1, std::min(m_column, std::max(Cols() - 1, 0)));
    const int row = m_row;
    const int column = m_column;
    setCurrentIndex(cell);
    // setCurrentIndex reports the view's column; the grid keeps what its caller set.
    m_row = row;
    m_column = column;
    scrollTo(cell);
}

} // namespace qormin::controls
