#include "RowName.h"
#include "SimClientTest.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QString databaseList =
    QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");
const QString tableSizes = QStringLiteral(
    " SELECT     t.NAME AS TableName,    s.Name AS SchemaName,    p.rows AS RowCounts,    "
    "SUM(a.total_pages) * 8 AS TotalSpaceKB,     SUM(a.used_pages) * 8 AS UsedSpaceKB,     "
    "(SUM(a.total_pages) - SUM(a.used_pages)) * 8 AS UnusedSpaceKB FROM     sys.tables t INNER JOIN "
    "sys.indexes i ON t.OBJECT_ID = i.object_id INNER JOIN sys.partitions p ON i.object_id = p.OBJECT_ID "
    "AND i.index_id = p.index_id INNER JOIN     sys.allocation_units a ON p.partition_id = "
    "a.container_id LEFT OUTER JOIN     sys.schemas s ON t.schema_id = s.schema_id WHERE     t.NAME NOT "
    "LIKE 'dt%'     AND t.is_ms_shipped = 0    AND i.OBJECT_ID > 255  GROUP BY     t.Name, s.Name, "
    "p.Rows ORDER BY     TotalSpaceKB desc");

class SimDemoScenarioTest : public SimClientTest {
protected:
    void SetUp() override {
        start(SimTestServer::fromFile(QStringLiteral(QORMIN_SIM_SCENARIOS "/demo.json")),
              QStringLiteral("demo"), QStringLiteral("MASTER "));
    }
};

TEST_F(SimDemoScenarioTest, everyHospitalDatabaseListsItsTablesLargestFirstWithMatchingRowCounts) {
    const QStringList names = client.execute(databaseList).column(0);
    for (const char* name :
         {"Patient_Data", "Billing", "Medicare", "Station", "Laboratory", "Radiology", "Payroll",
          "Accounting", "Inventory", "Patient_Files", "HISTORY", "Cardio", "PELWIN", "Eclaims"}) {
        EXPECT_TRUE(names.contains(QString::fromUtf8(name))) << name;
    }
    for (const QString& database : names) {
        ASSERT_TRUE(client.execute(QStringLiteral("use ") + database).succeeded) << database.toStdString();
        const auto sizes = client.execute(tableSizes);
        ASSERT_EQ(sizes.tables.size(), 1u);
        const auto& tables = sizes.tables[0].rows;
        ASSERT_FALSE(tables.empty()) << database.toStdString();
        for (size_t i = 1; i < tables.size(); ++i)
            EXPECT_GE(tables[i - 1].at(3).toLongLong(), tables[i].at(3).toLongLong());
        const auto count = client.execute(
            QStringLiteral(
                "SELECT CONVERT(bigint, rows) as RCNT from sysindexes WHERE id = OBJECT_ID('%1') AND "
                "indid < 2")
                .arg(tables[0].at(0)));
        ASSERT_EQ(count.tables.size(), 1u);
        EXPECT_EQ(count.tables[0].rows.at(0).at(0), tables[0].at(2));
    }
}

TEST_F(SimDemoScenarioTest, restoreFileListNamesDataAndLogFiles) {
    const auto outcome = client.execute(
        QStringLiteral(" RESTORE FILELISTONLY  FROM DISK = 'p:\\backup\\MIR\\Billing.bak' WITH FILE = 1"));
    EXPECT_EQ(outcome.column(0), (QStringList{QStringLiteral("Billing"), QStringLiteral("Billing_log")}));
    EXPECT_EQ(outcome.column(1), (QStringList{QStringLiteral("D:\\SQLData\\Billing.mdf"),
                                              QStringLiteral("L:\\SQLLogs\\Billing_log.ldf")}));
    EXPECT_EQ(outcome.column(2), (QStringList{QStringLiteral("D"), QStringLiteral("L")}));
}

struct DemoCase {
    const char* name;
    const char* statement;
    bool succeeded;
    const char* shown;     // a message among the others, if set
    const char* lastStart; // how the last message begins
};

class SimDemoStatementTest : public SimDemoScenarioTest, public ::testing::WithParamInterface<DemoCase> {};

TEST_P(SimDemoStatementTest, answersLikeTheServer) {
    const auto outcome = client.execute(QString::fromUtf8(GetParam().statement));
    EXPECT_EQ(outcome.succeeded, GetParam().succeeded);
    const QStringList texts = outcome.texts();
    ASSERT_FALSE(texts.isEmpty());
    if (GetParam().shown) {
        EXPECT_TRUE(texts.contains(QString::fromUtf8(GetParam().shown))) << texts.join(u'|').toStdString();
    }
    EXPECT_TRUE(texts.back().startsWith(QString::fromUtf8(GetParam().lastStart)))
        << texts.back().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Statements, SimDemoStatementTest,
    ::testing::Values(
        DemoCase{"backupStreamsProgressToItsEnd",
                 "BACKUP DATABASE Billing TO DISK = 'p:\\backup\\Billing.BAK'   WITH FORMAT", true,
                 "Processed 1232 pages for database 'Billing', file 'Billing' on file 1.",
                 "BACKUP DATABASE successfully processed"},
        DemoCase{"backupOfTheGridHeaderRowIsRejected",
                 "BACKUP DATABASE name TO DISK = 'p:\\backup\\name.BAK'   WITH FORMAT", false,
                 "Database 'name' does not exist. Make sure that the name is entered correctly.",
                 "BACKUP DATABASE is terminating abnormally."},
        DemoCase{
            "restoreDatabase",
            "RESTORE DATABASE  Billing FROM DISK = 'p:\\backup\\MIR\\Billing.bak' With    MOVE  'Billing' TO "
            "'E:\\db\\Billing.mdf',  MOVE  'Billing_log' TO 'L:\\LDF\\Billing_log.ldf',  NORECOVERY   ",
            true, nullptr, "RESTORE DATABASE successfully processed"},
        DemoCase{
            "restoreLog",
            "RESTORE LOG  Billing FROM DISK = 'p:\\backup\\MIR\\Billing_log.bak' With   MOVE  'Billing' TO "
            "'E:\\db\\Billing.mdf',  NORECOVERY  ",
            true, nullptr, "RESTORE LOG successfully processed"}),
    qormin::test::RowName());

} // namespace
} // namespace qormin::test
