#include "sqltools/TableSizeChart.h"

#include "db/ResultTable.h"

#include <QBarCategoryAxis>
#include <QBarSet>
#include <QHorizontalBarSeries>
#include <QValueAxis>
#include <algorithm>
#include <memory>

namespace qormin::sqltools {

TableSizeChart::TableSizeChart(QWidget* parent) : QChartView(parent) {
    setObjectName(QStringLiteral("chartTableSizes"));
    setRenderHint(QPainter::Antialiasing);
    chart()->setTitle(QStringLiteral("Largest tables (MB)"));
    chart()->legend()->setAlignment(Qt::AlignBottom);
    chart()->setMargins(QMargins(2, 2, 2, 2));
    chart()->setBackgroundRoundness(0);
    setMinimumSize(320, 220);
}

std::vector<TableSizeBar> TableSizeChart::largestTables(const db::ResultTable& table, int count) {
    const int name = table.columnIndex(QStringLiteral("TableName"));
    const int total = table.columnIndex(QStringLiteral("TotalSpaceMB"));
    const int used = table.columnIndex(QStringLiteral("UsedSpaceMB"));
    std::vector<TableSizeBar> bars;
    if (name < 0 || total < 0) {
        return bars;
    }
    for (const auto& row : table.rows) {
        const auto cell = [&row](int index) {
            return index >= 0 && index < int(row.size()) ? row[size_t(index)] : QVariant();
        };
        bars.push_back({cell(name).toString(), cell(total).toDouble(), cell(used).toDouble()});
    }
    std::stable_sort(bars.begin(), bars.end(),
                     [](const TableSizeBar& a, const TableSizeBar& b) { return a.totalMb > b.totalMb; });
    if (bars.size() > size_t(count)) {
        bars.resize(size_t(count));
    }
    return bars;
}

void TableSizeChart::showTables(const db::ResultTable& table) {
    m_bars = largestTables(table);
    QChart* target = chart();
    target->removeAllSeries();
    for (QAbstractAxis* axis : target->axes()) {
        target->removeAxis(axis);
        const std::unique_ptr<QAbstractAxis> released(axis); // the chart no longer owns it
    }
    auto* totalSet = new QBarSet(QStringLiteral("Total MB"));
    auto* usedSet = new QBarSet(QStringLiteral("Used MB"));
    QStringList names;
    // A horizontal chart draws its first category at the bottom: the largest goes last.
    for (auto bar = m_bars.rbegin(); bar != m_bars.rend(); ++bar) {
        totalSet->append(bar->totalMb);
        usedSet->append(bar->usedMb);
        names.append(bar->table);
    }
    auto* series = new QHorizontalBarSeries;
    series->append(totalSet);
    series->append(usedSet);
    target->addSeries(series);
    auto* tables = new QBarCategoryAxis;
    tables->append(names);
    tables->setTruncateLabels(false);
    target->addAxis(tables, Qt::AlignLeft);
    series->attachAxis(tables);
    auto* megabytes = new QValueAxis;
    megabytes->setLabelFormat(QStringLiteral("%.0f"));
    megabytes->setTickCount(3);
    target->addAxis(megabytes, Qt::AlignBottom);
    series->attachAxis(megabytes);
    megabytes->setMin(0);
}

} // namespace qormin::sqltools
