#include "app/batch/BatchCommand.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::app::BatchCommand;
using qormin::app::parseBatchLine;
using Kind = BatchCommand::Kind;

struct LineCase {
    const char* name;
    const char* line;
    Kind kind;
    const char* controlName;
    const char* value;
    int row;
    int column; // -1: none
};

class BatchLineTest : public testing::TestWithParam<LineCase> {};

TEST_P(BatchLineTest, parsesCommand) {
    const LineCase& c = GetParam();
    const auto result = parseBatchLine(QString::fromUtf8(c.line));
    ASSERT_TRUE(result.command.has_value()) << result.error.toStdString();
    EXPECT_EQ(result.command->kind, c.kind);
    EXPECT_EQ(result.command->name, QString::fromUtf8(c.controlName));
    EXPECT_EQ(result.command->value.toStdString(), std::string(c.value));
    EXPECT_EQ(result.command->row, c.row);
    EXPECT_EQ(result.command->column.value_or(-1), c.column);
}

// Commands the window tests use all the time (click, select, dblclick, page, open, print) are
// not repeated here.
const LineCase lineCases[] = {
    {"emptyLine", "", Kind::None, "", "", 0, -1},
    {"blankLine", "   \r", Kind::None, "", "", 0, -1},
    {"comment", "# nightly backup", Kind::None, "", "", 0, -1},
    {"setTakesRestOfLine", "set txtDB Patient Data  ", Kind::Set, "txtDB", "Patient Data  ", 0, -1},
    {"setKeepsLeadingBlanksOfValue", "set txtDB   x", Kind::Set, "txtDB", "  x", 0, -1},
    {"setEmptyValue", "set txtDB ", Kind::Set, "txtDB", "", 0, -1},
    {"setWithoutValue", "set txtDB", Kind::Set, "txtDB", "", 0, -1},
    {"setUnescapes", "set txtLog a\\r\\nb\\tc\\\\d", Kind::Set, "txtLog", "a\r\nb\tc\\d", 0, -1},
    {"setCrlfLineEnding", "set txtDB Billing\r", Kind::Set, "txtDB", "Billing", 0, -1},
    {"commandWordAnyCase", "CLICK cmdRefreshDB(0)", Kind::Click, "cmdRefreshDB(0)", "", 0, -1},
    {"extraBlanksBetweenWords", "  click   cmdConnect(0)  ", Kind::Click, "cmdConnect(0)", "", 0, -1},
    {"selectHeaderRowAndColumn", "select Grid2 0 2", Kind::Select, "Grid2", "", 0, 2},
    {"answerLowerCased", "answer YES", Kind::Answer, "", "yes", 0, -1},
    {"wait", "wait 250", Kind::Wait, "", "", 250, -1},
    {"answerFileTakesRestOfLine", "answer file /var/lib/qormin/night run.sql", Kind::AnswerFile, "",
     "/var/lib/qormin/night run.sql", 0, -1},
    {"answerFileUnescapes", "Answer FILE p:\\\\scripts\\\\withheld.sql", Kind::AnswerFile, "",
     "p:\\scripts\\withheld.sql", 0, -1},
};

INSTANTIATE_TEST_SUITE_P(Lines, BatchLineTest, testing::ValuesIn(lineCases), qormin::test::RowName());

struct MalformedCase {
    const char* name;
    const char* line;
    const char* errorContains;
};

class MalformedBatchLineTest : public testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedBatchLineTest, isRefusedWithReason) {
    const auto result = parseBatchLine(QString::fromUtf8(GetParam().line));
    EXPECT_FALSE(result.command.has_value());
    EXPECT_TRUE(result.error.contains(QString::fromUtf8(GetParam().errorContains)))
        << result.error.toStdString();
}

const MalformedCase malformedCases[] = {
    {"unknownCommand", "press cmdConnect(0)", "unknown command \"press\""},
    {"setWithoutName", "set", "control name"},
    {"singleBackslashPath", "set txtBackupDrive p:\\backup\\", "unknown escape \\b"},
    {"trailingSingleBackslash", "set txtPath(2) x\\", "single \\"},
    {"clickWithoutName", "click", "one name"},
    {"selectWithoutRow", "select GridDB(0)", "NAME ROW"},
    {"selectNegativeRow", "select GridDB(0) -1", "ROW must be"},
    {"selectBadColumn", "select Grid2 1 x", "COL must be"},
    {"selectTooMany", "select Grid2 1 2 3", "NAME ROW"},
    {"pageText", "page Options", "page index"},
    {"pageMissing", "page", "one number"},
    {"waitNegative", "wait -5", "milliseconds"},
    {"answerMaybe", "answer maybe", "yes, no, ok"},
    {"answerFileWithoutPath", "answer file ", "needs a path"},
    {"answerFileSingleBackslash", "answer file p:\\scripts\\x.sql", "unknown escape"},
};

INSTANTIATE_TEST_SUITE_P(Lines, MalformedBatchLineTest, testing::ValuesIn(malformedCases),
                         qormin::test::RowName());

struct EscapeCase {
    const char* name;
    const char* text;
    const char* escaped;
};

class EscapedValueTest : public testing::TestWithParam<EscapeCase> {};

// What print shows of a multi-line text box is one line that set takes back unchanged.
TEST_P(EscapedValueTest, isOneLineThatSetReadsBack) {
    const EscapeCase& c = GetParam();
    const QString escaped = qormin::app::escapedBatchValue(QString::fromLatin1(c.text));
    EXPECT_EQ(escaped, QString::fromLatin1(c.escaped));
    const auto parsed = parseBatchLine(QStringLiteral("set txtFileVal ") + escaped);
    ASSERT_TRUE(parsed.command.has_value()) << parsed.error.toStdString();
    EXPECT_EQ(parsed.command->value, QString::fromLatin1(c.text));
}

const EscapeCase escapeCases[] = {
    {"crLfLines", "a..b\r\nc..d\r\n", "a..b\\r\\nc..d\\r\\n"},
    {"lineFeedAndTab", "x\ty\n", "x\\ty\\n"},
    {"backslashes", "p:\\backup\\MIR\\", "p:\\\\backup\\\\MIR\\\\"},
    {"plain", "Billing..tbCashPatient", "Billing..tbCashPatient"},
};

INSTANTIATE_TEST_SUITE_P(Values, EscapedValueTest, testing::ValuesIn(escapeCases), qormin::test::RowName());

} // namespace
