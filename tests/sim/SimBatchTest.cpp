#include "OdbcClient.h"
#include "SimTestServer.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

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
    {"exact": "print", "response": {"info": {"number": 0, "state": 1, "class": 0, "text": "just saying"}}}
  ]
})json";

class SimBatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(server && server->isRunning());
        ASSERT_TRUE(client.connect(server->connectionString(QStringLiteral("sa"), QStringLiteral("demo"))))
            << client.connectMessages().front().text.toStdString();
    }

    std::unique_ptr<SimTestServer> server;
    OdbcClient client;
};

TEST_F(SimBatchTest, loginIsRecordedWithUserAndDatabase) {
    const auto transcript = server->transcript();
    ASSERT_FALSE(transcript.empty());
    EXPECT_EQ(transcript.front().kind, QStringLiteral("login"));
    EXPECT_EQ(transcript.front().json.value(QLatin1String("user")).toString(), QStringLiteral("sa"));
    EXPECT_EQ(transcript.front().database, QStringLiteral("master"));
    EXPECT_TRUE(server->statements().isEmpty()) << "the driver sent statements of its own at connect";
}

TEST_F(SimBatchTest, exactRuleAnswersWithItsResultSet) {
    const auto outcome = client.execute(
        QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name "));
    ASSERT_TRUE(outcome.succeeded);
    ASSERT_EQ(outcome.tables.size(), 1u);
    EXPECT_EQ(outcome.tables[0].columns, QStringList{QStringLiteral("name")});
    ASSERT_EQ(outcome.tables[0].rows.size(), 2u);
    EXPECT_EQ(outcome.tables[0].rows[1], QStringList{QStringLiteral("Patient_Data")});
}

TEST_F(SimBatchTest, exactRuleNeedsTheTrailingBlank) {
    const auto outcome =
        client.execute(QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name"));
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_TRUE(outcome.tables.empty()) << "the default response has no rows";
}

struct RowCountCase {
    const char* statement;
    SQLLEN expected; // -1: no count
};

class SimRowCountTest : public SimBatchTest, public ::testing::WithParamInterface<RowCountCase> {};

TEST_P(SimRowCountTest, matchKindsDecideTheRowCount) {
    const auto outcome = client.execute(QString::fromUtf8(GetParam().statement));
    ASSERT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.rowCounts.empty() ? -1 : outcome.rowCounts.back(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(MatchKinds, SimRowCountTest,
                         ::testing::Values(RowCountCase{"update t set a = 1", 7},
                                           RowCountCase{"UPDATE t SET a = 1", 7},
                                           RowCountCase{"Exact Case", 1}, RowCountCase{"exact case", -1},
                                           RowCountCase{"delete from Visits", 2},
                                           RowCountCase{"DELETE FROM Visits", 2},
                                           RowCountCase{"delete from Visits where 1 = 1", -1}));

TEST_F(SimBatchTest, regexCapturesAndDatabaseFillTheMessage) {
    const auto outcome = client.execute(QStringLiteral("delete from Visits"));
    EXPECT_EQ(outcome.messageText(50001), QStringLiteral("deleting from Visits in master"));
}

TEST_F(SimBatchTest, errorReachesTheClientWithNumberAndText) {
    const auto outcome = client.execute(QStringLiteral("select broken"));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.messageText(208), QStringLiteral("Invalid object name 'broken'."));
}

TEST_F(SimBatchTest, informationalMessageLeavesTheStatementSuccessful) {
    const auto outcome = client.execute(QStringLiteral("print"));
    EXPECT_TRUE(outcome.succeeded);
    ASSERT_FALSE(outcome.messages.empty());
    EXPECT_EQ(outcome.messages.front().text, QStringLiteral("just saying"));
}

struct UseCase {
    const char* statement;
    const char* database; // expected current database afterwards
};

class SimUseTest : public SimBatchTest, public ::testing::WithParamInterface<UseCase> {};

TEST_P(SimUseTest, useSwitchesTheCurrentDatabase) {
    ASSERT_TRUE(client.execute(QString::fromUtf8(GetParam().statement)).succeeded);
    client.execute(QStringLiteral("select who"));
    const auto requests = server->requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].database, QString::fromUtf8(GetParam().database));
}

INSTANTIATE_TEST_SUITE_P(Spellings, SimUseTest,
                         ::testing::Values(UseCase{"use Billing", "Billing"},
                                           UseCase{"USE billing", "Billing"},
                                           UseCase{"use [Patient_Data]", "Patient_Data"},
                                           UseCase{"use Billing   ", "Billing"},
                                           UseCase{"  Use BILLING;", "Billing"}));

TEST_F(SimBatchTest, ruleWithDatabaseConditionAppliesOnlyThere) {
    EXPECT_EQ(client.execute(QStringLiteral("select who")).tables.at(0).rows.at(0).at(0),
              QStringLiteral("elsewhere"));
    client.execute(QStringLiteral("use Billing"));
    EXPECT_EQ(client.execute(QStringLiteral("select who")).tables.at(0).rows.at(0).at(0),
              QStringLiteral("billing"));
}

TEST_F(SimBatchTest, useOfAnUnknownDatabaseFailsAndKeepsTheOldOne) {
    client.execute(QStringLiteral("use Billing"));
    const auto outcome = client.execute(QStringLiteral("use Nowhere"));
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(
        outcome.messageText(911),
        QStringLiteral("Database 'Nowhere' does not exist. Make sure that the name is entered correctly."));
    client.execute(QStringLiteral("select who"));
    EXPECT_EQ(server->requests().back().database, QStringLiteral("Billing"));
}

TEST_F(SimBatchTest, transcriptKeepsTheExactTextsInOrder) {
    const QString multiLine = QStringLiteral("select 1\r\nselect 2  ");
    client.execute(QStringLiteral("update t set a = 1"));
    client.execute(multiLine);
    EXPECT_EQ(server->statements(), (QStringList{QStringLiteral("update t set a = 1"), multiLine}));
    const auto requests = server->requests();
    EXPECT_EQ(requests[0].kind, QStringLiteral("batch"));
    EXPECT_TRUE(requests[1].json.value(QLatin1String("previousResponseComplete")).toBool());
}

TEST_F(SimBatchTest, disconnectIsRecorded) {
    client.disconnect();
    // The server notices the closed socket on its own thread; stop() joins it.
    server->server().stop();
    EXPECT_EQ(server->transcript().back().kind, QStringLiteral("disconnect"));
}

struct LoginCase {
    const char* user;
    const char* password;
    const char* database;
    int error;
    const char* text;
};

class SimLoginTest : public ::testing::TestWithParam<LoginCase> {};

TEST_P(SimLoginTest, refusedLoginGivesTheServerMessage) {
    auto server = SimTestServer::fromJson(scenario);
    ASSERT_TRUE(server);
    OdbcClient client;
    const LoginCase& login = GetParam();
    EXPECT_FALSE(client.connect(server->connectionString(QString::fromUtf8(login.user),
                                                         QString::fromUtf8(login.password),
                                                         QString::fromUtf8(login.database))));
    bool found = false;
    for (const auto& message : client.connectMessages()) {
        found = found || (message.number == login.error && message.text == QString::fromUtf8(login.text));
    }
    EXPECT_TRUE(found) << "no message " << login.error << " \"" << login.text << "\"";
    EXPECT_FALSE(server->transcript().at(0).json.value(QLatin1String("success")).toBool());
}

INSTANTIATE_TEST_SUITE_P(
    Refusals, SimLoginTest,
    ::testing::Values(LoginCase{"sa", "wrong", "MASTER", 18456, "Login failed for user 'sa'."},
                      LoginCase{"intruder", "demo", "MASTER", 18456, "Login failed for user 'intruder'."},
                      LoginCase{"sa", "DEMO", "MASTER", 18456, "Login failed for user 'sa'."},
                      LoginCase{
                          "sa", "demo", "Nowhere", 4060,
                          "Cannot open database \"Nowhere\" requested by the login. The login failed."}));

TEST(SimLogin, loginWithADeclaredDatabaseStartsThere) {
    auto server = SimTestServer::fromJson(scenario);
    ASSERT_TRUE(server);
    OdbcClient client;
    ASSERT_TRUE(client.connect(server->connectionString(QStringLiteral("SA"), QStringLiteral("demo"),
                                                        QStringLiteral("patient_data"))));
    client.execute(QStringLiteral("select who"));
    EXPECT_EQ(server->requests().at(0).database, QStringLiteral("Patient_Data"));
}

TEST(SimLogin, severalConnectionsAreServedAtOnce) {
    auto server = SimTestServer::fromJson(scenario);
    ASSERT_TRUE(server);
    OdbcClient first;
    OdbcClient second;
    ASSERT_TRUE(first.connect(server->connectionString(QStringLiteral("sa"), QStringLiteral("demo"))));
    ASSERT_TRUE(second.connect(server->connectionString(QStringLiteral("sa"), QStringLiteral("demo"))));
    second.execute(QStringLiteral("use Billing"));
    first.execute(QStringLiteral("select who"));
    second.execute(QStringLiteral("select who"));
    const auto requests = server->requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_NE(requests[0].connection, requests[1].connection);
    EXPECT_EQ(requests[1].database, QStringLiteral("master"));
    EXPECT_EQ(requests[2].database, QStringLiteral("Billing"));
}

} // namespace
} // namespace qormin::test
