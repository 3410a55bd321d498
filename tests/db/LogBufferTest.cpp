#include "db/LogBuffer.h"
#include "db/ServerMessageLog.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::LogBuffer;

// Each operation: 'p' prepend, 'a' append, 's' set text, 'c' clear.
struct LogCase {
    const char* name;
    std::vector<std::pair<char, const char*>> operations;
    const char* text;
};

class LogBufferTest : public ::testing::TestWithParam<LogCase> {};

TEST_P(LogBufferTest, keepsExactlyTheTextOfConcatenation) {
    LogBuffer buffer;
    for (const auto& [operation, line] : GetParam().operations) {
        const QString text = QString::fromUtf8(line);
        if (operation == 'p') {
            buffer.prepend(text);
        } else if (operation == 'a') {
            buffer.append(text);
        } else if (operation == 's') {
            buffer.setText(text);
        } else {
            buffer.clear();
        }
    }
    EXPECT_EQ(buffer.text(), QString::fromUtf8(GetParam().text));
}

const LogCase logCases[] = {
    {"newestOnTop",
     {{'p', "Running SQL.."}, {'p', "SELECT 1"}, {'p', "Done"}},
     "Done\r\nSELECT 1\r\nRunning SQL..\r\n"},
    {"atEndStartsWithALineBreakWhenEmpty", {{'a', "x"}, {'a', "y"}}, "\r\nx\r\ny"},
    {"mixedEnds", {{'p', "b"}, {'a', "c"}, {'p', "a"}}, "a\r\nb\r\n\r\nc"},
    {"emptyLinesCount", {{'p', ""}, {'p', ""}}, "\r\n\r\n"},
    {"setTextThenLinesAroundIt", {{'s', "typed"}, {'p', "top"}, {'a', "end"}}, "top\r\ntyped\r\nend"},
    {"clearStartsOver", {{'p', "old"}, {'c', ""}, {'p', "new"}}, "new\r\n"},
};

INSTANTIATE_TEST_SUITE_P(Cases, LogBufferTest, ::testing::ValuesIn(logCases), qormin::test::RowName());

TEST(ServerMessageLogTest, keepsTheNewestMessagesOnly) {
    qormin::db::ServerMessageLog log;
    const auto total = qormin::db::ServerMessageLog::entryLimit + 5;
    for (std::size_t index = 1; index <= total; ++index) {
        qormin::db::ServerMessage message;
        message.text = QString::number(index);
        log.add(0, message);
    }
    ASSERT_EQ(log.entries().size(), qormin::db::ServerMessageLog::entryLimit);
    EXPECT_EQ(log.entries().front().message.text, QStringLiteral("6"));
    EXPECT_EQ(log.entries().back().message.text, QString::number(total));
}

TEST(ServerMessageLogTest, formatsErrorsWithTheirHeadingAndInfoBare) {
    qormin::db::ServerMessage info;
    info.text = QStringLiteral("10 percent processed.");
    info.severity = 10;
    qormin::db::ServerMessage error;
    error.number = 208;
    error.severity = 16;
    error.state = 1;
    error.line = 1;
    error.text = QStringLiteral("Invalid object name 'x'.");
    qormin::db::ServerMessageLog log;
    log.add(0, info);
    log.add(1, error);
    EXPECT_EQ(log.text(), QStringLiteral("10 percent processed.\r\nMsg 208, Level 16, State 1, Line 1\r\n"
                                         "Invalid object name 'x'."));
    error.procedure = QStringLiteral("usp_x");
    EXPECT_EQ(
        qormin::db::ServerMessageLog::format(error),
        QStringLiteral("Msg 208, Level 16, State 1, Procedure usp_x, Line 1\r\nInvalid object name 'x'."));
}

} // namespace
