#include "RowName.h"
#include "SimClientTest.h"

#include <QThread>
#include <gtest/gtest.h>
#include <thread>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QByteArray scenario = R"json({
  "hangLimitSeconds": 60,
  "rules": [
    {"exact": "waitfor forever", "response": [{"info": "started"}, {"hang": true}, {"rowCount": 1}]},
    {"exact": "waitfor briefly", "response": [{"hang": {"seconds": 0.05}}, {"rowCount": 3}]},
    {"exact": "select big", "response": {"result": {"generate": 200000, "columns": [
        {"name": "id", "type": "int"},
        {"name": "name", "type": "nvarchar(200)", "generate": {"template": "a fairly long patient name number {n} to fill the packets"}}]}}},
    {"regex": "^BACKUP DATABASE ", "response": [
        {"progress": {"every": 10, "pace": 5}},
        {"info": {"number": 3014, "text": "BACKUP DATABASE successfully processed 1234 pages."}}]},
    {"exact": "select 1", "response": {"result": {"columns": ["one:int"], "rows": [[1]]}}}
  ]
})json";

class SimStreamTest : public SimClientTest {
protected:
    void SetUp() override { start(SimTestServer::fromJson(scenario)); }

    // The cancels the server saw, each with whether it came in the middle of an answer.
    std::vector<bool> attentionsDuringResponse() const {
        std::vector<bool> result;
        for (const auto& entry : server->transcript()) {
            if (entry.kind == QLatin1String("attention"))
                result.push_back(entry.json.value(QLatin1String("duringResponse")).toBool());
        }
        return result;
    }
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
            for (int attempt = 0; attempt < 6000 && server->requests().empty(); ++attempt)
                QThread::msleep(5);
            SQLCancel(client.statement());
        });
        EXPECT_FALSE(client.execute(statement).succeeded);
        canceller.join();
    } else {
        // Reads the first row, if there is one, and abandons the rest while the server still writes it.
        std::u16string text = statement.toStdU16String();
        SQLHSTMT handle = client.statement();
        ASSERT_TRUE(SQL_SUCCEEDED(SQLExecDirectW(handle, reinterpret_cast<SQLWCHAR*>(text.data()), SQL_NTS)));
        SQLFetch(handle);
        EXPECT_TRUE(SQL_SUCCEEDED(SQLCancel(handle)));
    }
    EXPECT_EQ(client.execute(QStringLiteral("select 1")).column(0), QStringList{QStringLiteral("1")});
    EXPECT_EQ(attentionsDuringResponse(), std::vector<bool>{true});
    EXPECT_FALSE(server->requests().back().json.value(QLatin1String("previousResponseComplete")).toBool());
}

INSTANTIATE_TEST_SUITE_P(
    Cancels, SimCancelTest,
    ::testing::Values(CancelCase{"hangEndedByCancel", "waitfor forever", true},
                      CancelCase{"resultAbandonedWhileBeingWritten", "select big", false},
                      CancelCase{"backupAbandonedAfterItsFirstMessage",
                                 "BACKUP DATABASE [Billing] TO DISK = 'X:\\B.BAK'", false}),
    qormin::test::RowName());

TEST_F(SimStreamTest, hangWithALimitGoesOnWithTheRest) {
    const auto outcome = client.execute(QStringLiteral("waitfor briefly"));
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.rowCounts.back(), 3);
    EXPECT_TRUE(attentionsDuringResponse().empty());
}

TEST_F(SimStreamTest, requestSplitOverManyPacketsArrivesWhole) {
    QString text = QStringLiteral("select 1 /*");
    for (int i = 0; i < 20000; ++i)
        text += QStringLiteral(" %1 é日").arg(i);
    text += QStringLiteral(" */");
    EXPECT_TRUE(client.execute(text).succeeded);
    EXPECT_EQ(server->statements().back(), text);
}

} // namespace
} // namespace qormin::test
