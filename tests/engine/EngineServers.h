#pragma once

#include <QString>
#include <optional>

namespace qormin::test {

// The two T-SQL servers the engine suite runs against, as the environment names them:
// QORMIN_TEST_SERVER_LEFT, QORMIN_TEST_SERVER_RIGHT ("host,port" or "host\instance"),
// QORMIN_TEST_USER (default sa) and QORMIN_TEST_PASSWORD. QORMIN_TEST_ENGINE=babelfish says the
// servers are the Babelfish engines the test command starts, whose known differences from SQL
// Server the tests then name instead of failing on.
struct EngineServers {
    QString server[2];
    QString user;
    QString password;
    bool babelfish = false;

    // Empty, with the reason in whyNot, when the environment names no pair of servers.
    static std::optional<EngineServers> fromEnvironment(QString& whyNot);
    // An ODBC connection string for the FreeTDS driver, as the tool builds one for this server.
    QString connectionString(int side, const QString& database = QStringLiteral("master")) const;
};

} // namespace qormin::test
