#include "QStringPrinter.h"

#include "RowName.h"
#include "sqltools/SpReplaceStatements.h"
#include "sqltools/SpeedTestStatements.h"
#include "sqltools/TableSizeStatements.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

namespace SpReplace = qormin::sqltools::SpReplaceStatements;
namespace TableSizes = qormin::sqltools::TableSizeStatements;
namespace SpeedTest = qormin::sqltools::SpeedTestStatements;

TEST(SpReplaceStatementsTest, searchBatchIsOneLineWithTheSearchFourTimesQuoted) {
    const QString batch = SpReplace::searchBatch(QStringLiteral("O'Brien"));
    EXPECT_EQ(batch,
              QStringLiteral(
                  "       DECLARE @cmd                varchar(1000),            @search_string      "
                  "varchar(200)          CREATE TABLE Temp(        [Database_Name]     sysname,        "
                  "[Schema_Name]       sysname,        [Object_Name]       sysname,        [Object_Type]  "
                  "     nvarchar(60),        [definition]        text);          SET @cmd = 'INSERT INTO "
                  "Temp SELECT DISTINCT ''?'', s.name AS Schema_Name, o.name AS Object_Name, "
                  "o.type_desc,m.definition  FROM [?].sys.sql_modules m INNER JOIN [?].sys.objects o ON "
                  "m.object_id = o.object_id INNER JOIN [?].sys.schemas s ON o.schema_id = s.schema_id  "
                  "WHERE m.definition Like ''%O''''Brien%'' ';          EXEC sp_msforeachdb @cmd;      "));
}

struct RewriteCase {
    const char* name;
    const char* script;
    const char* search;
    const char* replacement;
    const char* expected;
};

class RewriteTest : public ::testing::TestWithParam<RewriteCase> {};

TEST_P(RewriteTest, altersProceduresThenReplacesTheSearchText) {
    const RewriteCase& c = GetParam();
    EXPECT_EQ(SpReplace::rewriteScript(QString::fromLatin1(c.script), QString::fromLatin1(c.search),
                                       QString::fromLatin1(c.replacement)),
              QString::fromLatin1(c.expected));
}

const RewriteCase rewriteCases[] = {
    {"oneBlank", "create procedure p AS x", "", "", "ALTER PROCEDURE p AS x"},
    {"twoBlanks", "CREATE  Procedure p", "", "", "ALTER PROCEDURE p"},
    {"otherFormsStay", "CREATE\tPROCEDURE a\r\nCREATE   PROCEDURE b\r\nCREATE\r\nPROCEDURE c", "", "",
     "CREATE\tPROCEDURE a\r\nCREATE   PROCEDURE b\r\nCREATE\r\nPROCEDURE c"},
    {"searchIgnoresCase", "WHERE ISNULL(a.RecordStatus,'') = 'X' or isnull(A.RECORDSTATUS,'') = 'Y'",
     "IsNull(A.RecordStatus,'') = '", "A.RecordStatus = '",
     "WHERE A.RecordStatus = 'X' or A.RecordStatus = 'Y'"},
    {"searchSeesTheAlteredText", "CREATE PROCEDURE p", "alter", "ALTER OR CREATE",
     "ALTER OR CREATE PROCEDURE p"},
};

INSTANTIATE_TEST_SUITE_P(SpReplace, RewriteTest, ::testing::ValuesIn(rewriteCases), qormin::test::RowName());

TEST(SpReplaceStatementsTest, templatesZeroToFourAndNothingPast) {
    const std::pair<QString, QString> expected[] = {
        {QStringLiteral("ltrim(rtrim(isnull(n.recordstatus,''))) <> 'R'"),
         QStringLiteral("n.recordstatus <> 'R'")},
        {QStringLiteral("AND ISNULL( B.OPDIDNum , '' ) = ''"),
         QStringLiteral("AND (B.OPDIDNum  = '' OR b.OPDIdNum IS NULL)")},
        {QStringLiteral("IsNull(Station.RecordStatus,'') = ''"), QStringLiteral("Station.RecordStatus = ''")},
        {QStringLiteral("not IsNull(A.RecordStatus,'') = 'X'"),
         QStringLiteral("(not A.RecordStatus = 'X' or  A.RecordStatus is null)")},
        {QStringLiteral("IsNull(A.RecordStatus,'') = '"), QStringLiteral("A.RecordStatus = '")},
    };
    for (int index = 0; index < 5; ++index)
        EXPECT_EQ(SpReplace::templatePair(index), expected[index]) << index;
    EXPECT_FALSE(SpReplace::templatePair(5));
    EXPECT_FALSE(SpReplace::templatePair(-1));
}

TEST(SpReplaceStatementsTest, saveStampHasNoColonOrSlash) {
    const QDateTime when(QDate(2024, 1, 31), QTime(10, 20));
    const QString stamp = SpReplace::saveStamp(when, QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_TRUE(stamp.startsWith(QStringLiteral("1-31-24 10-20"))) << stamp.toStdString();
    EXPECT_EQ(SpReplace::saveStamp(when, QLocale(QLocale::German, QLocale::Germany)),
              QStringLiteral("31.01.24 10-20"));
}

// Line by line as the tool has always had them: the default text begins with an empty line and
// ends with a line break; the big-tables pieces join into one line.
TEST(TableSizeStatementsTest, defaultTextAndBigTablesQueryKeepEveryBlank) {
    const char* const defaultLines[] = {
        "",
        "SELECT ",
        "    t.NAME AS TableName,",
        "    s.Name AS SchemaName,",
        "    p.rows AS RowCounts,",
        "    SUM(a.total_pages) * 8 AS TotalSpaceKB, ",
        "    CAST(ROUND(((SUM(a.total_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS TotalSpaceMB,",
        "    SUM(a.used_pages) * 8 AS UsedSpaceKB, ",
        "    CAST(ROUND(((SUM(a.used_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS UsedSpaceMB, ",
        "    (SUM(a.total_pages) - SUM(a.used_pages)) * 8 AS UnusedSpaceKB,",
        "    CAST(ROUND(((SUM(a.total_pages) - SUM(a.used_pages)) * 8) / 1024.00, 2) AS NUMERIC(36, 2)) ",
        "AS UnusedSpaceMB",
        "FROM ",
        "    sys.tables t",
        "INNER JOIN      ",
        "    sys.indexes i ON t.OBJECT_ID = i.object_id",
        "INNER JOIN ",
        "    sys.partitions p ON i.object_id = p.OBJECT_ID AND i.index_id = p.index_id",
        "INNER JOIN ",
        "    sys.allocation_units a ON p.partition_id = a.container_id",
        "LEFT OUTER JOIN ",
        "    sys.schemas s ON t.schema_id = s.schema_id",
        "WHERE ",
        "    t.NAME NOT LIKE 'dt%' ",
        "    AND t.is_ms_shipped = 0",
        "    AND i.OBJECT_ID > 255 ",
        "GROUP BY ",
        "    t.Name, s.Name, p.Rows",
        "ORDER BY ",
        "   TotalSpaceMB desc",
        ""};
    const char* const bigTablesPieces[] = {
        " SELECT   t.NAME AS TableName,",
        "    s.Name AS SchemaName,",
        "    p.rows AS RowCounts,",
        "    CAST(ROUND(((SUM(a.total_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS TotalSpaceMB,",
        "    CAST(ROUND(((SUM(a.used_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS UsedSpaceMB, ",
        ("    CAST(ROUND(((SUM(a.total_pages) - SUM(a.used_pages)) * 8) / 1024.00, 2) AS NUMERIC(36, 2)) AS "
         "UnusedSpaceMB"),
        " FROM ",
        "    sys.tables t",
        " INNER JOIN      ",
        "    sys.indexes i ON t.OBJECT_ID = i.object_id",
        " INNER JOIN ",
        "    sys.partitions p ON i.object_id = p.OBJECT_ID AND i.index_id = p.index_id",
        " INNER JOIN ",
        "    sys.allocation_units a ON p.partition_id = a.container_id",
        " LEFT OUTER JOIN ",
        "    sys.schemas s ON t.schema_id = s.schema_id",
        " WHERE ",
        "    t.NAME NOT LIKE 'dt%' ",
        "    AND t.is_ms_shipped = 0",
        "    AND i.OBJECT_ID > 255 ",
        " GROUP BY ",
        "    t.Name, s.Name, p.Rows",
        " ORDER BY ",
        "    TotalSpaceMB desc"};
    QStringList text;
    for (const char* line : defaultLines)
        text << QString::fromLatin1(line);
    EXPECT_EQ(TableSizes::defaultTableSizesText(), text.join(QStringLiteral("\r\n")));
    QString query;
    for (const char* piece : bigTablesPieces)
        query += QString::fromLatin1(piece);
    EXPECT_EQ(TableSizes::bigTablesQuery(), query);
}

TEST(TableSizeStatementsTest, logLineShowsRowsInThousands) {
    const auto line = [](const QVariant& rows) {
        return TableSizes::tableSizeLine(QStringLiteral("tbCash"), rows, QStringLiteral("0.50"));
    };
    EXPECT_EQ(line(500), QStringLiteral("tbCash     \t0.5\t     0.50"));
    EXPECT_EQ(line(qlonglong(1234567)), QStringLiteral("tbCash     \t1234.567\t     0.50"));
    EXPECT_EQ(line(1000), QStringLiteral("tbCash     \t1\t     0.50"));
    EXPECT_EQ(line(0), QStringLiteral("tbCash     \t0\t     0.50"));
}

TEST(SpeedTestStatementsTest, statementsOnTheScratchTable) {
    const QString db = QStringLiteral("Billing");
    EXPECT_EQ(SpeedTest::createTable(db),
              QStringLiteral("CREATE TABLE Billing..SpeedTest (DESC2 varchar(100),TransDate DateTime)"));
    EXPECT_EQ(SpeedTest::insertRow(db, 1, SpeedTest::firstDate()),
              QStringLiteral("insert into Billing..SpeedTest (DESC2,TransDate) VALUES ('1','19950909')"));
    EXPECT_EQ(SpeedTest::insertRow(db, 8000, SpeedTest::firstDate().addDays(7999)),
              QStringLiteral("insert into Billing..SpeedTest (DESC2,TransDate) VALUES ('8000','20170803')"));
    EXPECT_EQ(SpeedTest::deleteOneRow(db), QStringLiteral("delete top (1) from Billing..SpeedTest "));
    EXPECT_EQ(SpeedTest::readRows(db), QStringLiteral("select top 5000 * from Billing..SpeedTest"));
    EXPECT_EQ(
        SpeedTest::defaultConnection(QStringLiteral("10.0.0.5")),
        QStringLiteral("Provider=SQLOLEDB;Persist Security Info=True;Server=10.0.0.5;UID=sa;Database=MASTER;"
                       "Password=harbor@579"));
}

} // namespace
