#include "db/Recordset.h"
#include "db/ResultTableModel.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::ResultTable;
using qormin::db::ResultTableModel;

ResultTable twoRows() {
    ResultTable table;
    table.columns.push_back({QStringLiteral("name"), 0, 0, 0, true});
    table.columns.push_back({QStringLiteral("RCNT"), 0, 0, 0, true});
    table.rows.push_back({QStringLiteral("Patients"), QVariant(qlonglong(12))});
    table.rows.push_back({QStringLiteral("Billing"), QVariant()});
    return table;
}

TEST(RecordsetTest, walksRowsAndReadsFieldsByIndexAndCaseInsensitiveName) {
    qormin::db::Recordset recordset;
    recordset.open(twoRows());
    EXPECT_EQ(recordset.RecordCount(), 2);
    EXPECT_EQ(recordset.field(QStringLiteral("rcnt")).toLongLong(), 12);
    EXPECT_FALSE(recordset.field(QStringLiteral("missing")).isValid());
    recordset.MoveNext();
    EXPECT_EQ(recordset.field(0).toString(), QStringLiteral("Billing"));
    EXPECT_FALSE(recordset.field(1).isValid());
    recordset.MoveNext();
    recordset.MoveNext();
    EXPECT_TRUE(recordset.eof());
    EXPECT_FALSE(recordset.field(0).isValid());
    recordset.MoveFirst();
    EXPECT_EQ(recordset.field(0).toString(), QStringLiteral("Patients"));
}

// The grid keeps showing what it was bound to after the recordset has moved on.
TEST(RecordsetTest, closedRecordsetIsAtItsEndWithoutFieldsAndTheGridKeepsItsTable) {
    qormin::db::Recordset recordset;
    recordset.open(twoRows());
    const auto keptByGrid = recordset.table();
    recordset.close();
    EXPECT_TRUE(recordset.eof());
    EXPECT_EQ(recordset.RecordCount(), 0);
    EXPECT_FALSE(recordset.field(0).isValid());
    ASSERT_TRUE(keptByGrid);
    ResultTableModel model(keptByGrid);
    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.data(model.index(0, 1), Qt::EditRole).toLongLong(), 12);
    model.setTable(nullptr);
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.columnCount(), 0);
}

struct DisplayCase {
    const char* name;
    QVariant value;
    const char* text;
};

class DisplayTextTest : public ::testing::TestWithParam<DisplayCase> {};

TEST_P(DisplayTextTest, showsValuesAsGridText) {
    EXPECT_EQ(ResultTableModel::displayText(GetParam().value), QString::fromUtf8(GetParam().text));
}

const DisplayCase displayCases[] = {
    {"null", QVariant(), ""},
    {"bigint", QVariant(qlonglong(9007199254740993LL)), "9007199254740993"},
    {"bit", QVariant(true), "True"},
    {"float", QVariant(0.1), "0.1"},
    {"wholeSeconds", QVariant(QDateTime(QDate(2024, 2, 29), QTime(13, 5, 7))), "2024-02-29 13:05:07"},
    {"milliseconds", QVariant(QDateTime(QDate(2024, 2, 29), QTime(13, 5, 7, 123))),
     "2024-02-29 13:05:07.123"},
    {"date", QVariant(QDate(1999, 12, 31)), "1999-12-31"},
    {"binary", QVariant(QByteArray("\x01\xab", 2)), "0x01AB"},
};

INSTANTIATE_TEST_SUITE_P(Values, DisplayTextTest, ::testing::ValuesIn(displayCases), qormin::test::RowName());

} // namespace
