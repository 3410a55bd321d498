#include "QStringPrinter.h"
#include "RowName.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "app/MainWindowStatements.h"
#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::test::SimTestServer;
using qormin::test::WindowHarness;

const char* const hospitalScenario = R"json({
  "login": {"user": "sa", "password": "secret"}, "databases": ["Billing", "Patient_Data", "Station"],
  "rules": [ %HEALTH% {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
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

// healthRule: the scenario's answer to the health query, a rule followed by a comma.
std::unique_ptr<SimTestServer> startServer(const char* healthRule = "") {
    auto server = SimTestServer::fromJson(QByteArray(hospitalScenario).replace("%HEALTH%", healthRule));
    EXPECT_TRUE(server && server->isRunning());
    return server;
}

const QString databaseList =
    QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");
const QString healthQuery = qormin::app::MainWindowStatements::databaseHealth();
const QRegularExpression stamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d "));

// Every batch the server received, the window's health question included.
QStringList batches(const SimTestServer& server) {
    QStringList texts;
    for (const auto& entry : server.transcript()) {
        if (entry.kind == QLatin1String("batch"))
            texts.append(entry.text);
    }
    return texts;
}

QString lastError(qormin::app::frmMain& window) {
    return window.findChild<QLabel*>(QStringLiteral("lblLastError"))->text().remove(stamp);
}

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
    // A failed query is its handler's to report (here in txtLog); the status bar shows it.
    const QString line =
        QStringLiteral("Left server ") + server->address() +
        QStringLiteral(": The SELECT permission was denied on the object 'tables', database "
                       "'mssqlsystemresource', schema 'sys'. -- SELECT t.NAME AS TableName, "
                       "s.Name AS SchemaName, p.rows AS RowCounts, SUM(a.total_pages) * 8 AS Tot...");
    EXPECT_EQ(harness.window().serverAccess().errors().text(), QString());
    EXPECT_EQ(lastError(harness.window()), line);
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
    const QString refused =
        QStringLiteral("Left server ") + server->address() + QStringLiteral(": Login failed for user 'sa'.");
    // The box holds the server's reason; its title, txtErrs and the status bar name side and server.
    EXPECT_EQ(harness.output(), QStringLiteral("MSGBOX: Login failed for user 'sa'. -> ok\n"));
    EXPECT_EQ(lastError(harness.window()), refused);
    EXPECT_TRUE(harness.window().serverAccess().errors().text().contains(refused));
    EXPECT_FALSE(harness.window().serverAccess().IsConnected(0));
    // Start-up went on after the box.
    EXPECT_TRUE(harness.window().serverAccess().log().text().startsWith(QStringLiteral("checking path ")));
    const auto result = harness.runBatch(QStringLiteral("set txtPW(0) secret\nclick cmdConnect(0)\n"
                                                        "click cmdRefreshDB(0)\nprint lblDBCount(0)\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QStringLiteral("4\n"));
    EXPECT_TRUE(harness.window().serverAccess().IsConnected(0));
    // The next success clears the status bar's error.
    EXPECT_EQ(lastError(harness.window()), QString());
}

struct HealthCase {
    const char* name;
    const char* healthRule;
    const char* batch; // before the prints
    const char* printed;
    std::vector<int> markedRows;
    const char* logLine; // txtLog's line about the health columns, if any
};

class DatabaseHealthTest : public testing::TestWithParam<HealthCase> {};

// The health query follows the database list and fills the columns after the name; overdue
// backups are marked and counted; without msdb history the grid keeps its names and one log
// line says why, and the run does not count as failed.
TEST_P(DatabaseHealthTest, fillsTheColumnsMarksOverdueBackupsOrFailsSoft) {
    const HealthCase& c = GetParam();
    const auto server = startServer(c.healthRule);
    WindowHarness harness;
    harness.storeConnection(0, server->address(), QStringLiteral("secret"));
    harness.load();
    harness.window().serverAccess().setScriptOnly(true); // the query is read-only: still sent
    const auto result =
        harness.runBatch(QStringLiteral("set chkDatabaseHealth 1\n") + QString::fromUtf8(c.batch) +
                         QStringLiteral("click cmdRefreshDB(0)\nprint GridDB(0)\nprint lblDBCount(0)\n"));
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QString::fromUtf8(c.printed));
    auto& window = harness.window();
    for (int row = 1; row < window.GridDB(0)->Rows(); ++row) {
        const bool marked = std::find(c.markedRows.begin(), c.markedRows.end(), row) != c.markedRows.end();
        EXPECT_EQ(window.GridDB(0)->rowBackColor(row).isValid(), marked) << row;
    }
    const QString logLine =
        QString::fromUtf8(c.logLine).replace(QStringLiteral("%SERVER%"), server->address());
    EXPECT_EQ(window.serverAccess().log().text().count(QStringLiteral("No database health")),
              c.logLine ? 1 : 0);
    EXPECT_TRUE(window.serverAccess().log().text().contains(logLine + QStringLiteral("\r\n")));
    EXPECT_EQ(window.serverAccess().errors().text(), QString());
    // A batch run starts without the columns: its start-up sends the list alone.
    EXPECT_EQ(batches(*server).mid(0, 3), (QStringList{databaseList, databaseList, healthQuery}));
    EXPECT_TRUE(healthQuery.startsWith(QLatin1String(SimTestServer::healthQueryStart)));
}

#define HEALTH_COLUMNS                                                                                       \
    "name\tState\tRecovery\tData MB\tLog MB\tLast full backup\tFull age\tLast log backup\tLog "              \
    "age\tAttention\n"
#define HEALTH_BILLING                                                                                       \
    "Billing\tONLINE\tFULL\t100.0\t20.0\t2026-11-24 23:00\t10 h\t2026-11-25 09:45\t15 min\t\n"
#define HEALTH_PATIENTS                                                                                      \
    "Patient_Data\tONLINE\tFULL\t2048.5\t512.0\t2026-11-22 23:00\t2 d\tnever\t\tfull backup 2 d old; no "    \
    "log backup\n"
#define HEALTH_STATION "Station\tONLINE\tSIMPLE\t50.0\t10.0\t2026-11-24 10:00\t25 h\t\t\t"

const char* const healthHistory = R"json({"prefix": "SELECT d.name, d.state_desc,", "response": {"result": {
  "columns": ["name:nvarchar(128)", "state_desc:nvarchar(60)", "recovery_model_desc:nvarchar(60)", "data_mb:decimal(18,1)",
              "log_mb:decimal(18,1)", "last_full:datetime", "full_age_minutes:int", "last_log:datetime", "log_age_minutes:int"],
  "rows": [["Billing", "ONLINE", "FULL", 100, 20, "2026-11-24 23:00:00", 600, "2026-11-25 09:45:00", 15],
           ["Patient_Data", "ONLINE", "FULL", "2048.5", 512, "2026-11-22 23:00:00", 3480, null, null],
           ["Station", "ONLINE", "SIMPLE", 50, 10, "2026-11-24 10:00:00", 1500, null, null]]}}},)json";

const HealthCase healthCases[] = {
    {"withHistoryDefaultLimits",
     healthHistory,
     "",
     HEALTH_COLUMNS HEALTH_BILLING HEALTH_PATIENTS HEALTH_STATION "full backup 25 h old\n4 (2 overdue)\n",
     {2, 3},
     nullptr},
    {"longerFullBackupLimitFromTheOptionsPage",
     healthHistory,
     "set txtFullBackupHours 48\n",
     HEALTH_COLUMNS HEALTH_BILLING HEALTH_PATIENTS HEALTH_STATION "\n4 (1 overdue)\n",
     {2},
     nullptr},
    {"withoutMsdbHistory",
     R"json({"prefix": "SELECT d.name, d.state_desc,", "response": {"error": {"number": 208,
        "text": "Invalid object name 'msdb.dbo.backupset'."}}},)json",
     "",
     "name\nBilling\nPatient_Data\nStation\n4\n",
     {},
     "No database health columns for the Left server %SERVER%: Invalid object name 'msdb.dbo.backupset'."},
};

INSTANTIATE_TEST_SUITE_P(Cases, DatabaseHealthTest, testing::ValuesIn(healthCases), qormin::test::RowName());

} // namespace
