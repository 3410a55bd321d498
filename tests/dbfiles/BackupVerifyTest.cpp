#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

#include "RowName.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "db/ServerMessageLog.h"
#include "dbfiles/DatabaseFileTools.h"
#include "dbfiles/ProgressWatch.h"

#include <QCheckBox>
#include <QThread>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QString folder = QStringLiteral("p:\\backup\\MIR\\");

using VerifyScriptOnlyTest = DatabaseFileFixture;

TEST_F(VerifyScriptOnlyTest, withholdsTheVerifyStatements) {
    run(QStringLiteral("set txtDB Billing\nset chkLogOnly 1\nset chkScriptOnly 1\nclick cmdVerify(0)\n"));
    EXPECT_TRUE(statements(0).isEmpty());
    EXPECT_EQ(
        window().serverAccess().withheldStatements(),
        QStringList{QStringLiteral("RESTORE VERIFYONLY FROM DISK = 'p:\\backup\\MIR\\Billing_log.BAK'")});
}

struct ChecksumSettingCase {
    const char* name;
    const char* script;
    const char* stored; // the saved value after the run; empty: nothing saved
};

class ChecksumSettingTest : public DatabaseFileFixture,
                            public testing::WithParamInterface<ChecksumSettingCase> {};

TEST_P(ChecksumSettingTest, isSavedOnlyOnceTickedAndComesBackOnTheNextStart) {
    run(QLatin1String(GetParam().script));
    const QString stored = QString::fromUtf8(GetParam().stored);
    EXPECT_EQ(harness().settings().getSetting(QStringLiteral("MAIN"), QStringLiteral("chkChecksum")), stored);
    harness().restart();
    auto* box = window().findChild<QCheckBox*>(QStringLiteral("chkChecksum"));
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->isChecked(), stored == QLatin1String("1"));
}

INSTANTIATE_TEST_SUITE_P(Runs, ChecksumSettingTest,
                         testing::Values(ChecksumSettingCase{"untouchedSavesNothing", "set txtDB Billing\n",
                                                             ""},
                                         ChecksumSettingCase{"tickedIsKept", "set chkChecksum 1\n", "1"},
                                         ChecksumSettingCase{"clearedAfterTickingIsKeptOff",
                                                             "set chkChecksum 1\nset chkChecksum 0\n", "0"}),
                         qormin::test::RowName());

const QString pollText = QStringLiteral(
    "SELECT percent_complete, estimated_completion_time FROM sys.dm_exec_requests WHERE session_id = 57");

// The working session is 57; its request's progress rises with every poll while the backup or
// restore takes its time; pollResponse decides what a poll gets.
class ProgressTest : public DatabaseFileFixture {
protected:
    void SetUp() override {
        DatabaseFileFixture::SetUp();
        auto* tools = window().findChild<dbfiles::DatabaseFileTools*>();
        ASSERT_NE(tools, nullptr);
        tools->progressWatch().setInterval(std::chrono::milliseconds(60));
        window().serverAccess().serverMessages().clear();
    }
    QByteArray extraRules() const override {
        return QByteArray(R"json(
    {"exact": "SELECT @@SPID", "response": {"result": {"columns": ["spid:smallint"], "rows": [[57]]}}},
    {"prefix": "SELECT percent_complete", )json") +
               pollResponse() + R"json(},
    {"prefix": "BACKUP DATABASE ", "response": [{"delay": 700}, {"done": {}}]},
    {"prefix": "RESTORE DATABASE ", "response": [{"delay": 700}, {"done": {}}]},)json";
    }
    virtual QByteArray pollResponse() const {
        return R"json("responses": [
        {"result": {"columns": ["percent_complete:real", "estimated_completion_time:bigint"], "rows": [[12.5, 140000]]}},
        {"result": {"columns": ["percent_complete:real", "estimated_completion_time:bigint"], "rows": [[37, 95000]]}},
        {"result": {"columns": ["percent_complete:real", "estimated_completion_time:bigint"], "rows": [[80.2, 20000]]}}])json";
    }
    static bool isPoll(const sim::TranscriptEntry& entry) {
        return entry.text.startsWith(QLatin1String("SELECT percent_complete"));
    }
    QStringList pollingTexts(int side) {
        QStringList texts;
        for (const auto& entry : server(side).requests()) {
            if (isPoll(entry))
                texts.append(entry.text);
        }
        return texts;
    }
    QStringList messageTexts() {
        QStringList texts;
        for (const auto& entry : window().serverAccess().serverMessages().entries())
            texts.append(entry.message.text);
        return texts;
    }
};

struct WatchedCase {
    const char* name;
    const char* script; // after "set txtDB Billing"
    int side;
    const char* watched; // how the long statement starts
    const char* label;
};

class WatchedStatementTest : public ProgressTest, public testing::WithParamInterface<WatchedCase> {};

TEST_P(WatchedStatementTest, pollsOnASecondConnectionOnlyWhileTheStatementRuns) {
    const WatchedCase& param = GetParam();
    const int sentBefore = window().serverAccess().tally().sent;
    const BatchResult result =
        harness().runBatch(QStringLiteral("set txtDB Billing\n") + QLatin1String(param.script));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    const QStringList polls = pollingTexts(param.side);
    ASSERT_GE(polls.size(), 3);
    EXPECT_EQ(polls.front(), pollText);
    const QString label = QString::fromUtf8(param.label);
    EXPECT_EQ(messageTexts(), (QStringList{label + QStringLiteral(" — 12%, about 2 min left"),
                                           label + QStringLiteral(" — 37%, about 2 min left"),
                                           label + QStringLiteral(" — 80%, less than a minute left")}));
    EXPECT_TRUE(result.log.contains(label + QStringLiteral(" — 37%, about 2 min left")));
    // Every poll came after the statement started, from a connection of its own, and none after it ended.
    const auto requests = server(param.side).requests();
    const auto watched = std::find_if(requests.begin(), requests.end(), [&param](const auto& entry) {
        return entry.text.startsWith(QLatin1String(param.watched));
    });
    ASSERT_NE(watched, requests.end());
    for (auto entry = requests.begin(); entry != requests.end(); ++entry) {
        if (!isPoll(*entry))
            continue;
        EXPECT_GT(entry - requests.begin(), watched - requests.begin());
        EXPECT_NE(entry->connection, watched->connection);
    }
    QThread::msleep(200);
    EXPECT_EQ(pollingTexts(param.side).size(), polls.size());
    // The session id is asked once for the connection, however many statements it watches.
    const auto transcript = server(param.side).transcript();
    EXPECT_EQ(std::count_if(transcript.begin(), transcript.end(),
                            [](const auto& entry) { return entry.text == QLatin1String("SELECT @@SPID"); }),
              1);
    // The batch counts the tool's own statements, not the polls.
    EXPECT_EQ(window().serverAccess().tally().sent - sentBefore, requests.size() - polls.size());
}

INSTANTIATE_TEST_SUITE_P(Statements, WatchedStatementTest,
                         testing::Values(WatchedCase{"backup", "click cmdBackup(0)\n", 0, "BACKUP DATABASE",
                                                     "Backup Billing"},
                                         WatchedCase{"restoreToTheRight", "click cmdRestore(1)\n", 1,
                                                     "RESTORE DATABASE", "Restore Billing"}),
                         qormin::test::RowName());

class DroppedPollingTest : public ProgressTest {
protected:
    QByteArray pollResponse() const override { return R"json("response": {"drop": true})json"; }
};

TEST_F(DroppedPollingTest, endsPollingWithOneLogLineAndTheBackupGoesOn) {
    run(QStringLiteral("set txtDB Billing\nclick cmdBackup(0)\n"));
    EXPECT_EQ(statements(0).filter(QStringLiteral("BACKUP ")).size(), 2);
    EXPECT_EQ(pollingTexts(0).size(), 1);
    const QStringList lines = logLines();
    EXPECT_EQ(lines.filter(QStringLiteral("No progress for Backup Billing (it goes on): ")).size(), 1);
    EXPECT_EQ(lines.count(QStringLiteral("Done")), 2);
    EXPECT_TRUE(messageTexts().isEmpty());
}

// A pass over the right side's grid in which Patient_Data's full backup fails.
class RunLogPassTest : public DatabaseFileFixture {
protected:
    QByteArray extraRules() const override {
        return R"json({"prefix": "BACKUP DATABASE Patient_Data ", "response": [
            {"error": {"number": 3201, "text": "Cannot open backup device 'p:\\backup\\MIR\\Patient_Data.BAK', \"no space\"."}}]},)json";
    }
};

TEST_F(RunLogPassTest, oneLinePerDatabaseWithTheFailureAndItsErrorText) {
    run(QStringLiteral(
            "set chkALL 1\nclick cmdBackup(1)\nset chkALL 0\nset txtDB Station\nclick cmdVerify(1)\n"),
        1);
    EXPECT_EQ(
        runLogLines(),
        (QStringList{QStringLiteral("start,end,duration_s,operation,database,file,result,error"),
                     QStringLiteral("backup,Billing,%1Billing.BAK; %1Billing_log.BAK,OK,").arg(folder),
                     QStringLiteral("backup,Patient_Data,%1Patient_Data.BAK; %1Patient_Data_log.BAK,failed,"
                                    "\"Cannot open backup device '%1Patient_Data.BAK', \"\"no space\"\".\"")
                         .arg(folder),
                     QStringLiteral("backup,Station,%1Station.BAK; %1Station_log.BAK,OK,").arg(folder),
                     QStringLiteral("verify,Station,%1Station.BAK; %1Station_log.BAK,OK,").arg(folder),
                     QString()}));
}

} // namespace
} // namespace qormin::test
