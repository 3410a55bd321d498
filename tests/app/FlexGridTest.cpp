#include "controls/FlexGrid.h"
#include "QStringPrinter.h"
#include "db/ResultTable.h"

#include <QAbstractItemModel>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <sqlext.h>

namespace {

using qormin::controls::FlexGrid;
using qormin::db::ResultTable;

std::shared_ptr<const ResultTable> databases() {
    auto table = std::make_shared<ResultTable>();
    table->columns = {{QStringLiteral("name"), 0, 0, 0, true},
                      {QStringLiteral("size_kb"), SQL_BIGINT, QString(), 0, 0, true}};
    table->rows = {{QStringLiteral("Billing"), qlonglong(2048)},
                   {QStringLiteral("Patient_Data"), QVariant()},
                   {QStringLiteral("Station"), qlonglong(12)}};
    return table;
}

// Row 0 is the header row, as loops that start at row 0 expect to see it; cells outside read empty.
TEST(FlexGridTest, boundGridCountsHeaderRowAndStartsOnFirstDataRowEvenWhenEmpty) {
    FlexGrid grid;
    EXPECT_EQ(grid.Rows(), 0);
    ASSERT_TRUE(grid.bind(databases()));
    EXPECT_EQ(grid.Rows(), 4);
    EXPECT_EQ(grid.Cols(), 2);
    EXPECT_EQ(grid.Row(), 1);
    EXPECT_EQ(grid.toText(), QStringLiteral("name\tsize_kb\nBilling\t2048\nPatient_Data\t\nStation\t12"));
    EXPECT_EQ(grid.TextMatrix(0, 1), QStringLiteral("size_kb"));
    EXPECT_EQ(grid.TextMatrix(3, 0), QStringLiteral("Station"));
    // Numbers read right-aligned under a right-aligned name; text stays left.
    for (const int column : {0, 1}) {
        const int expected = (column == 1 ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
        EXPECT_EQ(grid.model()->index(0, column).data(Qt::TextAlignmentRole).toInt(), expected) << column;
        EXPECT_EQ(grid.model()->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).toInt(), expected);
    }
    for (const auto& [row, column] : {std::pair{4, 0}, std::pair{-1, 0}, std::pair{1, 2}})
        EXPECT_EQ(grid.TextMatrix(row, column), QString()) << row << "," << column;
    // A closed recordset leaves the grid as it was.
    EXPECT_FALSE(grid.bind(nullptr));
    EXPECT_EQ(grid.TextMatrix(1, 0), QStringLiteral("Billing"));
    // An empty result leaves only the header row.
    auto empty = std::make_shared<ResultTable>();
    empty->columns = {{QStringLiteral("name"), 0, 0, 0, true}};
    grid.bind(empty);
    EXPECT_EQ(grid.Rows(), 1);
    EXPECT_EQ(grid.Row(), 0);
}

TEST(FlexGridTest, addItemSplitsTabsAndStartsBelowHeaderRow) {
    FlexGrid grid;
    grid.AddItem(QStringLiteral("Patient_Files..tbPatientDocs\tConversionTime"));
    grid.AddItem(QStringLiteral("Station..tbstationlogs\tTransDate\textra"));
    EXPECT_EQ(grid.Rows(), 3);
    EXPECT_EQ(grid.Cols(), 3);
    EXPECT_EQ(grid.TextMatrix(1, 1), QStringLiteral("ConversionTime"));
    EXPECT_EQ(grid.TextMatrix(2, 2), QStringLiteral("extra"));
    EXPECT_EQ(grid.TextMatrix(1, 2), QString());
    EXPECT_EQ(grid.Row(), 1);
    grid.setRows(0);
    EXPECT_EQ(grid.Rows(), 0);
}

TEST(FlexGridTest, columnWidthIsInTwipsRowOutsideTheGridIsIgnoredAndCellsChangeOnlyTheGrid) {
    const auto table = databases();
    FlexGrid grid;
    grid.resize(600, 200);
    grid.bind(table);
    grid.setColWidth(0, 3000);
    EXPECT_EQ(grid.columnWidth(0), 200);
    EXPECT_EQ(grid.ColWidth(0), 3000);
    grid.setColWidth(0, 2300); // not a whole number of pixels: reads back as set
    EXPECT_EQ(grid.columnWidth(0), 153);
    EXPECT_EQ(grid.ColWidth(0), 2300);
    grid.setColumnWidth(0, 100); // resized by the user
    EXPECT_EQ(grid.ColWidth(0), 1500);
    // The last column fills the grid and still reads back the width it was given.
    grid.setColWidth(1, 2300);
    EXPECT_GT(grid.columnWidth(1), 153);
    EXPECT_EQ(grid.ColWidth(1), 2300);
    // Changing a cell keeps the bound result untouched.
    grid.setTextMatrix(1, 0, QStringLiteral("Billing2"));
    grid.setTextMatrix(0, 1, QStringLiteral("KB"));
    EXPECT_EQ(grid.TextMatrix(1, 0), QStringLiteral("Billing2"));
    EXPECT_EQ(grid.TextMatrix(3, 0), QStringLiteral("Station"));
    EXPECT_EQ(grid.model()->headerData(1, Qt::Horizontal).toString(), QStringLiteral("KB"));
    EXPECT_EQ(grid.ColAlignment(1), Qt::AlignRight);
    grid.setColAlignment(1, Qt::AlignLeft);
    EXPECT_EQ(grid.model()->index(2, 1).data(Qt::TextAlignmentRole).toInt(),
              Qt::AlignLeft | Qt::AlignVCenter);
    EXPECT_EQ(table->rows[0][0].toString(), QStringLiteral("Billing"));
    // A row outside the grid is ignored.
    grid.setRow(3);
    grid.setRow(4);
    grid.setRow(-1);
    EXPECT_EQ(grid.Row(), 3);
    grid.setRow(0);
    EXPECT_EQ(grid.Row(), 0);
}

TEST(FlexGridTest, mouseClickMakesTheRowCurrentThenRaisesClick) {
    FlexGrid grid;
    grid.resize(400, 300);
    grid.bind(databases());
    grid.show();
    QSignalSpy clicks(&grid, &FlexGrid::Click);
    int rowSeenByHandler = -1;
    QObject::connect(&grid, &FlexGrid::Click, [&] { rowSeenByHandler = grid.Row(); });
    const QRect cell = grid.visualRect(grid.model()->index(2, 0));
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell.center());
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_EQ(rowSeenByHandler, 3);
    QSignalSpy doubleClicks(&grid, &FlexGrid::DblClick);
    const QPoint second = grid.visualRect(grid.model()->index(0, 1)).center();
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, second);
    QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, second);
    EXPECT_EQ(doubleClicks.count(), 1);
    EXPECT_EQ(grid.Row(), 1);
    EXPECT_EQ(grid.Col(), 1);
}

} // namespace
