#include "db/Recordset.h"
#include "db/ResultTableModel.h"

#include "QStringPrinter.h"
#include <QDateTime>

#include <gtest/gtest.h>

namespace {

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
    ASSERT_TRUE(recordset.isOpen());
    EXPECT_EQ(recordset.RecordCount(), 2);
    EXPECT_EQ(recordset.fieldCount(), 2);
    EXPECT_EQ(recordset.fieldName(1), QStringLiteral("RCNT"));
    EXPECT_EQ(recordset.field(QStringLiteral("rcnt")).toLongLong(), 12);
    recordset.MoveNext();
    EXPECT_EQ(recordset.field(0).toString(), QStringLiteral("Billing"));
    EXPECT_FALSE(recordset.field(1).isValid());
    recordset.MoveNext();
    EXPECT_TRUE(recordset.eof());
    EXPECT_FALSE(recordset.field(0).isValid());
    recordset.MoveNext();
    EXPECT_TRUE(recordset.eof());
    recordset.MoveFirst();
    EXPECT_EQ(recordset.field(0).toString(), QStringLiteral("Patients"));
    EXPECT_FALSE(recordset.field(QStringLiteral("missing")).isValid());
}

TEST(RecordsetTest, closedRecordsetIsAtItsEndWithoutFields) {
    qormin::db::Recordset recordset;
    recordset.open(twoRows());
    const auto keptByGrid = recordset.table();
    recordset.close();
    EXPECT_FALSE(recordset.isOpen());
    EXPECT_TRUE(recordset.eof());
    EXPECT_EQ(recordset.fieldCount(), 0);
    EXPECT_EQ(recordset.RecordCount(), 0);
    EXPECT_FALSE(recordset.field(0).isValid());
    ASSERT_TRUE(keptByGrid);
    EXPECT_EQ(keptByGrid->rows.size(), 2U);
}

struct DisplayCase {
    QVariant value;
    const char* text;
};

class DisplayTextTest : public ::testing::TestWithParam<DisplayCase> {};

TEST_P(DisplayTextTest, showsValuesAsGridText) {
    EXPECT_EQ(ResultTableModel::displayText(GetParam().value), QString::fromUtf8(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DisplayTextTest,
    ::testing::Values(
        DisplayCase{QVariant(), ""}, DisplayCase{QVariant(42), "42"},
        DisplayCase{QVariant(qlonglong(9007199254740993LL)), "9007199254740993"},
        DisplayCase{QVariant(true), "True"}, DisplayCase{QVariant(0.1), "0.1"},
        DisplayCase{QVariant(QStringLiteral("12.3400")), "12.3400"},
        DisplayCase{QVariant(QDateTime(QDate(2024, 2, 29), QTime(13, 5, 7))), "2024-02-29 13:05:07"},
        DisplayCase{QVariant(QDateTime(QDate(2024, 2, 29), QTime(13, 5, 7, 123))), "2024-02-29 13:05:07.123"},
        DisplayCase{QVariant(QDate(1999, 12, 31)), "1999-12-31"},
        DisplayCase{QVariant(QByteArray("\x01\xab", 2)), "0x01AB"},
        DisplayCase{QVariant(QString::fromUtf8("Müller 日本")), "Müller 日本"}));

TEST(ResultTableModelTest, exposesRowsColumnsAndHeadersWithNullAsEmpty) {
    auto table = std::make_shared<const ResultTable>(twoRows());
    ResultTableModel model(table);
    EXPECT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_EQ(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("name"));
    EXPECT_EQ(model.data(model.index(0, 1)).toString(), QStringLiteral("12"));
    EXPECT_EQ(model.data(model.index(1, 1)).toString(), QString());
    EXPECT_EQ(model.data(model.index(0, 1), Qt::EditRole).toLongLong(), 12);
    model.setTable(nullptr);
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.columnCount(), 0);
}

} // namespace
