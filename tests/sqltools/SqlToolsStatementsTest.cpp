#include "QStringPrinter.h"

#include "sqltools/SpReplaceStatements.h"
#include "sqltools/SpeedTestStatements.h"
#include "sqltools/TableSizeStatements.h"

#include <gtest/gtest.h>

namespace {

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

INSTANTIATE_TEST_SUITE_P(SpReplace, RewriteTest, ::testing::ValuesIn(rewriteCases),
                         [](const auto& testInfo) { return std::string(testInfo.param.name); });

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

TEST(TableSizeStatementsTest, defaultTextBeginsEmptyAndKeepsItsBlanks) {
    const QStringList lines = TableSizes::defaultTableSizesText().split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), 31);
    EXPECT_EQ(lines.first(), QString());
    EXPECT_EQ(lines.last(), QString()); // the text ends with a line break
    EXPECT_EQ(lines[1], QStringLiteral("SELECT "));
    EXPECT_EQ(lines[5], QStringLiteral("    SUM(a.total_pages) * 8 AS TotalSpaceKB, "));
    EXPECT_EQ(lines[14], QStringLiteral("INNER JOIN      "));
    EXPECT_EQ(lines[29], QStringLiteral("   TotalSpaceMB desc"));
}

TEST(TableSizeStatementsTest, bigTablesQueryIsOneLine) {
    const QString query = TableSizes::bigTablesQuery();
    EXPECT_FALSE(query.contains(u'\r') || query.contains(u'\n'));
    EXPECT_TRUE(query.startsWith(
        QStringLiteral(" SELECT   t.NAME AS TableName,    s.Name AS SchemaName,    p.rows AS "
                       "RowCounts,    CAST(ROUND(((SUM(a.total_pages) * 8) / 1024.00), 2)")));
    EXPECT_TRUE(query.contains(
        QStringLiteral(" AS UnusedSpaceMB FROM     sys.tables t INNER JOIN          sys.indexes")));
    EXPECT_TRUE(query.endsWith(QStringLiteral("    t.Name, s.Name, p.Rows ORDER BY     TotalSpaceMB desc")));
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
