#pragma once

#include "OdbcClient.h"
#include "SimTestServer.h"

#include <gtest/gtest.h>

namespace qormin::test {

// A simulated server and one client logged in to it as "sa".
class SimClientTest : public ::testing::Test {
protected:
    void start(std::unique_ptr<SimTestServer> started, const QString& password = QString(),
               const QString& database = QStringLiteral("MASTER")) {
        server = std::move(started);
        ASSERT_TRUE(server && server->isRunning());
        connectionString = server->connectionString(QStringLiteral("sa"), password, database);
        ASSERT_TRUE(client.connect(connectionString));
    }

    std::unique_ptr<SimTestServer> server;
    QString connectionString;
    OdbcClient client;
};

} // namespace qormin::test
