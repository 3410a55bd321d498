#include "db/ScriptSplitter.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

struct SplitCase {
    const char* name;
    const char* script;
    std::vector<const char*> steps; // a leading '!' marks a step that is run without being logged
    bool endedAtEmptyBatch;
    int literalSemicolonSteps = 0; // bit i: a ";" removed from step i stood inside a literal
};

class ScriptSplitterTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(ScriptSplitterTest, splitsAsExecuteScriptAlwaysHas) {
    const auto& c = GetParam();
    const auto split = qormin::db::splitScript(QString::fromUtf8(c.script));
    ASSERT_EQ(split.steps.size(), c.steps.size());
    for (size_t index = 0; index < c.steps.size(); ++index) {
        const QString expected = QString::fromUtf8(c.steps[index]);
        const bool logged = !expected.startsWith(u'!');
        EXPECT_EQ(split.steps[index].logged, logged) << "step " << index;
        EXPECT_EQ(split.steps[index].text, logged ? expected : expected.mid(1)) << "step " << index;
    }
    EXPECT_EQ(split.endedAtEmptyBatch, c.endedAtEmptyBatch);
    for (size_t index = 0; index < split.steps.size(); ++index) {
        EXPECT_EQ(split.steps[index].literalSemicolonRemoved, ((c.literalSemicolonSteps >> index) & 1) == 1)
            << "step " << index;
    }
}

const SplitCase splitCases[] = {
    // Every batch loses its last character, the final one too, and every semicolon.
    {"semicolonsGoAndEveryBatchLosesItsLastCharacter", "A;\r\nGO\r\nBC", {"A\r", "B"}, false},
    {"scriptWithoutGoIsOneBatchMinusItsLastCharacter", "SELECT 1\r\nSELECT 2", {"SELECT 1\r\nSELECT"}, false},
    {"twoGoLinesInARowEndTheScript", "A\r\nGO\r\nGO\r\nB\r\nGO\r\n", {"A\r"}, true},
    {"aLineEndingInLogoSplitsThere", "SELECT 'LOGO\r\nX'\r\nGO\r\n", {"SELECT 'L", "X'\r"}, false},
    {"goIsFoundInAnyCase", "a\r\ngo\r\nb\r\nGo\r\nc\r\n", {"a\r", "b\r", "c\r"}, false},
    {"leadingLineBreakBecomesBlanksAndIsTrimmed",
     "X\r\nGO\r\n\r\n  SELECT 1 \r\nGO\r\n",
     {"X\r", "SELECT 1 \r"},
     false},
    // The CR loop runs before the LF loop, so only the first line break goes.
    {"onlyTheFirstLeadingLineBreakIsRemoved",
     "X\r\nGO\r\n\r\n\r\n  SELECT 1 \r\nGO\r\n",
     {"X\r", "\r\n  SELECT 1 \r"},
     false},
    {"aBatchStartingWithDashLosesItsFirstLineAndIsNotLogged",
     "-- note\r\nSELECT 1\r\nGO\r\n",
     {"!SELECT 1\r"},
     false},
    {"aDashBatchOfOneLineRunsNothing",
     "-- only a comment\r\nGO\r\nSELECT 2\r\nGO\r\n",
     {"!", "SELECT 2\r"},
     false},
    {"aBatchOfOnlyALineBreakIsLoggedEmpty", "\r\nGO\r\nB\r\n", {"", "B\r"}, false},
    {"twoLineBreaksLeaveACarriageReturn", "\r\n\r\nGO\r\nB\r\n", {"\r", "B\r"}, false},
    {"blanksOnlyBatchEndsTheScript", "   GO\r\nSELECT 1", {}, true},
    {"emptyScriptRunsNothing", "", {}, false},
    {"semicolonsInsideLiteralsGoToo", "PRINT 'a;b';\r\nGO\r\n", {"PRINT 'ab'\r"}, false, 1},
    {"aDoubledQuoteStaysInsideTheLiteral",
     "A\r\nGO\r\nPRINT 'O''Brien;x'\r\nGO\r\n",
     {"A\r", "PRINT 'O''Brienx'\r"},
     false,
     2},
    {"aSemicolonAfterTheLiteralIsNoWarning", "PRINT 'a';\r\nGO\r\n", {"PRINT 'a'\r"}, false},
    {"quotesInCommentsOpenNoLiteral",
     "SELECT 1 -- it's;\r\n/* don't */ SELECT 2;\r\nGO\r\n",
     {"SELECT 1 -- it's\r\n/* don't */ SELECT 2\r"},
     false},
    {"tabsAreNotBlanks", "\tSELECT 1\t\r\nGO\r\n", {"\tSELECT 1\t\r"}, false},
};

INSTANTIATE_TEST_SUITE_P(Scripts, ScriptSplitterTest, ::testing::ValuesIn(splitCases),
                         qormin::test::RowName());

} // namespace
