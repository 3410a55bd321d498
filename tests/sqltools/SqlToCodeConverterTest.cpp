#include "QStringPrinter.h"

#include "RowName.h"
#include "sqltools/SqlToCodeConverter.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

namespace Converter = qormin::sqltools::SqlToCodeConverter;

struct MakeCodeCase {
    const char* name;
    const char* sql;
    const char* code;
};

class MakeCodeTest : public ::testing::TestWithParam<MakeCodeCase> {};

TEST_P(MakeCodeTest, buildsTheLinesWithTheKeywordsInCapitals) {
    EXPECT_EQ(Converter::makeCode(QString::fromLatin1(GetParam().sql)), QString::fromLatin1(GetParam().code));
}

const MakeCodeCase makeCodeCases[] = {
    {"empty", "", " SQLStr = \" \""},
    {"oneLine", "select a from b", " SQLStr = \" SELECT a FROM b\""},
    {"keywordAtLineEndStays", "select a from", " SQLStr = \" SELECT a from\""},
    {"linesJoinedBySeparator", "select a\r\nfrom b where x = 1 and y = 2",
     " SQLStr = \" SELECT a\"     \r\n SQLStr = SQLStr &  \" FROM b WHERE x = 1 AND y = 2\""},
    {"bracketAndCommaForms", "select isnull(a,0),max(b) from t group by c",
     " SQLStr = \" SELECT ISNULL(a,0),MAX(b) FROM t GROUP BY c\""},
    {"multiWordKeywords", "select * from a left outer join b on a.x=b.x inner join c on 1=1",
     " SQLStr = \" SELECT * FROM a LEFT OUTER JOIN b ON a.x=b.x INNER JOIN c ON 1=1\""},
    {"insideWordsAndAfterBracketStay", "select fromage, convert(varchar(10), d) from t",
     " SQLStr = \" SELECT fromage, CONVERT(varchar(10), d) FROM t\""},
    {"tabIsNoSeparator", "select\ta from b", " SQLStr = \" select\ta FROM b\""},
    {"caseEnd", "case when a then b else c end as x", " SQLStr = \" case when a THEN b ELSE c END as x\""},
    {"orVarcharGetdateYear", "select year(d),getdate() from t where a = 1 or b = cast(c as varchar(4))",
     " SQLStr = \" SELECT YEAR(d),GETDATE() FROM t WHERE a = 1 OR b = cast(c as VARCHAR(4))\""},
};

INSTANTIATE_TEST_SUITE_P(Converter, MakeCodeTest, ::testing::ValuesIn(makeCodeCases),
                         qormin::test::RowName());

TEST(ClearCodeTest, removesQuotesAndAssignmentsKeepingBreaksBlanksAndCapitals) {
    const QString code = Converter::makeCode(QStringLiteral("select a\r\nfrom b"));
    EXPECT_EQ(Converter::clearCode(code), QStringLiteral("  SELECT a     \r\n  FROM b"));
    EXPECT_EQ(Converter::clearCode(QStringLiteral("sqlstr = sqlstr &  \"x\" & _\r\nSQLSTR = \"y\"")),
              QStringLiteral("x \r\ny"));
}

TEST(SameTextTest, comparesWithoutLetterCase) {
    EXPECT_TRUE(Converter::sameText(QStringLiteral("Select A"), QStringLiteral("sELECT a")));
    EXPECT_TRUE(Converter::sameText(QString(), QString()));
    EXPECT_FALSE(Converter::sameText(QStringLiteral("a"), QStringLiteral("a ")));
}

} // namespace
