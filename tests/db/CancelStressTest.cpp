#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "db/SideConnection.h"

#include <QJsonDocument>
#include <QVariant>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <random>
#include <thread>

// Cancels land at random points of many statements of every kind the side runs: inside a call
// that waits for the server, between two calls, while a cursor is being closed, before the job
// starts and after it ended. Whatever the point, the run must end, the link must stay up and the
// next statement must get its own answer. Built with the sanitizers, a cancel that overlaps a
// call the driver manager cannot share shows up here as a double free or a data race.

namespace {

using qormin::db::ColumnInfo;
using qormin::db::SideConnection;
using qormin::db::StatementOutcome;
using qormin::test::SimTestServer;

const QByteArray scenario = R"json({
  "hangLimitSeconds": 20,
  "rules": [
    {"exact": "slow restore", "response": {"progress": {"every": 2, "pace": 1}}},
    {"exact": "SELECT * FROM big", "response": {"result": {"columns": ["id:int", "name:nvarchar(40)"],
      "generate": 3000}}},
    {"exact": "waitfor delay '01:00:00'", "response": {"hang": true}},
    {"prefix": "INSERT INTO t", "response": {"rowCount": 1}},
    {"exact": "SELECT 7 AS answer", "response": {"result": {"columns": ["answer:int"], "rows": [[7]]}}}
  ]
})json";

// The server's view of the last requests, for a failure message.
std::string transcriptTail(const SimTestServer& server) {
    const auto entries = server.transcript();
    std::string tail;
    for (size_t i = entries.size() > 12 ? entries.size() - 12 : 0; i < entries.size(); ++i) {
        tail += QJsonDocument(entries[i].json).toJson(QJsonDocument::Compact).left(200).toStdString() + "\n";
    }
    return tail;
}

struct StatementKind {
    const char* name;
    bool endsOnlyByCancel;
    std::function<std::vector<StatementOutcome>(SideConnection&)> run;
};

std::vector<StatementOutcome> one(StatementOutcome outcome) {
    return {std::move(outcome)};
}

const StatementKind kinds[] = {
    {"streamed messages", false,
     [](SideConnection& side) { return one(side.execute(QStringLiteral("slow restore"))); }},
    {"result set", false,
     [](SideConnection& side) { return one(side.execute(QStringLiteral("SELECT * FROM big"))); }},
    {"hung statement", true,
     [](SideConnection& side) { return one(side.execute(QStringLiteral("waitfor delay '01:00:00'"))); }},
    {"rows several to a request", false,
     [](SideConnection& side) {
         ColumnInfo id;
         id.name = QStringLiteral("id");
         id.sqlType = 4; // SQL_INTEGER
         std::vector<std::vector<QVariant>> rows;
         for (int row = 0; row < 250; ++row) {
             rows.push_back({QVariant(row)});
         }
         const int prepared = side.prepare(QStringLiteral("INSERT INTO t ([id]) VALUES (?)"));
         auto outcomes = side.executePreparedRows(prepared, {id}, rows);
         side.unprepare(prepared);
         return outcomes;
     }},
    {"stream read ahead", false,
     [](SideConnection& side) {
         std::vector<StatementOutcome> outcomes{side.openStream(QStringLiteral("SELECT * FROM big"))};
         while (outcomes.back().succeeded && !side.streamEnded()) {
             outcomes.push_back(side.fetchStream(200));
         }
         side.closeStream();
         return outcomes;
     }},
};

TEST(CancelStressTest, aCancelAtAnyPointEndsTheStatementAndTheNextOneGetsItsOwnAnswer) {
    const auto server = SimTestServer::fromJson(scenario);
    ASSERT_TRUE(server && server->isRunning());
    SideConnection side(0);
    ASSERT_TRUE(side.open(server->connectionString(), 15).connected);
    std::mt19937 random(20261125);
    const int fromEnvironment = qEnvironmentVariableIntValue("QORMIN_CANCEL_ROUNDS");
    const int rounds = fromEnvironment > 0 ? fromEnvironment : 150;
    int cancelled = 0;
    for (int round = 0; round < rounds; ++round) {
        const StatementKind& kind = kinds[static_cast<size_t>(round) % std::size(kinds)];
        std::vector<StatementOutcome> outcomes;
        {
            // Several cancels a round, so a statement that would hang is always reached, and one
            // often arrives between two jobs.
            const std::jthread canceller([&side, seed = random()](const std::stop_token& stop) {
                std::mt19937 pauses(static_cast<unsigned>(seed));
                std::uniform_int_distribution<int> pause(0, 4000);
                while (!stop.stop_requested()) {
                    std::this_thread::sleep_for(std::chrono::microseconds(pause(pauses)));
                    side.cancel();
                }
            });
            outcomes = kind.run(side);
        }
        if (kind.endsOnlyByCancel) {
            ASSERT_FALSE(outcomes.back().succeeded)
                << kind.name << ", round " << round << ": the cancel was lost";
        }
        for (const auto& outcome : outcomes) {
            ASSERT_FALSE(outcome.connectionLost)
                << kind.name << ", round " << round << ": " << outcome.errorDescription.toStdString();
            if (!outcome.succeeded) {
                ASSERT_TRUE(outcome.cancelled)
                    << kind.name << ", round " << round << ": " << outcome.errorDescription.toStdString();
                ++cancelled;
            }
        }
        const StatementOutcome next = side.execute(QStringLiteral("SELECT 7 AS answer"));
        // Streamed only on failure: the transcript grows with every round.
        const auto where = [&] {
            return std::string(kind.name) + ", round " + std::to_string(round) + "\n" +
                   transcriptTail(*server);
        };
        ASSERT_TRUE(next.succeeded) << where() << next.errorDescription.toStdString();
        ASSERT_EQ(next.resultSets.size(), 1U) << where();
        ASSERT_EQ(next.resultSets[0].rows.size(), 1U) << where();
        EXPECT_EQ(next.resultSets[0].rows[0][0].toInt(), 7) << where();
    }
    EXPECT_TRUE(side.isOpen());
    // Most rounds must really have been cut short, or the test proves nothing.
    EXPECT_GT(cancelled, rounds / 3);
    std::cout << rounds << " rounds, " << cancelled << " statements cancelled\n";
}

} // namespace
