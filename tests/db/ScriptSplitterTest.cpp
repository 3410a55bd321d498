#include "db/ScriptSplitter.h"

#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using qormin::db::splitScript;

struct Step {
    bool logged;
    const char* text;
};

struct SplitCase {
    const char* name;
    const char* script;
    std::vector<Step> steps;
    bool endedAtEmptyBatch;
};

class ScriptSplitterTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(ScriptSplitterTest, splitsAsExecuteScriptAlwaysHas) {
    const auto& c = GetParam();
    const auto split = splitScript(QString::fromUtf8(c.script));
    ASSERT_EQ(split.steps.size(), c.steps.size());
    for (size_t index = 0; index < c.steps.size(); ++index) {
        EXPECT_EQ(split.steps[index].logged, c.steps[index].logged) << "step " << index;
        EXPECT_EQ(split.steps[index].text, QString::fromUtf8(c.steps[index].text)) << "step " << index;
    }
    EXPECT_EQ(split.endedAtEmptyBatch, c.endedAtEmptyBatch);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ScriptSplitterTest,
    ::testing::Values(
        // Every batch loses its last character, the final one too, and every semicolon.
        SplitCase{"semicolonsGoAndEveryBatchLosesItsLastCharacter",
                  "A;\r\nGO\r\nBC",
                  {{true, "A\r"}, {true, "B"}},
                  false},
        SplitCase{"scriptWithoutGoIsOneBatchMinusItsLastCharacter",
                  "SELECT 1\r\nSELECT 2",
                  {{true, "SELECT 1\r\nSELECT"}},
                  false},
        SplitCase{"twoGoLinesInARowEndTheScript", "A\r\nGO\r\nGO\r\nB\r\nGO\r\n", {{true, "A\r"}}, true},
        SplitCase{"aLineEndingInLogoSplitsThere",
                  "SELECT 'LOGO\r\nX'\r\nGO\r\n",
                  {{true, "SELECT 'L"}, {true, "X'\r"}},
                  false},
        SplitCase{"goIsFoundInAnyCase",
                  "a\r\ngo\r\nb\r\nGo\r\nc\r\n",
                  {{true, "a\r"}, {true, "b\r"}, {true, "c\r"}},
                  false},
        SplitCase{"leadingLineBreakBecomesBlanksAndIsTrimmed",
                  "X\r\nGO\r\n\r\n  SELECT 1 \r\nGO\r\n",
                  {{true, "X\r"}, {true, "SELECT 1 \r"}},
                  false},
        // The CR loop runs before the LF loop, so only the first line break goes.
        SplitCase{"onlyTheFirstLeadingLineBreakIsRemoved",
                  "X\r\nGO\r\n\r\n\r\n  SELECT 1 \r\nGO\r\n",
                  {{true, "X\r"}, {true, "\r\n  SELECT 1 \r"}},
                  false},
        SplitCase{"aBatchStartingWithDashLosesItsFirstLineAndIsNotLogged",
                  "-- note\r\nSELECT 1\r\nGO\r\n",
                  {{false, "SELECT 1\r"}},
                  false},
        SplitCase{"aDashBatchOfOneLineRunsNothing",
                  "-- only a comment\r\nGO\r\nSELECT 2\r\nGO\r\n",
                  {{false, ""}, {true, "SELECT 2\r"}},
                  false},
        SplitCase{
            "aBatchOfOnlyALineBreakIsLoggedEmpty", "\r\nGO\r\nB\r\n", {{true, ""}, {true, "B\r"}}, false},
        SplitCase{
            "twoLineBreaksLeaveACarriageReturn", "\r\n\r\nGO\r\nB\r\n", {{true, "\r"}, {true, "B\r"}}, false},
        SplitCase{"blanksOnlyBatchEndsTheScript", "   GO\r\nSELECT 1", {}, true},
        SplitCase{"emptyScriptRunsNothing", "", {}, false},
        SplitCase{"semicolonsInsideLiteralsGoToo", "PRINT 'a;b';\r\nGO\r\n", {{true, "PRINT 'ab'\r"}}, false},
        SplitCase{"tabsAreNotBlanks", "\tSELECT 1\t\r\nGO\r\n", {{true, "\tSELECT 1\t\r"}}, false}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

} // namespace
