#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QLabel>
#include <QLineEdit>
#include <gtest/gtest.h>

namespace {

using qormin::test::SimTestServer;
using qormin::test::WindowHarness;

const char* const hospitalScenario = R"json({
  "login": {"user": "sa", "password": "secret"}, "databases": ["Billing", "Patient_Data", "Station"],
  "rules": [ {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"],
                             "rows": [["Billing"], ["Patient_Data"], ["Station"]]}}},
    {"prefix": " SELECT     t.NAME AS TableName,", "database": "Billing",
     "response": {"result": {"columns": ["TableName:nvarchar(128)", "SchemaName:nvarchar(128)", "RowCounts:bigint",
                                         "TotalSpaceKB:bigint", "UsedSpaceKB:bigint", "UnusedSpaceKB:bigint"],
                             "rows": [["tbBillDailyBill", "dbo", 120000, 8000, 7800, 200],
                                      ["tbCashAssessment", "dbo", 500, 64, 56, 8]]}}},
    {"prefix": " SELECT     t.NAME AS TableName,", "database": "Station",
     "response": {"error": {"number": 229, "text": "The SELECT permission was denied on the object 'tables', database 'mssqlsystemresource', schema 'sys'."}}},
    {"exact": "SELECT CONVERT(bigint, rows) as RCNT from sysindexes WHERE id = OBJECT_ID('tbCashAssessment') AND indid < 2",
     "response": {"result": {"columns": ["RCNT:bigint"], "rows": [[500]]}}} ]
})json";

std::unique_ptr<SimTestServer> startServer() {
    auto server = SimTestServer::fromJson(QByteArray(hospitalScenario));
    EXPECT_TRUE(server && server->isRunning());
    return server;
}

const QString databaseList =
    QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");

TEST(DatabaseListTest, startUpConnectsOnlyTheSideWithAStoredPassword) {
    const auto server = startServer();
    WindowHarness harness;
    harness.storeConnection(0, server->address(), QString());
    harness.storeConnection(1, server->address(), QStringLiteral("secret"));
    harness.load();
    auto& window = harness.window();
    EXPECT_FALSE(window.serverAccess().IsConnected(0));
    EXPECT_TRUE(window.serverAccess().IsConnected(1));
    EXPECT_EQ(server->server().connectionCount(), 1);
    EXPECT_EQ(server->statements().count(databaseList), 1);
    EXPECT_EQ(window.GridDB(0)->Rows(), 0);
    EXPECT_EQ(window.lblDBCount(0)->text(), QString());
    EXPECT_EQ(window.GridDB(1)->TextMatrix(3, 0), QStringLiteral("Station"));
    EXPECT_EQ(harness.output(), QString());
}

TEST(DatabaseListTest, countIncludesTheHeaderRowClickPicksTheDatabaseAndARefusedTableListSaysWhy) {
    const auto server = startServer();
    WindowHarness harness;
    harness.storeConnection(0, server->address(), QStringLiteral("secret"));
    harness.load();
    auto& window = harness.window();
    EXPECT_EQ(window.lblDBCount(0)->text(), QStringLiteral("4"));
    EXPECT_EQ(window.GridDB(0)->TextMatrix(0, 0), QStringLiteral("name"));
    EXPECT_EQ(window.GridDB(0)->ColWidth(0), 3000);
    const auto result =
        harness.runBatch(QStringLiteral("select GridDB(0) 2\nprint txtDB\nselect GridDB(0) 0\nprint txtDB\n"
                                        "print GridDB(0)\n"));
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    // A click on the header row picks the column's name.
    EXPECT_EQ(result.output, QStringLiteral("Patient_Data\nname\nname\nBilling\nPatient_Data\nStation\n"));
    // A refused table list says why and counts no tables.
    const auto refused = harness.runBatch(QStringLiteral("dblclick GridDB(0) 3\nprint lblcount\n"));
    ASSERT_EQ(refused.exitCode, 1) << refused.errors.toStdString();
    EXPECT_EQ(refused.output, QStringLiteral("0\n"));
    EXPECT_TRUE(harness.window().serverAccess().log().text().startsWith(QStringLiteral(
        "The SELECT permission was denied on the object 'tables', database 'mssqlsystemresource', "
        "schema 'sys'.\r\n")));
}

// The table list of a database picked in the right grid comes from the left server, whose
// connection then stays in that database.
TEST(DatabaseListTest, rightGridDoubleClickListsTablesThroughTheLeftServer) {
    const auto left = startServer();
    const auto right = startServer();
    WindowHarness harness;
    harness.storeConnection(0, left->address(), QStringLiteral("secret"));
    harness.storeConnection(1, right->address(), QStringLiteral("secret"));
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("dblclick GridDB(1) 1\nprint lblcount\n"
                                                        "select Grid2 2\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QStringLiteral("2\n"));
    auto& window = harness.window();
    EXPECT_EQ(window.txtDB()->text(), QStringLiteral("Billing"));
    EXPECT_EQ(window.Grid2()->TextMatrix(0, 0), QStringLiteral("TableName"));
    EXPECT_EQ(window.Grid2()->TextMatrix(1, 0), QStringLiteral("tbBillDailyBill"));
    EXPECT_EQ(window.Grid2()->ColWidth(0), 2300);
    const QStringList leftBatches = left->statements();
    ASSERT_GE(leftBatches.size(), 4);
    EXPECT_EQ(leftBatches.mid(leftBatches.size() - 3, 1), QStringList{QStringLiteral("use Billing")});
    EXPECT_TRUE(leftBatches.at(leftBatches.size() - 2)
                    .startsWith(QStringLiteral(" SELECT     t.NAME AS TableName,")));
    EXPECT_EQ(leftBatches.last(),
              QStringLiteral("SELECT CONVERT(bigint, rows) as RCNT from sysindexes WHERE id = "
                             "OBJECT_ID('tbCashAssessment') AND indid < 2"));
    EXPECT_EQ(right->statements(), QStringList{databaseList});
    EXPECT_TRUE(window.serverAccess().log().text().startsWith(QStringLiteral("ROWS: 500\r\n")));
}

TEST(DatabaseListTest, failedLoginShowsTheServersMessageAndTheConnectButtonRetriesWithTheCurrentTexts) {
    const auto server = startServer();
    WindowHarness harness;
    harness.storeConnection(0, server->address(), QStringLiteral("wrong"));
    harness.load();
    EXPECT_EQ(harness.output(), QStringLiteral("MSGBOX: Login failed for user 'sa'. -> ok\n"));
    EXPECT_FALSE(harness.window().serverAccess().IsConnected(0));
    // Start-up went on after the box.
    EXPECT_TRUE(harness.window().serverAccess().log().text().startsWith(QStringLiteral("checking path ")));
    const auto result = harness.runBatch(QStringLiteral("set txtPW(0) secret\nclick cmdConnect(0)\n"
                                                        "click cmdRefreshDB(0)\nprint lblDBCount(0)\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QStringLiteral("4\n"));
    EXPECT_TRUE(harness.window().serverAccess().IsConnected(0));
}

} // namespace
