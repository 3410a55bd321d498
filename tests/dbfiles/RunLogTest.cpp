#include "dbfiles/RunLog.h"
#include "QStringPrinter.h"
#include "RowName.h"
#include "dbfiles/ProgressText.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::dbfiles::ProgressText;
using qormin::dbfiles::RunLog;
using qormin::dbfiles::RunLogLine;

struct FieldCase {
    const char* text;
    const char* written;
};
std::string_view label(const FieldCase& row) {
    return row.text;
}

class CsvFieldTest : public testing::TestWithParam<FieldCase> {};

TEST_P(CsvFieldTest, isQuotedOnlyWhenASpreadsheetWouldMisreadIt) {
    EXPECT_EQ(RunLog::csvField(QString::fromUtf8(GetParam().text)), QString::fromUtf8(GetParam().written));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CsvFieldTest,
    testing::Values(FieldCase{"Billing", "Billing"}, FieldCase{"", ""},
                    FieldCase{"p:\\backup\\MIR\\Billing.BAK", "p:\\backup\\MIR\\Billing.BAK"},
                    FieldCase{"a, b", "\"a, b\""}, FieldCase{"say \"no\"", "\"say \"\"no\"\"\""},
                    FieldCase{"one\r\ntwo", "\"one\r\ntwo\""}, FieldCase{" padded", "\" padded\""}),
    qormin::test::IndexedRowName());

TEST(RunLogTest, headerIsWrittenOnceAndEveryLineEndsWithCrLf) {
    QTemporaryDir folder;
    const QString path = folder.filePath(RunLog::fileName());
    const QDateTime start(QDate(2026, 3, 1), QTime(1, 2, 3));
    RunLogLine line{QStringLiteral("backup"),
                    QStringLiteral("Billing"),
                    {QStringLiteral("a.BAK"), QStringLiteral("b.BAK")},
                    start,
                    start.addMSecs(61240),
                    QStringLiteral("failed"),
                    QStringLiteral("Disk full, sorry")};
    QString error;
    ASSERT_TRUE(RunLog::append(path, line, error)) << error.toStdString();
    line.result = QStringLiteral("OK");
    line.error.clear();
    ASSERT_TRUE(RunLog::append(path, line, error));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(
        QString::fromUtf8(file.readAll()),
        QStringLiteral("start,end,duration_s,operation,database,file,result,error\r\n"
                       "2026-03-01 01:02:03,2026-03-01 01:03:04,61.2,backup,Billing,a.BAK; b.BAK,failed,"
                       "\"Disk full, sorry\"\r\n"
                       "2026-03-01 01:02:03,2026-03-01 01:03:04,61.2,backup,Billing,a.BAK; b.BAK,OK,\r\n"));
}

TEST(RunLogTest, unwritableFolderIsReportedNotThrown) {
    QString error;
    EXPECT_FALSE(RunLog::append(QStringLiteral("/nonexistent-folder/x/runs.csv"), RunLogLine{}, error));
    EXPECT_FALSE(error.isEmpty());
}

struct ProgressCase {
    double percent;
    qint64 millisecondsLeft;
    const char* shown;
};
std::string_view label(const ProgressCase& row) {
    return row.shown;
}

class ProgressTextTest : public testing::TestWithParam<ProgressCase> {};

TEST_P(ProgressTextTest, showsWholePercentAndRoundedMinutes) {
    EXPECT_EQ(ProgressText::describe(QStringLiteral("Backup Billing"), GetParam().percent,
                                     GetParam().millisecondsLeft),
              QString::fromUtf8(GetParam().shown));
}

INSTANTIATE_TEST_SUITE_P(
    Readings, ProgressTextTest,
    testing::Values(ProgressCase{37.9, 95000, "Backup Billing — 37%, about 2 min left"},
                    ProgressCase{99.99, 89999, "Backup Billing — 99%, about 1 min left"},
                    ProgressCase{12.5, 59999, "Backup Billing — 12%, less than a minute left"},
                    ProgressCase{0, 0, "Backup Billing — 0%"}, ProgressCase{100, 0, "Backup Billing — 100%"},
                    ProgressCase{-3, -1, "Backup Billing — 0%"}),
    qormin::test::IndexedRowName());

} // namespace
