#include "app/MainWindowStatements.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

namespace Statements = qormin::app::MainWindowStatements;

struct StatementCase {
    const char* name;
    QString built;
    const char* expected;
};

class MainWindowStatementsTest : public testing::TestWithParam<StatementCase> {};

TEST_P(MainWindowStatementsTest, buildsTheExactText) {
    EXPECT_EQ(GetParam().built.toStdString(), std::string(GetParam().expected));
}

const StatementCase statementCases[] = {
    {"databaseListKeepsTrailingBlank", Statements::databaseList(),
     "SELECT name FROM sys.databases where database_id >= 5 order by name "},
    {"useDatabase", Statements::useDatabase(QStringLiteral("Patient_Data")), "use Patient_Data"},
    {"useDatabaseTakesTextAsItStands", Statements::useDatabase(QStringLiteral("[My DB] ")), "use [My DB] "},
    {"tableSizes", Statements::tableSizes(),
     " SELECT     t.NAME AS TableName,    s.Name AS SchemaName,    p.rows AS RowCounts,    "
     "SUM(a.total_pages) * 8 AS "
     "TotalSpaceKB,     SUM(a.used_pages) * 8 AS UsedSpaceKB,     (SUM(a.total_pages) - SUM(a.used_pages)) * "
     "8 AS "
     "UnusedSpaceKB FROM     sys.tables t INNER JOIN sys.indexes i ON t.OBJECT_ID = i.object_id INNER JOIN "
     "sys.partitions p ON i.object_id = p.OBJECT_ID AND i.index_id = p.index_id INNER JOIN     "
     "sys.allocation_units "
     "a ON p.partition_id = a.container_id LEFT OUTER JOIN     sys.schemas s ON t.schema_id = s.schema_id "
     "WHERE     "
     "t.NAME NOT LIKE 'dt%'     AND t.is_ms_shipped = 0    AND i.OBJECT_ID > 255  GROUP BY     t.Name, "
     "s.Name, p.Rows ORDER BY     TotalSpaceKB desc"},
    {"tableRowCount", Statements::tableRowCount(QStringLiteral("tbPatient")),
     "SELECT CONVERT(bigint, rows) as RCNT from sysindexes WHERE id = OBJECT_ID('tbPatient') AND indid < 2"},
};

INSTANTIATE_TEST_SUITE_P(Statements, MainWindowStatementsTest, testing::ValuesIn(statementCases),
                         qormin::test::RowName());

} // namespace
