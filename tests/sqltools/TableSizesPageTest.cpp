#include "SqlToolsFixture.h"

#include "RowName.h"
#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "sqltools/TableSizeChart.h"
#include "sqltools/TableSizeStatements.h"
#include "sqltools/TableSizesPage.h"
#include "sqltools/UsersPage.h"

namespace qormin::test {

namespace {

using qormin::test::PrintTo;

namespace Statements = sqltools::TableSizeStatements;

// The default query and the big-tables query list three tables of Billing; sp_who2 two sessions.
class TableSizesPageTest : public SqlToolsFixture {
protected:
    QByteArray rules() const override {
        const QByteArray sizes = R"json({"result": {
            "columns": ["TableName:nvarchar(128)", "SchemaName:nvarchar(128)", "RowCounts:bigint", "TotalSpaceMB:numeric(36,2)", "UsedSpaceMB:numeric(36,2)"],
            "rows": [["tbBill", "dbo", 1234567, "812.25", "800.50"], ["tbCash", "dbo", 500, "0.06", "0.05"], ["tbStation", "dbo", 20000, "31.00", "30.00"]]}})json";
        QByteArray defaultText = Statements::defaultTableSizesText().toUtf8();
        defaultText.replace("\r\n", "\\r\\n");
        return QByteArray(R"json({"exact": ")json") + defaultText + R"json(", "response": )json" + sizes +
               R"json(},
    {"exact": ")json" +
               Statements::bigTablesQuery().toUtf8() + R"json(", "database": "Billing", "response": )json" +
               sizes + R"json(},
    {"exact": "SELECT name AS TableName FROM sys.tables",
     "response": {"result": {"columns": ["TableName:nvarchar(128)"], "rows": [["tbCash"]]}}},
    {"exact": "SELECT * FROM nowhere",
     "response": {"error": {"number": 208, "text": "Invalid object name 'nowhere'."}}},
    {"exact": "EXEC sp_who2", "database": "Station",
     "response": {"error": {"number": 229, "text": "The EXECUTE permission was denied on the object 'sp_who2'."}}},
    {"exact": "EXEC sp_who2",
     "response": {"result": {"columns": ["SPID:char(5)", "Status:nvarchar(30)", "Login:nvarchar(128)", "DBName:nvarchar(128)"],
                             "rows": [["51", "sleeping", "sa", "Billing"], ["52", "RUNNABLE", "hospital\\nurse", "Station"]]}}},
)json";
    }
};

TEST_F(TableSizesPageTest, tableSizesGoToTheEndOfTheLogInQueryOrder) {
    const BatchResult result = run(QStringLiteral("click cmdTableSizes(0)\n"));
    EXPECT_EQ(result.exitCode, 0) << result.log.toStdString();
    EXPECT_EQ(statements(),
              QStringList({QStringLiteral("USE   Billing"), Statements::defaultTableSizesText()}));
    EXPECT_EQ(logLines(), QStringList({QStringLiteral("tbBill     \t1234.567\t     812.25"),
                                       QStringLiteral("tbCash     \t0.5\t     0.06"),
                                       QStringLiteral("tbStation     \t20\t     31.00")}));
}

struct FailureCase {
    const char* name;
    const char* query;
    const char* line;
};

class TableSizesFailureTest : public TableSizesPageTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(TableSizesFailureTest, aBadQueryEndsWithOneLogLine) {
    const BatchResult result = run(QStringLiteral("set txtTableSizes %1\nclick cmdTableSizes(0)\n")
                                       .arg(QString::fromLatin1(GetParam().query)));
    EXPECT_NE(result.exitCode, 2) << result.errors.toStdString();
    EXPECT_EQ(logLines(), QStringList(QString::fromLatin1(GetParam().line)));
}

const FailureCase failureCases[] = {
    {"missingField", "SELECT name AS TableName FROM sys.tables",
     "Table sizes: the query gives no field RowCounts"},
    {"refusedQuery", "SELECT * FROM nowhere", "Table sizes failed: Invalid object name 'nowhere'."},
};

INSTANTIATE_TEST_SUITE_P(TableSizes, TableSizesFailureTest, ::testing::ValuesIn(failureCases),
                         qormin::test::RowName());

TEST_F(TableSizesPageTest, bigTablesFillTheGridAndTheChartAfterLoggingTheQuery) {
    const BatchResult result = run(QStringLiteral("click cmdBigTables\n"));
    EXPECT_EQ(result.exitCode, 0) << result.log.toStdString();
    EXPECT_EQ(statements(), QStringList({QStringLiteral("USE Billing"), QStringLiteral("USE [Billing]"),
                                         Statements::bigTablesQuery()}));
    EXPECT_EQ(logLines(), QStringList(Statements::bigTablesQuery()));
    auto* page = window().findChild<sqltools::TableSizesPage*>();
    EXPECT_EQ(page->GridTableSizes()->Rows(), 4);
    EXPECT_EQ(page->GridTableSizes()->TextMatrix(1, 0), QStringLiteral("tbBill"));
    const auto& bars = page->chart()->bars();
    ASSERT_EQ(bars.size(), 3);
    EXPECT_EQ(bars[0].table, QStringLiteral("tbBill"));
    EXPECT_EQ(bars[1].table, QStringLiteral("tbStation"));
    EXPECT_DOUBLE_EQ(bars[1].usedMb, 30.0);
}

TEST_F(TableSizesPageTest, sessionsOfTheLeftServerFillGridTUnlessTheListFails) {
    const BatchResult result = run(QStringLiteral("click cmdReadGrid\n"));
    EXPECT_EQ(result.exitCode, 0) << result.log.toStdString();
    EXPECT_EQ(statements(), QStringList(QStringLiteral("EXEC sp_who2")));
    auto* grid = window().findChild<sqltools::UsersPage*>()->GridT();
    EXPECT_EQ(grid->Rows(), 3);
    EXPECT_EQ(grid->TextMatrix(0, 2), QStringLiteral("Login"));
    EXPECT_EQ(grid->TextMatrix(2, 2), QStringLiteral("hospital\\nurse"));

    // A session list that fails leaves its error in both log boxes and the grid as it was.
    window().serverAccess().side(0).execute(QStringLiteral("USE Station"));
    window().serverAccess().log().clear();
    const int rowsBefore = grid->Rows();
    const BatchResult failed = run(QStringLiteral("click cmdReadGrid\n"));
    EXPECT_EQ(failed.exitCode, 1) << failed.log.toStdString();
    const QString line =
        QStringLiteral("The EXECUTE permission was denied on the object 'sp_who2'. EXEC sp_who2");
    EXPECT_EQ(logLines().value(0), line);
    EXPECT_EQ(window().serverAccess().errors().text(), line + QStringLiteral("\r\n"));
    EXPECT_EQ(grid->Rows(), rowsBefore);
}

} // namespace

} // namespace qormin::test
