#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"
#include "RowName.h"

#include "db/ReadOnlyStatement.h"
#include "db/SideConnection.h"

#include <QFile>
#include <array>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

// "<database> | <text>" of every statement a server received that could change it, in order.
QStringList changes(const SimTestServer& server) {
    QStringList seen;
    for (const sim::TranscriptEntry& entry : server.requests()) {
        if (!db::isReadOnlyStatement(entry.text))
            seen.append(entry.database + QStringLiteral(" | ") + entry.text);
    }
    return seen;
}

struct ReplayCase {
    const char* name;
    const char* action; // batch lines
};

class ScriptReplayTest : public DatabaseFileFixture, public testing::WithParamInterface<ReplayCase> {
protected:
    // Runs the saved file as a query tool would: batches split at GO, each server's part (opened
    // by its comment) sent to that server. The comment lines are left out of what is sent, since
    // the simulator takes a USE only as a batch of its own.
    void replay(const QString& script, std::array<std::unique_ptr<SimTestServer>, 2>& servers) {
        std::array<std::unique_ptr<db::SideConnection>, 2> connections;
        int side = -1;
        for (const QString& batch : script.split(QStringLiteral("\r\nGO\r\n"), Qt::SkipEmptyParts)) {
            QStringList lines = batch.split(QStringLiteral("\r\n"));
            while (!lines.isEmpty() &&
                   (lines.first().isEmpty() || lines.first().startsWith(QLatin1String("--")))) {
                for (int candidate = 0; candidate < 2; ++candidate) {
                    const QString heading =
                        QStringLiteral("-- %1 (side %2) server %3")
                            .arg(candidate == 0 ? QStringLiteral("Left") : QStringLiteral("Right"))
                            .arg(candidate)
                            .arg(server(candidate).address());
                    if (lines.first() == heading)
                        side = candidate;
                }
                lines.removeFirst();
            }
            ASSERT_NE(side, -1) << "a statement before the first server's heading";
            auto& connection = connections[static_cast<size_t>(side)];
            if (!connection) {
                connection = std::make_unique<db::SideConnection>(side);
                ASSERT_TRUE(
                    connection->open(servers[static_cast<size_t>(side)]->connectionString(), 5).connected);
            }
            EXPECT_TRUE(connection->execute(lines.join(QStringLiteral("\r\n"))).succeeded);
        }
    }
};

TEST_P(ScriptReplayTest, savedScriptRunsAsTheActionWould) {
    run(QLatin1String(GetParam().action));
    const std::array<QStringList, 2> sent{changes(server(0)), changes(server(1))};

    harness().restart();
    clearTranscripts();
    const QString path = harness().folder(QStringLiteral("out")) + QStringLiteral("/dry-run.sql");
    run(QStringLiteral("set chkScriptOnly 1\n%1answer file %2\nclick cmdSaveScript\n")
            .arg(QLatin1String(GetParam().action), path));
    QFile saved(path);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));

    std::array<std::unique_ptr<SimTestServer>, 2> fresh{SimTestServer::fromJson(scenario()),
                                                        SimTestServer::fromJson(scenario())};
    ASSERT_TRUE(fresh[0] && fresh[1]);
    replay(QString::fromUtf8(saved.readAll()), fresh);
    EXPECT_FALSE(sent[0].isEmpty() && sent[1].isEmpty());
    for (size_t side = 0; side < 2; ++side) {
        EXPECT_EQ(changes(server(static_cast<int>(side))), QStringList()) << "Script only sent a change";
        EXPECT_EQ(changes(*fresh[side]), sent[side]) << "side " << side;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Actions, ScriptReplayTest,
    testing::Values(
        ReplayCase{"backupOnTheLeftInTheListedDatabase", "dblclick GridDB(0) 1\nclick cmdBackup(0)\n"},
        ReplayCase{"restoreOnTheRight", "set txtDB Station\nclick cmdRestore(1)\n"},
        ReplayCase{"bothSidesInTurn", "dblclick GridDB(0) 2\nclick cmdBackup(0)\nset txtDB Billing\n"
                                      "click cmdMakeSimple\nclick Command1\n"}),
    qormin::test::RowName());

} // namespace
} // namespace qormin::test
