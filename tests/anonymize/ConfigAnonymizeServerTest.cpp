#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "anonymize/AnonymizeStatements.h"
#include "anonymize/ConfigAnonymizePage.h"
#include "controls/FlexGrid.h"
#include "controls/ctlSaveLoadFile.h"

#include <QDir>
#include <QFile>
#include <QPlainTextEdit>
#include <gtest/gtest.h>

namespace {

using qormin::anonymize::ConfigAnonymizePage;
using qormin::test::SimTestServer;
using qormin::test::WindowHarness;
namespace Statements = qormin::anonymize::AnonymizeStatements;

// Billing has a name table, an excluded one and one whose column query the server refuses (as a
// real server refuses every one: the query's parenthesis is never closed); Lab has one more.
const QByteArray scenario = R"json({
  "rules": [
    {"exact": "SELECT NAME,* FROM sys.databases  WHERE database_id > 4 ", "response": {"result": {
      "columns": ["NAME:nvarchar(128)", "database_id:int"], "rows": [["Billing", 5], ["", 6], ["Lab", 7]]}}},
    {"exact": "SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE='BASE TABLE' ", "database": "Billing",
     "response": {"result": {"columns": ["TABLE_NAME:nvarchar(128)"], "rows": [["tbCash"], ["tbAudit"], ["tbPlain"]]}}},
    {"exact": "SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE='BASE TABLE' ", "database": "Lab",
     "response": {"result": {"columns": ["TABLE_NAME:nvarchar(128)"], "rows": [["tbLog"]]}}},
    {"regex": "Table_Name = 'tbCash'", "response": {"result": {"columns": ["COLUMN_NAME:nvarchar(128)"],
      "rows": [["HospNum"], ["LastName"], ["FirstName"]]}}},
    {"regex": "Table_Name = 'tbLog'", "response": {"result": {"columns": ["COLUMN_NAME:nvarchar(128)"],
      "rows": [["PatientName"], ["HOSPNUM"]]}}},
    {"regex": "Table_Name = 'tbPlain'", "response": {"error": {"number": 156,
      "text": "Incorrect syntax near the keyword 'ORDER'."}}},
    {"exact": "SELECT top 10  FirstName,* FROM Billing..tbCash where FirstName is not null", "response": {"result": {
      "columns": ["FirstName:nvarchar(50)", "IDNum:int", "FirstName:nvarchar(50)"], "rows": [["Ann", 1, "Ann"]]}}}
  ]
})json";

class ConfigAnonymizeServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_harness.storeConnection(1, m_server->address(), QStringLiteral("pw"));
        m_harness.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtLastNames"),
                                         QStringLiteral("Stored1\r\nStored2\r\n"));
        m_harness.load();
        m_page = m_harness.window().findChild<ConfigAnonymizePage*>();
        QFile excluded(
            QDir(m_harness.folder(QStringLiteral("data"))).filePath(QStringLiteral("ExcludedTables.txt")));
        ASSERT_TRUE(excluded.open(QIODevice::WriteOnly));
        excluded.write("Billing..tbAudit\r\n");
        excluded.close();
        m_server->clearTranscript();
    }

    std::unique_ptr<SimTestServer> m_server;
    WindowHarness m_harness;
    ConfigAnonymizePage* m_page = nullptr;
};

TEST_F(ConfigAnonymizeServerTest, getTablesListsNameColumnsWithoutHospNumSavesThemAndSamplesOne) {
    const auto result =
        m_harness.runBatch(QStringLiteral("click cmdInit\nclick cmdGetTables\nclick cmdSaveFile\n"));
    // The refused column query fails the run, as any failing statement does.
    EXPECT_EQ(result.exitCode, 1) << result.errors.toStdString();
    EXPECT_EQ(m_page->GridC()->toText(), QStringLiteral("Database\tTable\tColumns\t\n"
                                                        "Billing\ttbCash\tLastName\tFirstName\n"
                                                        "Lab\ttbLog\tPatientName\t"));
    EXPECT_EQ(m_server->statements(),
              (QStringList{Statements::databasesQuery(), "use [Billing]", Statements::tablesQuery(),
                           Statements::nameColumnsQuery("Billing", "tbCash"),
                           Statements::nameColumnsQuery("Billing", "tbPlain"), "use [Lab]",
                           Statements::tablesQuery(), Statements::nameColumnsQuery("Lab", "tbLog")}));
    EXPECT_TRUE(result.log.contains(QStringLiteral("Skipping Billing..tbAudit")));
    EXPECT_TRUE(result.log.contains(QStringLiteral("Incorrect syntax near the keyword 'ORDER'.")));
    const QString path =
        QDir(m_harness.folder(QStringLiteral("data"))).filePath(QStringLiteral("AnonymizeTables.txt"));
    EXPECT_TRUE(result.log.contains(QStringLiteral("Saved. ") + QDir::toNativeSeparators(path)));
    QFile saved(path);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(),
              QByteArray("Database..Table Columns  \r\nBilling..tbCash LastName FirstName \r\n"
                         "Lab..tbLog PatientName  \r\n"));

    // Sample data shows the selected column first.
    const auto sample = m_harness.runBatch(QStringLiteral("select GridC 1 3\nclick cmdSampleData\n"));
    ASSERT_EQ(sample.exitCode, 0) << sample.errors.toStdString();
    EXPECT_EQ(m_page->grdSample()->toText(), QStringLiteral("FirstName\tIDNum\tFirstName\nAnn\t1\tAnn"));
}

TEST_F(ConfigAnonymizeServerTest, initRestoresTheStoredListsOnceAndFallsBackToTheDefaultTables) {
    auto* lastNames = m_harness.window().findChild<QPlainTextEdit*>(QStringLiteral("txtLastNames"));
    ASSERT_NE(lastNames, nullptr);
    EXPECT_EQ(lastNames->toPlainText().count(u'\n'), 1000);
    ASSERT_EQ(m_harness.runBatch(QStringLiteral("page 8\n")).exitCode, 0);
    EXPECT_EQ(lastNames->toPlainText(), QStringLiteral("Stored1\nStored2\n"));
    EXPECT_EQ(m_page->ctlATables()->text(), Statements::defaultTables());
    ASSERT_EQ(
        m_harness.runBatch(QStringLiteral("set txtLastNames Typed\\r\\n\nclick cmdInitAnonymize\n")).exitCode,
        0);
    EXPECT_EQ(lastNames->toPlainText(), QStringLiteral("Typed\n"));
    EXPECT_EQ(m_harness.settings().getSetting(QStringLiteral("MAIN"), QStringLiteral("txtLastNames")),
              QStringLiteral("Typed\r\n"));
}

} // namespace
