#pragma once

#include "window/Tab.h"

#include <QWidget>

class QPlainTextEdit;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::controls {
class FlexGrid;
}

namespace qormin::sqltools {

class TableSizeChart;

// "table sizes": the tables of txtDB by size, into the log (cmdTableSizes(side), with the query
// in txtTableSizes) or into GridTableSizes (cmdBigTables, left side), with a bar chart of the
// largest ones beside the grid.
class TableSizesPage : public QWidget {
    Q_OBJECT
public:
    static constexpr int pageIndex = window::Tab::TableSizes;

    TableSizesPage(window::MainWindowContext& context, QWidget* parent = nullptr);
    static TableSizesPage* install(window::MainWindowContext& context);

    void cmdTableSizes_Click(int side);
    void cmdBigTables_Click();

    QPlainTextEdit* txtTableSizes() const { return m_txtTableSizes; }
    controls::FlexGrid* GridTableSizes() const { return m_GridTableSizes; }
    TableSizeChart* chart() const { return m_chart; }

private:
    void logTableSizes(int side);

    window::MainWindowContext& m_context;
    QPlainTextEdit* m_txtTableSizes;
    controls::FlexGrid* m_GridTableSizes;
    TableSizeChart* m_chart;
};

} // namespace qormin::sqltools
