#include "EngineServers.h"
#include "QStringPrinter.h"
#include "WindowHarness.h"

#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

// The health columns on a real engine: SQL Server fills them; the Babelfish engine has no msdb
// backup history, where the query must fail soft: one log line, no error line, the run not failed.
TEST(DatabaseHealthEngineTest, fillsTheColumnsOrFailsSoftWithoutMsdbHistory) {
    QString whyNot;
    const auto servers = EngineServers::fromEnvironment(whyNot);
    if (!servers)
        GTEST_SKIP() << whyNot.toStdString();
    WindowHarness harness;
    harness.storeConnection(0, servers->server[0], servers->password);
    harness.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID0"), servers->user);
    harness.load();
    const BatchResult run =
        harness.runBatch(QStringLiteral("set chkDatabaseHealth 1\nclick cmdRefreshDB(0)\n"));
    EXPECT_EQ(run.exitCode, 0) << run.log.toStdString();
    db::ServerAccess& access = harness.window().serverAccess();
    EXPECT_EQ(access.errors().text(), QString());
    const bool soft =
        access.log().text().contains(QStringLiteral("No database health columns for the Left server"));
    if (servers->babelfish) {
        EXPECT_TRUE(soft) << access.log().text().toStdString();
        EXPECT_EQ(harness.window().GridDB(0)->Cols(), 1);
    } else {
        EXPECT_FALSE(soft) << access.log().text().toStdString();
        EXPECT_EQ(harness.window().GridDB(0)->TextMatrix(0, 1), QStringLiteral("State"));
    }
}

} // namespace
} // namespace qormin::test
