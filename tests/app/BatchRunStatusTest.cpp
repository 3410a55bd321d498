#include "QStringPrinter.h"
#include "RowName.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace qormin::test {

namespace {

using qormin::test::PrintTo;

// The header row's "name" and the database "Broken" cannot be backed up; Billing reports progress.
const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "demo"}, "rules": [
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Patient_Data"]]}}},
    {"regex": "^BACKUP \\w+\\s+(name|Broken) ", "response": [
      {"error": {"number": 911, "text": "Database '{1}' does not exist. Make sure that the name is entered correctly."}},
      {"error": {"number": 3013, "text": "BACKUP DATABASE is terminating abnormally."}}]},
    {"prefix": "BACKUP DATABASE Billing ", "response": {"progress": {"every": 50, "pace": 1}}} ]
})json";

} // namespace

class BatchRunStatusTest : public testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_harness.storeConnection(0, m_server->address(), QStringLiteral("demo"));
        m_harness.load();
    }

    // The log lines without their time stamps; each must have one.
    static QStringList unstamped(const QString& log) {
        static const QRegularExpression stamp(
            QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} "));
        QStringList lines = log.split(u'\n', Qt::SkipEmptyParts);
        for (QString& line : lines) {
            EXPECT_TRUE(stamp.match(line).hasMatch()) << line.toStdString();
            line.remove(stamp);
        }
        return lines;
    }

    std::unique_ptr<SimTestServer> m_server;
    WindowHarness m_harness;
};

// /proc takes no new file from anyone, root included: a folder the trail cannot be written to.
// An audit that silently stops is worse than none: the run says so once and does not succeed.
TEST_F(BatchRunStatusTest, anAuditTrailThatCannotBeWrittenIsReportedOnceAndFailsTheRun) {
    const BatchResult result = m_harness.runBatch(
        QStringLiteral("set txtAuditFile /proc/qormin-audit.jsonl\nset txtDB Billing\nclick cmdBackup(0)\n"));
    EXPECT_EQ(result.exitCode, 1) << result.log.toStdString();
    EXPECT_EQ(result.log.count(QStringLiteral("errors: The audit trail could not be written")), 1)
        << result.log.toStdString();
    EXPECT_TRUE(unstamped(result.log)
                    .last()
                    .endsWith(QStringLiteral("connect failures 0, audit lines lost 2, exit status 1")))
        << unstamped(result.log).last().toStdString();
}

struct StatusCase {
    const char* name;
    const char* script;
    int exitCode;
    const char* counts; // the summary up to the elapsed time
    const char* rest;   // the summary after it
};

class BatchExitStatusTest : public BatchRunStatusTest, public testing::WithParamInterface<StatusCase> {};

TEST_P(BatchExitStatusTest, tellsTheSchedulerHowTheRunWent) {
    const StatusCase& c = GetParam();
    const BatchResult result = m_harness.runBatch(QString::fromUtf8(c.script));
    EXPECT_EQ(result.exitCode, c.exitCode) << result.log.toStdString();
    const QString summary = unstamped(result.log).last();
    EXPECT_TRUE(summary.startsWith(QStringLiteral("- summary: ") + QString::fromUtf8(c.counts)))
        << summary.toStdString();
    EXPECT_TRUE(summary.endsWith(QString::fromUtf8(c.rest))) << summary.toStdString();
}

const StatusCase statusCases[] = {
    {"headerRowRefusalsOnly", "set chkALL 1\nclick cmdBackup(0)\n", 0,
     "sent 6, failed 0, withheld by Script only 0,",
     "header-row refusals 2, connect failures 0, exit status 0"},
    {"aRealFailure", "set chkALL 1\nclick cmdBackup(0)\nset chkALL 0\nset txtDB Broken\nclick cmdBackup(0)\n",
     1, "sent 8, failed 2, withheld by Script only 0,",
     "header-row refusals 2, connect failures 0, exit status 1"},
    {"aSideCannotConnect", "set txtPW(0) wrong\nclick cmdConnect(0)\nset txtDB Billing\nclick cmdBackup(0)\n",
     3, "sent 2, failed 2, withheld by Script only 0,",
     "header-row refusals 0, connect failures 3, exit status 3"},
    // The bad line is found before the run: the backup is not even tried.
    {"badLineAfterAFailure", "set txtDB Broken\nclick cmdBackup(0)\nclick cmdNothing\n", 2,
     "sent 0, failed 0, withheld by Script only 0,", "exit status 2"},
};

INSTANTIATE_TEST_SUITE_P(Runs, BatchExitStatusTest, testing::ValuesIn(statusCases), qormin::test::RowName());

// Every log line and server message is on the output as it happens, with its side.
TEST_F(BatchRunStatusTest, logLinesAndServerMessagesReachTheOutputInOrder) {
    const BatchResult result = m_harness.runBatch(QStringLiteral("set txtDB Billing\nclick cmdBackup(0)\n"));
    const QStringList lines = unstamped(result.log);
    const QString backup = QStringLiteral(
        "left log: BACKUP DATABASE Billing TO DISK = 'p:\\backup\\MIR\\Billing.BAK'   WITH FORMAT");
    const QStringList expectedStart{QStringLiteral("left log: Running SQL.."),
                                    backup,
                                    QStringLiteral("left server: 50 percent processed."),
                                    QStringLiteral("left server: 100 percent processed."),
                                    QStringLiteral("left log: Done"),
                                    QStringLiteral("left log: Running SQL..")};
    EXPECT_EQ(lines.mid(0, expectedStart.size()), expectedStart);
}

TEST_F(BatchRunStatusTest, scriptOnlyRunSavesTheWithheldStatementsWhereTheBatchSays) {
    const QString path = m_harness.folder(QStringLiteral("out")) + QStringLiteral("/night.sql");
    const BatchResult result = m_harness.runBatch(QStringLiteral("set chkScriptOnly 1\nset txtDB Billing\n"
                                                                 "click cmdBackup(0)\nanswer file %1\n"
                                                                 "click cmdSaveScript\n")
                                                      .arg(path));
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QStringLiteral("FILEDIALOG: Save script -> ") + path + u'\n');
    EXPECT_TRUE(unstamped(result.log)
                    .last()
                    .startsWith(QStringLiteral("- summary: sent 0, failed 0, withheld by Script only 2,")));
    QFile script(path);
    ASSERT_TRUE(script.open(QIODevice::ReadOnly));
    const QString saved = QString::fromUtf8(script.readAll());
    EXPECT_TRUE(saved.startsWith(QStringLiteral("-- Left (side 0) server %1\r\nUSE [master]\r\nGO\r\nBACKUP ")
                                     .arg(m_server->address())))
        << saved.toStdString();
    EXPECT_EQ(saved.count(QStringLiteral("\r\nGO\r\n")), 3);
}

} // namespace qormin::test
