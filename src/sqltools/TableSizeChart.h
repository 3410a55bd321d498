#pragma once

#include <QChartView>
#include <QString>
#include <vector>

namespace qormin::db {
struct ResultTable;
}

namespace qormin::sqltools {

struct TableSizeBar {
    QString table;
    double totalMb = 0;
    double usedMb = 0;
};

// Beside GridTableSizes: the largest tables of the grid's result as bars of total and used MB.
class TableSizeChart : public QChartView {
    Q_OBJECT
public:
    static constexpr int barCount = 12;

    explicit TableSizeChart(QWidget* parent = nullptr);

    // The largest tables by TotalSpaceMB, largest first; none when the fields are missing.
    static std::vector<TableSizeBar> largestTables(const db::ResultTable& table, int count = barCount);

    void showTables(const db::ResultTable& table);
    const std::vector<TableSizeBar>& bars() const { return m_bars; }

private:
    std::vector<TableSizeBar> m_bars;
};

} // namespace qormin::sqltools
