#include "FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "RowName.h"
#include "db/HeaderRowPass.h"
#include "db/LogBuffer.h"
#include "db/Recordset.h"
#include "db/ResultTableModel.h"
#include "db/ServerMessageLog.h"
#include "db/SideConnection.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTimer>
#include <algorithm>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::ServerAccess;
using qormin::test::FakeServerAccessHost;
using qormin::test::SimTestServer;

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "demo"},
  "rules": [
    {"exact": "USE Nowhere", "response": {"error": {"number": 911, "severity": 16, "text": "Database 'Nowhere' does not exist. Make sure that the name is entered correctly."}}},
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Patient_Data"]]}}},
    {"exact": "select * from missing", "response": {"error": {"number": 208, "severity": 16, "text": "Invalid object name 'missing'."}}},
    {"prefix": "BACKUP DATABASE", "response": [
      {"progress": {"every": 10, "pace": 1}},
      {"info": {"number": 3014, "text": "BACKUP DATABASE successfully processed 1234 pages in 0.100 seconds (96.406 MB/sec)."}}]},
    {"exact": "SELECT 1 PRINT 'a' SELECT 2", "response": [
      {"result": {"columns": ["a:int"], "rows": [[1]]}},
      {"info": "a"},
      {"result": {"columns": ["b:int"], "rows": [[2]]}}]},
    {"exact": "raise then select", "response": [
      {"error": {"number": 50000, "severity": 16, "text": "first"}},
      {"result": {"columns": ["b:int"], "rows": [[2]]}}]},
    {"exact": "waitfor delay '01:00:00'", "response": {"hang": true}},
    {"exact": "slow restore", "response": {"progress": {"every": 1, "pace": 100}}},
    {"exact": "drop me", "response": {"drop": true}}
  ]
})json";

const QString listSql =
    QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");

class ServerAccessTest : public ::testing::Test {
protected:
    void SetUp() override { start(scenario); }

    void start(const QByteArray& json) {
        m_server = SimTestServer::fromJson(json);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_host.server[0] = m_server->address();
        m_host.server[1] = m_server->address();
        m_access = std::make_unique<ServerAccess>(m_host);
    }

    // The log, newest line first.
    QString log() const { return m_access->log().text(); }
    // txtErrs with each line's time stamp checked and cut off.
    QString errorsUnstamped() const {
        static const QRegularExpression stamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d "),
                                              QRegularExpression::MultilineOption);
        const QString text = m_access->errors().text();
        EXPECT_EQ(text.count(stamp), text.count(QStringLiteral("\r\n"))) << text.toStdString();
        return QString(text).remove(stamp);
    }

    // Calls action on the window thread once the server has received the statement.
    void whenServerReceives(const QString& text, std::function<void()> action) {
        auto* poll = new QTimer(m_access.get());
        QObject::connect(poll, &QTimer::timeout, poll, [this, poll, text, action] {
            if (m_server->statements().contains(text)) {
                poll->stop();
                poll->deleteLater();
                action();
            }
        });
        poll->start(5);
    }

    bool attentionSent() const {
        const auto& transcript = m_server->transcript();
        return std::any_of(transcript.begin(), transcript.end(),
                           [](const auto& entry) { return entry.kind == QLatin1String("attention"); });
    }

    std::unique_ptr<SimTestServer> m_server;
    FakeServerAccessHost m_host;
    std::unique_ptr<ServerAccess> m_access;
};

TEST_F(ServerAccessTest, connectLogsConnectedOnceAndMarksTheSide) {
    m_access->ConnectServer(0);
    m_access->ConnectServer(0);
    EXPECT_TRUE(m_access->IsConnected(0));
    EXPECT_FALSE(m_access->IsConnected(1));
    EXPECT_EQ(log(), QStringLiteral("Connected.\r\n"));
    EXPECT_TRUE(m_host.errorBoxes.isEmpty());
    EXPECT_EQ(m_server->server().connectionCount(), 1);
    // The blank after MASTER in the connection string does not reach the server.
    const auto login = m_server->transcript().front();
    EXPECT_EQ(login.kind, QStringLiteral("login"));
    EXPECT_EQ(login.json.value(QLatin1String("requestedDatabase")).toString(), QStringLiteral("MASTER"));
}

enum class Target { Simulator, ClosedPort, SilentPort, HalfLogin };

struct ConnectFailureCase {
    const char* name;
    int side;
    Target target;
    const char* password;
    const char* box;
};

class ConnectFailureTest : public ServerAccessTest,
                           public ::testing::WithParamInterface<ConnectFailureCase> {};

TEST_P(ConnectFailureTest, showsTheReasonInABoxAndStaysDisconnected) {
    const auto& c = GetParam();
    QTcpServer listener;
    if (c.target != Target::Simulator) {
        ASSERT_TRUE(listener.listen(QHostAddress::LocalHost));
        m_host.server[c.side] = QStringLiteral("127.0.0.1,%1").arg(listener.serverPort());
    }
    if (c.target == Target::ClosedPort) {
        listener.close();
    }
    // Answers the pre-login and then half of the login's answer.
    const auto halfLogin =
        SimTestServer::fromJson(R"json({"loginStallAfterTokens": 2, "hangLimitSeconds": 5})json");
    if (c.target == Target::HalfLogin) {
        m_host.server[c.side] = halfLogin->address();
    }
    const bool silent = c.target == Target::SilentPort || c.target == Target::HalfLogin;
    m_access->setLoginTimeout(1);
    m_host.password[c.side] = QString::fromUtf8(c.password);
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
    ticker.start(50);
    QSignalSpy statusLine(m_access.get(), &ServerAccess::lastErrorChanged);
    m_access->ConnectServer(c.side);
    EXPECT_FALSE(m_access->IsConnected(c.side));
    // The window's event loop kept turning while the login waited.
    EXPECT_GE(ticks, silent ? 5 : 0);
    // One box with the driver's reason, its title naming the side and its server; the named
    // line, time-stamped, in txtErrs.
    const QString where = (c.side == 0 ? QStringLiteral("Left server ") : QStringLiteral("Right server ")) +
                          m_host.server[c.side];
    const QString named = where + QStringLiteral(": ") + QString::fromUtf8(c.box);
    EXPECT_EQ(m_host.errorBoxes, QStringList{QString::fromUtf8(c.box)});
    EXPECT_EQ(m_host.errorBoxTitles, QStringList{where});
    EXPECT_EQ(errorsUnstamped(), named + QStringLiteral("\r\n"));
    ASSERT_EQ(statusLine.size(), 1);
    EXPECT_TRUE(statusLine.front().front().toString().endsWith(named));
    // A server that did not answer in time also leaves its line in the log.
    EXPECT_EQ(log(), silent ? named + QStringLiteral("\r\n") : QString());
}

const ConnectFailureCase connectFailureCases[] = {
    {"wrongPassword", 0, Target::Simulator, "wrong", "Login failed for user 'sa'."},
    {"semicolonCutsThePassword", 0, Target::Simulator, "demo;x",
     "Format of the initialization string does not conform to the OLE DB specification."},
    {"semicolonAndKeyCutsThePassword", 0, Target::Simulator, "de;mo=1", "Login failed for user 'sa'."},
    {"closedPortGivesTheDriversReason", 0, Target::ClosedPort, "demo",
     "Unable to connect: Adaptive Server is unavailable or does not exist"},
    {"closedPortOnTheRightNamesTheRightServer", 1, Target::ClosedPort, "demo",
     "Unable to connect: Adaptive Server is unavailable or does not exist"},
    {"silentServerGivesUpAfterTheLoginTimeout", 0, Target::SilentPort, "demo", "Timeout expired"},
    {"halfAnsweredLoginGivesUpAfterTheLoginTimeout", 1, Target::HalfLogin, "demo", "Timeout expired"},
};

INSTANTIATE_TEST_SUITE_P(Cases, ConnectFailureTest, ::testing::ValuesIn(connectFailureCases),
                         qormin::test::RowName());

TEST_F(ServerAccessTest, failedConnectIsRetriedByTheNextStatement) {
    m_host.password[0] = QStringLiteral("wrong");
    EXPECT_FALSE(m_access->ExecuteSQL(0, QStringLiteral("SELECT 1")));
    EXPECT_EQ(m_access->tally().connectFailures, 1);
    EXPECT_EQ(m_access->tally().failed, 1);
    EXPECT_EQ(log(),
              QStringLiteral(
                  "Operation is not allowed when the object is closed.\r\nSELECT 1\r\nRunning SQL..\r\n"));
    m_host.password[0] = QStringLiteral("demo");
    m_access->ExecuteSQL(0, QStringLiteral("SELECT 2"));
    EXPECT_TRUE(log().startsWith(QStringLiteral("Done\r\nSELECT 2\r\nConnected.\r\nRunning SQL..\r\n")))
        << log().toStdString();
    EXPECT_EQ(m_host.errorBoxes.size(), 1);
}

struct ExecuteCase {
    const char* name;
    const char* sql;
    const char* lastLine;
    bool succeeds;
};

class ExecuteSqlTest : public ServerAccessTest, public ::testing::WithParamInterface<ExecuteCase> {};

TEST_P(ExecuteSqlTest, logsRunningTheStatementAndDoneOrTheServersError) {
    const QString sql = QString::fromUtf8(GetParam().sql);
    QSignalSpy statusLine(m_access.get(), &ServerAccess::lastErrorChanged);
    EXPECT_EQ(m_access->ExecuteSQL(0, sql), GetParam().succeeds);
    EXPECT_EQ(m_access->tally().sent, 1);
    EXPECT_EQ(m_access->tally().failed, GetParam().succeeds ? 0 : 1);
    EXPECT_EQ(log(), QString::fromUtf8(GetParam().lastLine) + QStringLiteral("\r\n") + sql +
                         QStringLiteral("\r\nConnected.\r\nRunning SQL..\r\n"));
    // The error text is only in txtLog, never in txtErrs; the status bar names side and statement.
    EXPECT_EQ(errorsUnstamped(), QString());
    EXPECT_EQ(statusLine.isEmpty() ? QString() : statusLine.back().front().toString().section(u' ', 2),
              GetParam().succeeds
                  ? QString()
                  : QStringLiteral("Left server ") + m_host.server[0] + QStringLiteral(": ") +
                        QString::fromUtf8(GetParam().lastLine) + QStringLiteral(" -- ") + sql);
    EXPECT_EQ(m_host.busyChanges, (QList<bool>{true, false}));
    EXPECT_EQ(m_server->statements(), QStringList{sql});
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ExecuteSqlTest,
    ::testing::Values(
        ExecuteCase{"success", "UPDATE t SET a = 1", "Done", true},
        ExecuteCase{"serverError", "select * from missing", "Invalid object name 'missing'.", false},
        ExecuteCase{"errorBeforeLaterResults", "raise then select", "first", false},
        ExecuteCase{"unknownDatabase", "USE Nowhere",
                    "Database 'Nowhere' does not exist. Make sure that the name is entered correctly.",
                    false}),
    qormin::test::RowName());

// A failed open returns the description and the statement, and closes what was open.
TEST_F(ServerAccessTest, openRecordsetHoldsTheFirstResultSetAndLogsNothing) {
    QString result = QStringLiteral("stale");
    EXPECT_TRUE(m_access->OpenRecordset(0, listSql, QVariant(), result));
    EXPECT_EQ(result, QString());
    auto& recordset = m_access->sharedRecordset();
    ASSERT_TRUE(recordset.isOpen());
    EXPECT_EQ(recordset.RecordCount(), 2);
    EXPECT_EQ(recordset.field(QStringLiteral("NAME")).toString(), QStringLiteral("Billing"));

    m_access->OpenRecordset(0, QStringLiteral("SELECT 1 PRINT 'a' SELECT 2"), QVariant(), result);
    EXPECT_EQ(recordset.fieldName(0), QStringLiteral("a"));
    EXPECT_EQ(recordset.RecordCount(), 1);

    EXPECT_FALSE(m_access->OpenRecordset(0, QStringLiteral("select * from missing"), QVariant(), result));
    EXPECT_EQ(result, QStringLiteral("Invalid object name 'missing'. select * from missing"));
    EXPECT_FALSE(recordset.isOpen());
    EXPECT_EQ(log(), QStringLiteral("Connected.\r\n"));
}

// A statement that ends at once never waits in an event loop; a run of them (a record loop)
// must still let the window's timers and clicks through.
TEST_F(ServerAccessTest, runOfQuickStatementsLetsTheWindowReact) {
    m_access->EnsureConnected(0);
    bool timerFired = false;
    QTimer::singleShot(0, [&timerFired] { timerFired = true; });
    QString result;
    QElapsedTimer clock;
    clock.start();
    while (!timerFired && clock.elapsed() < 3000) {
        m_access->OpenRecordset(0, listSql, QVariant(), result);
    }
    EXPECT_TRUE(timerFired);
}

TEST_F(ServerAccessTest, backupProgressIsReadToTheEndAndReachesTheServerMessages) {
    int messagesWhileRunning = 0;
    QObject::connect(
        &m_access->serverMessages(), &qormin::db::ServerMessageLog::added, m_access.get(),
        [this, &messagesWhileRunning] { messagesWhileRunning += m_access->isStatementRunning() ? 1 : 0; });
    m_access->ExecuteSQL(0, QStringLiteral("BACKUP DATABASE [Billing] TO DISK = 'X:\\Billing.BAK'"));
    m_access->ExecuteSQL(0, QStringLiteral("SELECT 1"));
    EXPECT_TRUE(log().startsWith(QStringLiteral("Done\r\nSELECT 1\r\nRunning SQL..\r\nDone\r\n")));
    const auto& entries = m_access->serverMessages().entries();
    ASSERT_EQ(entries.size(), 11U);
    EXPECT_FALSE(entries.front().message.isError());
    EXPECT_EQ(entries.back().message.number, 3014);
    // Shown while the statement ran, not after it.
    EXPECT_EQ(messagesWhileRunning, 11);
    const auto requests = m_server->requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_TRUE(requests[1].json.value(QLatin1String("previousResponseComplete")).toBool());
    EXPECT_FALSE(attentionSent());
}

struct CancelCase {
    const char* name;
    const char* sql;
    bool whileStreaming; // cancel at the first progress message, else once the server holds the statement
};

class CancelTest : public ServerAccessTest, public ::testing::WithParamInterface<CancelCase> {};

TEST_P(CancelTest, endsTheStatementAndTheSideStaysUsable) {
    const QString sql = QString::fromUtf8(GetParam().sql);
    const auto cancel = [this] { m_access->cancelRunningStatement(); };
    if (GetParam().whileStreaming) {
        QObject::connect(&m_access->serverMessages(), &qormin::db::ServerMessageLog::added, m_access.get(),
                         cancel);
    } else {
        whenServerReceives(sql, cancel);
    }
    m_access->ExecuteSQL(0, sql);
    EXPECT_LT(m_access->serverMessages().entries().size(), 100U);
    EXPECT_TRUE(log().startsWith(QStringLiteral("Operation was cancelled\r\n"))) << log().toStdString();
    m_access->ExecuteSQL(0, QStringLiteral("SELECT 1"));
    EXPECT_TRUE(log().startsWith(QStringLiteral("Done\r\n")));
    EXPECT_TRUE(m_access->IsConnected(0));
    // The server has answered the next statement, so it has seen the cancel by now.
    EXPECT_TRUE(attentionSent());
}

const CancelCase cancelCases[] = {
    {"hungStatement", "waitfor delay '01:00:00'", false},
    {"streamingStatement", "slow restore", true},
};

INSTANTIATE_TEST_SUITE_P(Cases, CancelTest, ::testing::ValuesIn(cancelCases), qormin::test::RowName());

TEST_F(ServerAccessTest, droppedConnectionIsLoggedAndTheNextStatementReconnects) {
    m_access->ExecuteSQL(0, QStringLiteral("drop me"));
    EXPECT_FALSE(log().startsWith(QStringLiteral("Done\r\n")));
    EXPECT_FALSE(m_access->IsConnected(0));
    m_access->ExecuteSQL(0, QStringLiteral("SELECT 1"));
    EXPECT_TRUE(log().startsWith(QStringLiteral("Done\r\nSELECT 1\r\nConnected.\r\n")));
    EXPECT_EQ(m_server->server().connectionCount(), 2);
}

TEST_F(ServerAccessTest, executeScriptRunsEachCleanedBatchThroughExecuteSql) {
    m_access->ExecuteScript(0, QStringLiteral("A;\r\nGO\r\n-- note\r\nSELECT 1\r\nGO\r\nBC"));
    EXPECT_EQ(m_server->statements(),
              (QStringList{QStringLiteral("A\r"), QStringLiteral("SELECT 1\r"), QStringLiteral("B")}));
    // A batch that began with a comment line runs without its statement being logged first.
    EXPECT_EQ(
        m_access->log().text(),
        QStringLiteral("Done\r\nB\r\nRunning SQL..\r\nB\r\nDone\r\nSELECT 1\r\r\nRunning SQL..\r\nDone\r\n"
                       "A\r\r\nConnected.\r\nRunning SQL..\r\nA\r\r\n"));
}

// Every ";" still goes; one inside a literal changes the statement, so the log says so once.
TEST_F(ServerAccessTest, executeScriptWarnsWhenASemicolonInALiteralIsRemoved) {
    m_access->ExecuteScript(0, QStringLiteral("PRINT 'a;b;c'\r\nGO\r\nSELECT 1;\r\nGO\r\n"));
    EXPECT_EQ(m_server->statements(),
              (QStringList{QStringLiteral("PRINT 'abc'\r"), QStringLiteral("SELECT 1\r")}));
    const QString warning = QStringLiteral("Warning: a \";\" inside a string literal was removed from the "
                                           "next batch, as every \";\" of a script is");
    EXPECT_EQ(m_access->log().text().count(warning), 1);
    EXPECT_TRUE(m_access->log().text().endsWith(warning + QStringLiteral("\r\n")));
}

struct ScriptOnlyCase {
    const char* name;
    const char* sql;
    bool viaOpenRecordset;
    bool sent;
};

class ScriptOnlyTest : public ServerAccessTest, public ::testing::WithParamInterface<ScriptOnlyCase> {};

TEST_P(ScriptOnlyTest, withholdsWhatCouldChangeAServerAndRunsReads) {
    const auto& c = GetParam();
    const QString sql = QString::fromUtf8(c.sql);
    m_access->setScriptOnly(true);
    QString result = QStringLiteral("stale");
    // Withheld counts as succeeded: the script goes on as a real run would.
    EXPECT_TRUE(c.viaOpenRecordset ? m_access->OpenRecordset(0, sql, QVariant(), result)
                                   : m_access->ExecuteSQL(0, sql));
    EXPECT_EQ(m_access->tally().withheld, c.sent ? 0 : 1);
    EXPECT_EQ(m_server->statements().contains(sql), c.sent);
    EXPECT_EQ(m_access->withheldStatements(), c.sent ? QStringList() : QStringList{sql});
    if (!c.sent) {
        EXPECT_TRUE(
            log().startsWith(QStringLiteral("Not run (script only)\r\n") + sql + QStringLiteral("\r\n")));
    }
    if (c.viaOpenRecordset && !c.sent) {
        EXPECT_EQ(result, QString());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ScriptOnlyTest,
    ::testing::Values(
        ScriptOnlyCase{"backupWithheld", "BACKUP DATABASE [Billing] TO DISK = 'a'", false, false},
        ScriptOnlyCase{"selectRuns", "SELECT 1", false, true},
        ScriptOnlyCase{"writeThroughOpenRecordsetWithheld", "DELETE FROM t", true, false},
        ScriptOnlyCase{"listRuns", "SELECT name FROM sys.databases where database_id >= 5 order by name ",
                       true, true}),
    qormin::test::RowName());

// Refusals inside a header-row pass are counted apart; every log line names its routine's side.
TEST_F(ServerAccessTest, headerRowRefusalsAreCountedApartAndLogLinesKnowTheirSide) {
    QList<int> sides;
    QObject::connect(&m_access->log(), &qormin::db::LogBuffer::prepended, m_access.get(),
                     [this, &sides] { sides.append(m_access->activeSide()); });
    const QString refused = QStringLiteral("select * from missing");
    {
        const qormin::db::HeaderRowPass headerRow(*m_access, true);
        m_access->ExecuteSQL(1, refused);
        m_access->ExecuteSQL(1, QStringLiteral("SELECT 1"));
    }
    {
        const qormin::db::HeaderRowPass otherRow(*m_access, false);
        m_access->ExecuteSQL(1, refused);
    }
    m_access->LogMessage(QStringLiteral("between statements"));
    const auto tally = m_access->tally();
    EXPECT_EQ(tally.sent, 3);
    EXPECT_EQ(tally.headerRowRefusals, 1);
    EXPECT_EQ(tally.failed, 1);
    EXPECT_EQ(sides, QList<int>(10, 1) << -1); // Running, Connected, statement, outcome ...
}

// A BACKUP or RESTORE answered the way the server streams them: progress messages each closed
// by a DONE, the closing messages, the final DONE. The connection is dropped after each token
// of that answer in turn; no cut may ever be logged as done.
struct StreamedStatement {
    const char* name;
    const char* verb;
    const char* sql;
};

const StreamedStatement streamedStatements[] = {
    {"backup", "BACKUP", "BACKUP DATABASE Billing TO DISK = 'p:\\backup\\MIR\\Billing.BAK'   WITH FORMAT"},
    {"restore", "RESTORE",
     "RESTORE DATABASE Billing FROM DISK = 'p:\\backup\\MIR\\Billing.BAK' WITH NORECOVERY"},
};

constexpr int progressEvery = 25;
// Progress: a message and a DONE per step; then the two closing messages and the final DONE.
constexpr int streamedTokens = 2 * (100 / progressEvery) + 2 + 1;

struct WireFaultCase {
    const StreamedStatement* statement;
    int tokensBeforeDrop;
};

void PrintTo(const WireFaultCase& c, std::ostream* out) {
    *out << c.statement->name << " cut after " << c.tokensBeforeDrop << " tokens";
}

std::vector<WireFaultCase> wireFaultCases() {
    std::vector<WireFaultCase> cases;
    for (const auto& statement : streamedStatements) {
        for (int tokens = 0; tokens < streamedTokens; ++tokens) {
            cases.push_back({&statement, tokens});
        }
    }
    return cases;
}

QJsonObject info(int number, const QString& text) {
    return {{QStringLiteral("info"),
             QJsonObject{{QStringLiteral("number"), number}, {QStringLiteral("text"), text}}}};
}

QByteArray wireFaultScenario(const WireFaultCase& c) {
    const QJsonArray response{
        QJsonObject{{QStringLiteral("progress"), QJsonObject{{QStringLiteral("every"), progressEvery}}}},
        info(4035, QStringLiteral("Processed 1234 pages for database 'Billing', file 'Billing' on file 1.")),
        info(3014, QLatin1String(c.statement->verb) +
                       QStringLiteral(
                           " DATABASE successfully processed 1234 pages in 0.100 seconds (96.406 MB/sec)."))};
    const QJsonObject rule{{QStringLiteral("exact"), QString::fromUtf8(c.statement->sql)},
                           {QStringLiteral("dropAfterTokens"), c.tokensBeforeDrop},
                           {QStringLiteral("response"), response}};
    return QJsonDocument(QJsonObject{{QStringLiteral("rules"), QJsonArray{rule}}}).toJson();
}

class WireFaultTest : public ServerAccessTest, public ::testing::WithParamInterface<WireFaultCase> {
    void SetUp() override { start(wireFaultScenario(GetParam())); }
};

TEST_P(WireFaultTest, aCutAnswerIsLoggedAsAnErrorAndTheSideReconnects) {
    const QString sql = QString::fromUtf8(GetParam().statement->sql);
    m_access->ExecuteSQL(0, sql);
    const QStringList lines = log().split(QStringLiteral("\r\n"));
    ASSERT_GE(lines.size(), 3);
    EXPECT_EQ(lines[1], sql);
    EXPECT_NE(lines[0], QStringLiteral("Done"));
    EXPECT_FALSE(lines[0].isEmpty());
    EXPECT_FALSE(m_access->IsConnected(0));
    m_access->ExecuteSQL(0, QStringLiteral("SELECT 1"));
    EXPECT_TRUE(log().startsWith(QStringLiteral("Done\r\nSELECT 1\r\nConnected.\r\n")));
    EXPECT_EQ(m_server->server().connectionCount(), 2);
}

INSTANTIATE_TEST_SUITE_P(EveryToken, WireFaultTest, ::testing::ValuesIn(wireFaultCases()),
                         [](const auto& test) {
                             return std::string(test.param.statement->name) + "DroppedAfter" +
                                    std::to_string(test.param.tokensBeforeDrop) + "Tokens";
                         });

// A server that falls silent in the middle of a result set: Cancel ends the statement, and the
// command timeout ends it on its own; the event loop turns meanwhile and the side stays usable.
class StalledResultTest : public ServerAccessTest, public ::testing::WithParamInterface<bool> {
    void SetUp() override {
        start(
            R"json({"hangLimitSeconds": 30, "rules": [{"exact": "select * from stalled", "stallAfterTokens": 3,
            "response": {"result": {"columns": ["id:int"], "generate": 10}}}]})json");
    }
};

TEST_P(StalledResultTest, endsWithAClearErrorAndTheSideStaysUsable) {
    const bool cancel = GetParam();
    ServerAccess& access = *m_access;
    access.ConnectServer(0);
    access.side(0).setCommandTimeout(cancel ? 3600 : 1);
    int ticks = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        ++ticks;
        if (cancel && ticks == 10) {
            access.cancelRunningStatement();
        }
    });
    ticker.start(50);
    QString result;
    access.OpenRecordset(0, QStringLiteral("select * from stalled"), QVariant(), result);
    EXPECT_EQ(result,
              (cancel ? QStringLiteral("Operation was cancelled") : QStringLiteral("Timeout expired")) +
                  QStringLiteral(" select * from stalled"));
    EXPECT_GE(ticks, 10);
    access.OpenRecordset(0, QStringLiteral("SELECT 1"), QVariant(), result);
    EXPECT_EQ(result, QString());
}

INSTANTIATE_TEST_SUITE_P(Ways, StalledResultTest, ::testing::Bool(),
                         [](const auto& test) { return test.param ? "cancel" : "commandTimeout"; });

} // namespace
