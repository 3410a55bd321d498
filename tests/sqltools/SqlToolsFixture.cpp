#include "SqlToolsFixture.h"

#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QLineEdit>

namespace qormin::test {

void SqlToolsFixture::SetUp() {
    m_server = SimTestServer::fromJson(QByteArray(R"json({"rules": [)json") + rules() + QByteArray(R"json(
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Station"]]}}}
  ]})json"));
    ASSERT_TRUE(m_server && m_server->isRunning());
    m_harness = std::make_unique<WindowHarness>();
    m_harness->storeConnection(0, m_server->address(), QStringLiteral("secret"));
    m_harness->load();
    ASSERT_TRUE(window().serverAccess().IsConnected(0));
    const auto requests = m_server->requests();
    ASSERT_FALSE(requests.empty());
    m_leftConnection = requests.front().connection;
    window().txtDB()->setText(QStringLiteral("Billing"));
    window().serverAccess().log().clear();
    m_server->clearTranscript();
}

BatchResult SqlToolsFixture::run(const QString& script) {
    m_server->clearTranscript();
    return m_harness->runBatch(script);
}

QStringList SqlToolsFixture::logLines() {
    return window().serverAccess().log().text().split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
}

} // namespace qormin::test
