#include "OdbcClient.h"
#include "SimTestServer.h"

#include <QThread>
#include <gtest/gtest.h>
#include <thread>

namespace qormin::test {
namespace {

const QByteArray scenario = R"json({
  "hangLimitSeconds": 60,
  "rules": [
    {"exact": "waitfor forever", "response": [{"info": "started"}, {"hang": true}, {"rowCount": 1}]},
    {"exact": "waitfor briefly", "response": [{"hang": {"seconds": 0.05}}, {"rowCount": 3}]},
    {"exact": "select big", "response": {"result": {"generate": 200000, "columns": [
        {"name": "id", "type": "int"},
        {"name": "name", "type": "nvarchar(200)", "generate": {"template": "a fairly long patient name number {n} to fill the packets"}}]}}},
    {"exact": "select then drop", "response": [
        {"result": {"columns": ["id:int"], "rows": [[1], [2]]}}, {"delay": 10}, {"drop": true}]},
    {"regex": "^BACKUP DATABASE \\[(\\w+)\\]", "response": [
        {"progress": {"every": 10, "pace": 5}},
        {"info": {"number": 4035, "text": "Processed 1234 pages for database '{1}', file '{1}' on file 1."}},
        {"info": {"number": 3014, "text": "BACKUP DATABASE successfully processed 1234 pages in 0.100 seconds (96.406 MB/sec)."}}]},
    {"exact": "select 1", "response": {"result": {"columns": ["one:int"], "rows": [[1]]}}}
  ]
})json";

class SimStreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(server);
        ASSERT_TRUE(client.connect(server->connectionString()));
    }

    std::vector<sim::TranscriptEntry> attentions() const {
        std::vector<sim::TranscriptEntry> result;
        for (const auto& entry : server->transcript()) {
            if (entry.kind == QLatin1String("attention")) {
                result.push_back(entry);
            }
        }
        return result;
    }

    bool lastRequestFoundPreviousResponseComplete() const {
        return server->requests().back().json.value(QLatin1String("previousResponseComplete")).toBool();
    }

    bool connectionStillWorks() {
        const auto outcome = client.execute(QStringLiteral("select 1"));
        return outcome.succeeded && outcome.tables.size() == 1 && outcome.tables[0].rows.size() == 1;
    }

    std::unique_ptr<SimTestServer> server;
    OdbcClient client;
};

struct CancelCase {
    const char* name;
    const char* statement;
    bool whileWaiting; // cancelled from another thread while the client waits for the answer
};

class SimCancelTest : public SimStreamTest, public ::testing::WithParamInterface<CancelCase> {};

TEST_P(SimCancelTest, cancelInTheMiddleOfTheAnswerIsRecordedAndTheConnectionGoesOn) {
    const QString statement = QString::fromUtf8(GetParam().statement);
    if (GetParam().whileWaiting) {
        std::thread canceller([this] {
            // Bounded wait until the server has the request: the cancel must not race ahead of it.
            for (int attempt = 0; attempt < 6000 && server->requests().empty(); ++attempt) {
                QThread::msleep(5);
            }
            SQLCancel(client.statement());
        });
        EXPECT_FALSE(client.execute(statement).succeeded);
        canceller.join();
    } else {
        EXPECT_TRUE(client.executeAndCancel(statement).succeeded);
    }
    EXPECT_TRUE(connectionStillWorks());
    ASSERT_EQ(attentions().size(), 1u);
    EXPECT_TRUE(attentions()[0].json.value(QLatin1String("duringResponse")).toBool());
    EXPECT_FALSE(lastRequestFoundPreviousResponseComplete());
}

INSTANTIATE_TEST_SUITE_P(
    Cancels, SimCancelTest,
    ::testing::Values(CancelCase{"hangEndedByCancel", "waitfor forever", true},
                      CancelCase{"resultAbandonedWhileBeingWritten", "select big", false},
                      CancelCase{"backupAbandonedAfterItsFirstMessage",
                                 "BACKUP DATABASE [Billing] TO DISK = 'X:\\B.BAK'", false}),
    [](const ::testing::TestParamInfo<CancelCase>& parameter) { return std::string(parameter.param.name); });

TEST_F(SimStreamTest, hangWithALimitGoesOnWithTheRest) {
    const auto outcome = client.execute(QStringLiteral("waitfor briefly"));
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.rowCounts.back(), 3);
    EXPECT_TRUE(attentions().empty());
}

TEST_F(SimStreamTest, largeResultArrivesCompleteOverManyPackets) {
    const auto outcome = client.execute(QStringLiteral("select big"));
    ASSERT_EQ(outcome.tables.size(), 1u);
    const auto& rows = outcome.tables[0].rows;
    ASSERT_EQ(rows.size(), 200000u);
    EXPECT_EQ(rows.front(),
              (QStringList{QStringLiteral("1"), QStringLiteral("a fairly long patient name "
                                                               "number 1 to fill the packets")}));
    EXPECT_EQ(rows.back().at(0), QStringLiteral("200000"));
    EXPECT_TRUE(connectionStillWorks());
}

TEST_F(SimStreamTest, droppedConnectionFailsTheStatement) {
    const auto outcome = client.execute(QStringLiteral("select then drop"));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_TRUE(outcome.texts().contains(QStringLiteral("Unexpected EOF from the server")));
    server->server().stop();
    EXPECT_EQ(server->transcript().back().kind, QStringLiteral("disconnect"));
}

TEST_F(SimStreamTest, backupProgressIsReadToTheEnd) {
    const auto outcome =
        client.execute(QStringLiteral("BACKUP DATABASE [Billing] TO DISK = 'X:\\Billing.BAK'"));
    EXPECT_TRUE(outcome.succeeded);
    QStringList expected;
    for (int percent = 10; percent <= 100; percent += 10) {
        expected.append(QStringLiteral("%1 percent processed.").arg(percent));
    }
    expected << QStringLiteral("Processed 1234 pages for database 'Billing', file 'Billing' on file 1.")
             << QStringLiteral(
                    "BACKUP DATABASE successfully processed 1234 pages in 0.100 seconds (96.406 MB/sec).");
    EXPECT_EQ(outcome.texts(), expected);
    EXPECT_TRUE(connectionStillWorks());
    EXPECT_TRUE(attentions().empty());
    EXPECT_TRUE(lastRequestFoundPreviousResponseComplete());
}

TEST_F(SimStreamTest, requestSplitOverManyPacketsArrivesWhole) {
    QString text = QStringLiteral("select 1 /*");
    for (int i = 0; i < 20000; ++i) {
        text += QStringLiteral(" %1 é日").arg(i);
    }
    text += QStringLiteral(" */");
    EXPECT_TRUE(client.execute(text).succeeded);
    EXPECT_EQ(server->statements().back(), text);
}

} // namespace
} // namespace qormin::test
