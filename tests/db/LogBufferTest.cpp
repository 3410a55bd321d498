#include "db/LogBuffer.h"
#include "db/ServerMessageLog.h"

#include "QStringPrinter.h"
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

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
    QString expected;
    for (const auto& [operation, line] : GetParam().operations) {
        const QString text = QString::fromUtf8(line);
        switch (operation) {
        case 'p':
            buffer.prepend(text);
            expected = text + QStringLiteral("\r\n") + expected;
            break;
        case 'a':
            buffer.append(text);
            expected = expected + QStringLiteral("\r\n") + text;
            break;
        case 's':
            buffer.setText(text);
            expected = text;
            break;
        default:
            buffer.clear();
            expected.clear();
        }
    }
    EXPECT_EQ(buffer.text(), expected);
    EXPECT_EQ(buffer.text(), QString::fromUtf8(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LogBufferTest,
    ::testing::Values(LogCase{"newestOnTop",
                              {{'p', "Running SQL.."}, {'p', "SELECT 1"}, {'p', "Done"}},
                              "Done\r\nSELECT 1\r\nRunning SQL..\r\n"},
                      LogCase{"atEndStartsWithALineBreakWhenEmpty", {{'a', "x"}, {'a', "y"}}, "\r\nx\r\ny"},
                      LogCase{"mixedEnds", {{'p', "b"}, {'a', "c"}, {'p', "a"}}, "a\r\nb\r\n\r\nc"},
                      LogCase{"emptyLinesCount", {{'p', ""}, {'p', ""}}, "\r\n\r\n"},
                      LogCase{"setTextThenLinesAroundIt",
                              {{'s', "typed"}, {'p', "top"}, {'a', "end"}},
                              "top\r\ntyped\r\nend"},
                      LogCase{"clearStartsOver", {{'p', "old"}, {'c', ""}, {'p', "new"}}, "new\r\n"}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST(LogBufferSignalsTest, reportEachLineOnceForIncrementalViews) {
    LogBuffer buffer;
    QSignalSpy prepended(&buffer, &LogBuffer::prepended);
    QSignalSpy appended(&buffer, &LogBuffer::appended);
    QSignalSpy cleared(&buffer, &LogBuffer::cleared);
    buffer.prepend(QStringLiteral("a"));
    buffer.append(QStringLiteral("b"));
    buffer.clear();
    ASSERT_EQ(prepended.count(), 1);
    EXPECT_EQ(prepended.at(0).at(0).toString(), QStringLiteral("a"));
    ASSERT_EQ(appended.count(), 1);
    EXPECT_EQ(appended.at(0).at(0).toString(), QStringLiteral("b"));
    EXPECT_EQ(cleared.count(), 1);
    EXPECT_TRUE(buffer.isEmpty());
}

TEST(ServerMessageLogTest, formatsErrorsWithTheirHeadingAndInfoBare) {
    qormin::db::ServerMessage info;
    info.text = QStringLiteral("10 percent processed.");
    info.number = 3211;
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
    ASSERT_EQ(log.entries().size(), 2U);
    EXPECT_EQ(log.entries()[1].side, 1);
    error.procedure = QStringLiteral("usp_x");
    EXPECT_EQ(
        qormin::db::ServerMessageLog::format(error),
        QStringLiteral("Msg 208, Level 16, State 1, Procedure usp_x, Line 1\r\nInvalid object name 'x'."));
}

} // namespace
