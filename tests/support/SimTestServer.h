#pragma once

#include "sim/SimServer.h"

#include <QStringList>
#include <memory>

namespace qormin::test {

// A simulated server for one test: started from a scenario (JSON text or file) on a free port.
// A scenario that does not parse or a server that cannot listen fails the current test.
class SimTestServer {
public:
    static constexpr const char* healthQueryStart = "SELECT d.name, d.state_desc, d.recovery_model_desc,";

    static std::unique_ptr<SimTestServer> fromJson(const QByteArray& json);
    static std::unique_ptr<SimTestServer> fromFile(const QString& path);
    explicit SimTestServer(sim::Scenario scenario);

    bool isRunning() const { return m_running; }
    sim::SimServer& server() { return m_server; }
    QString address() const { return m_server.address(); }
    quint16 port() const { return m_server.port(); }
    // An ODBC connection string for the FreeTDS driver pointing at this server.
    QString connectionString(const QString& user = QStringLiteral("sa"), const QString& password = QString(),
                             const QString& database = QStringLiteral("MASTER")) const;

    std::vector<sim::TranscriptEntry> transcript() const { return m_server.transcript(); }
    // The batches and RPCs that carried a statement, in arrival order. Left out: logins,
    // attentions, disconnects, the driver's own handle bookkeeping (sp_prepare, which only
    // declares a statement, and sp_unprepare), and the tool's question for its session id
    // ("SELECT @@SPID", once per connection before a backup or restore is watched), and the
    // window's health question after each database list (healthQueryStart; the tests of the
    // database grid read it from transcript()). FreeTDS sends no statements of its own at connect.
    std::vector<sim::TranscriptEntry> requests() const;
    // The texts of requests().
    QStringList statements() const;
    void clearTranscript() { m_server.clearTranscript(); }

private:
    sim::SimServer m_server;
    bool m_running = false;
};

// The values of a request's parameters as they arrived, as a compact JSON array ([7,"Ann",null]).
QString parameterValues(const sim::TranscriptEntry& entry);
// An INSERT as its column list and its values: "[a], [b] [1,\"x\"]".
QString insertedRow(const sim::TranscriptEntry& entry);

} // namespace qormin::test
