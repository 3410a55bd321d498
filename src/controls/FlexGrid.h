#pragma once

#include <QColor>
#include <QTableView>
#include <map>
#include <memory>

namespace qormin::db {
struct ResultTable;
}

namespace qormin::controls {

class FlexGridModel;

// The one grid of the tool. It keeps the classic row numbering: row 0 is the header row holding
// the column names, data rows start at 1, and Rows() counts both. The view shows row 0 as its
// header; clicking a data row makes it the current Row().
class FlexGrid : public QTableView {
    Q_OBJECT
public:
    static constexpr int twipsPerPixel = 15;

    explicit FlexGrid(QWidget* parent = nullptr);

    // DataSource: shows a result. The grid keeps its own reference, so the shared record set
    // may move on to the next query. A null table (a record set that failed to open) leaves
    // the grid as it was and returns false.
    bool bind(std::shared_ptr<const db::ResultTable> table);
    void clear();

    int Rows() const;
    void setRows(int rows);
    int Cols() const;
    void setCols(int columns);
    int Row() const { return m_row; }
    void setRow(int row);
    int Col() const { return m_column; }
    void setCol(int column);
    QString TextMatrix(int row, int column) const;
    void setTextMatrix(int row, int column, const QString& text);
    int ColWidth(int column) const;
    void setColWidth(int column, int twips);
    // Horizontal alignment of a column's cells and name. Binding a result starts its number
    // columns right-aligned, the others left-aligned.
    Qt::Alignment ColAlignment(int column) const;
    void setColAlignment(int column, Qt::Alignment alignment);
    // A data row's background (row >= 1); binding a new result clears them.
    void setRowBackColor(int row, const QColor& color);
    QColor rowBackColor(int row) const;
    // Adds a row from a tab-separated line.
    void AddItem(const QString& line);

    // Row as text, cells joined by tabs, rows by line feeds (batch mode's print).
    QString toText() const;

Q_SIGNALS:
    void Click();
    void DblClick();

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    void fitColumns();
    void showCurrentRow();

    FlexGridModel* m_model;
    std::map<int, int> m_twips; // widths as set or fitted, while the column still has that width
    int m_row = 0;
    int m_column = 0;
};

} // namespace qormin::controls
