#include "RowName.h"
#include "SimClientTest.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "demo"},
  "databases": ["Billing", "Patient_Data"],
  "rules": [
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Patient_Data"]]}}},
    {"exact": "select who", "database": "Billing",
     "response": {"result": {"columns": ["who:nvarchar(20)"], "rows": [["billing"]]}}},
    {"exact": "select who",
     "response": {"result": {"columns": ["who:nvarchar(20)"], "rows": [["elsewhere"]]}}},
    {"exact": "Exact Case", "caseSensitive": true, "response": {"rowCount": 1}},
    {"prefix": "update ", "response": {"rowCount": 7}},
    {"regex": "^delete from (\\w+)$", "response": [
        {"info": {"number": 50001, "text": "deleting from {1} in {database}"}}, {"rowCount": 2}]},
    {"exact": "select broken", "response": {"error": {"number": 208, "severity": 16, "state": 1,
                                                    "text": "Invalid object name 'broken'."}}},
    {"exact": "print", "response": {"info": {"number": 0, "state": 1, "class": 0, "text": "just saying"}}},
    {"exact": "select progress", "responses": [
        {"result": {"columns": ["pct:real"], "rows": [[10]]}},
        {"result": {"columns": ["pct:real"], "rows": [[45]]}}]}
  ]
})json";

class SimBatchTest : public SimClientTest {
protected:
    void SetUp() override { start(SimTestServer::fromJson(scenario), QStringLiteral("demo")); }
};

struct ReplyCase {
    const char* name;
    const char* statement;
    bool succeeded;
    SQLLEN rowCount; // -1: no count
    int number;      // the message expected, if text is set
    const char* text;
};

class SimReplyTest : public SimBatchTest, public ::testing::WithParamInterface<ReplyCase> {};

TEST_P(SimReplyTest, ruleThatMatchesDecidesTheReply) {
    const ReplyCase& reply = GetParam();
    const auto outcome = client.execute(QString::fromUtf8(reply.statement));
    EXPECT_EQ(outcome.succeeded, reply.succeeded);
    EXPECT_TRUE(outcome.tables.empty());
    EXPECT_EQ(outcome.rowCounts.empty() ? -1 : outcome.rowCounts.back(), reply.rowCount);
    if (reply.text) {
        EXPECT_EQ(outcome.messageText(reply.number), QString::fromUtf8(reply.text));
    }
}

INSTANTIATE_TEST_SUITE_P(
    MatchKinds, SimReplyTest,
    ::testing::Values(ReplyCase{"prefix", "update t set a = 1", true, 7, 0, nullptr},
                      ReplyCase{"prefixIgnoresCase", "UPDATE t SET a = 1", true, 7, 0, nullptr},
                      ReplyCase{"caseSensitiveExact", "Exact Case", true, 1, 0, nullptr},
                      ReplyCase{"caseSensitiveExactOtherCase", "exact case", true, -1, 0, nullptr},
                      ReplyCase{"exactNeedsTheTrailingBlank",
                                "SELECT name FROM sys.databases where database_id >= 5 order by name", true,
                                -1, 0, nullptr},
                      ReplyCase{"regexCapturesAndDatabaseFillTheMessage", "delete from Visits", true, 2,
                                50001, "deleting from Visits in master"},
                      ReplyCase{"regexIgnoresCase", "DELETE FROM Visits", true, 2, 0, nullptr},
                      ReplyCase{"regexIsAnchored", "delete from Visits where 1 = 1", true, -1, 0, nullptr},
                      ReplyCase{"error", "select broken", false, -1, 208, "Invalid object name 'broken'."},
                      ReplyCase{"informationalMessage", "print", true, -1, 0, "just saying"}),
    qormin::test::RowName());

struct UseCase {
    const char* statement;
    const char* database; // current database afterwards
    int error;            // 0, or the error the statement gives
};
std::string_view label(const UseCase& row) {
    return row.statement;
}

class SimUseTest : public SimBatchTest, public ::testing::WithParamInterface<UseCase> {};

TEST_P(SimUseTest, useSwitchesTheCurrentDatabaseAndRulesForItApply) {
    const auto outcome = client.execute(QString::fromUtf8(GetParam().statement));
    EXPECT_EQ(outcome.succeeded, GetParam().error == 0);
    if (GetParam().error == 911) {
        EXPECT_EQ(outcome.messageText(911),
                  QStringLiteral("Database 'Nowhere' does not exist. Make sure that the "
                                 "name is entered correctly."));
    }
    const QString database = QString::fromUtf8(GetParam().database);
    EXPECT_EQ(client.execute(QStringLiteral("select who")).column(0).value(0),
              database == QLatin1String("Billing") ? QStringLiteral("billing") : QStringLiteral("elsewhere"));
    EXPECT_EQ(server->requests().back().database, database);
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, SimUseTest,
    ::testing::Values(UseCase{"use Billing", "Billing", 0}, UseCase{"USE billing", "Billing", 0},
                      UseCase{"use [Patient_Data]", "Patient_Data", 0},
                      UseCase{"use Billing   ", "Billing", 0}, UseCase{"  Use BILLING;", "Billing", 0},
                      UseCase{"use MSDB", "msdb", 0}, UseCase{"use Nowhere", "master", 911}),
    qormin::test::IndexedRowName());

TEST_F(SimBatchTest, transcriptHoldsLoginExactTextsInOrderAndDisconnect) {
    EXPECT_TRUE(server->statements().isEmpty()) << "the driver sent statements of its own at connect";
    const QString multiLine = QStringLiteral("select 1\r\nselect 2  ");
    client.execute(QStringLiteral("update t set a = 1"));
    client.execute(multiLine);
    client.disconnect();
    // The server notices the closed socket on its own thread; stop() joins it.
    server->server().stop();
    EXPECT_EQ(server->statements(), (QStringList{QStringLiteral("update t set a = 1"), multiLine}));
    const auto requests = server->requests();
    EXPECT_EQ(requests[0].kind, QStringLiteral("batch"));
    EXPECT_TRUE(requests[1].json.value(QLatin1String("previousResponseComplete")).toBool());
    const auto transcript = server->transcript();
    ASSERT_FALSE(transcript.empty());
    EXPECT_EQ(transcript.front().kind, QStringLiteral("login"));
    EXPECT_EQ(transcript.front().json.value(QLatin1String("user")).toString(), QStringLiteral("sa"));
    EXPECT_EQ(transcript.front().database, QStringLiteral("master"));
    EXPECT_EQ(transcript.back().kind, QStringLiteral("disconnect"));
}

struct LoginCase {
    const char* user;
    const char* password;
    const char* database;
    int error;        // 0 for a login that succeeds
    const char* text; // the error's text, or the database the session starts in
};
std::string_view label(const LoginCase& row) {
    return row.text;
}

class SimLoginTest : public ::testing::TestWithParam<LoginCase> {};

TEST_P(SimLoginTest, loginIsCheckedLikeTheServerDoes) {
    auto server = SimTestServer::fromJson(scenario);
    ASSERT_TRUE(server);
    OdbcClient client;
    const LoginCase& login = GetParam();
    EXPECT_EQ(client.connect(server->connectionString(QString::fromUtf8(login.user),
                                                      QString::fromUtf8(login.password),
                                                      QString::fromUtf8(login.database))),
              login.error == 0);
    EXPECT_EQ(server->transcript().at(0).json.value(QLatin1String("success")).toBool(), login.error == 0);
    if (login.error != 0) {
        EXPECT_EQ(client.login().messageText(login.error), QString::fromUtf8(login.text));
        return;
    }
    client.execute(QStringLiteral("select who"));
    EXPECT_EQ(server->requests().at(0).database, QString::fromUtf8(login.text));
}

INSTANTIATE_TEST_SUITE_P(
    Logins, SimLoginTest,
    ::testing::Values(LoginCase{"sa", "wrong", "MASTER", 18456, "Login failed for user 'sa'."},
                      LoginCase{"intruder", "demo", "MASTER", 18456, "Login failed for user 'intruder'."},
                      LoginCase{"sa", "DEMO", "MASTER", 18456, "Login failed for user 'sa'."},
                      LoginCase{"sa", "demo", "Nowhere", 4060,
                                "Cannot open database \"Nowhere\" requested by the login. The login failed."},
                      LoginCase{"SA", "demo", "patient_data", 0, "Patient_Data"}),
    qormin::test::IndexedRowName());

TEST_F(SimBatchTest, connectionsAreServedAtOnceAndResponsesComeInTurnAcrossThem) {
    OdbcClient second;
    ASSERT_TRUE(second.connect(connectionString));
    second.execute(QStringLiteral("use Billing"));
    client.execute(QStringLiteral("select who"));
    second.execute(QStringLiteral("select who"));
    const auto requests = server->requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_NE(requests[0].connection, requests[1].connection);
    EXPECT_EQ(requests[1].database, QStringLiteral("master"));
    EXPECT_EQ(requests[2].database, QStringLiteral("Billing"));
    const QString ask = QStringLiteral("select progress");
    EXPECT_EQ(client.execute(ask).column(0), QStringList{QStringLiteral("10")});
    EXPECT_EQ(second.execute(ask).column(0), QStringList{QStringLiteral("45")});
    EXPECT_EQ(client.execute(ask).column(0), QStringList{QStringLiteral("45")});
}

} // namespace
} // namespace qormin::test
