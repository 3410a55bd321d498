#include "app/DemoServer.h"

#include "sim/SimServer.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace qormin::app {

namespace {

class SimulatedDemoServer : public DemoServer {
public:
    explicit SimulatedDemoServer(sim::Scenario scenario) : m_server(std::move(scenario)) {
        m_server.setKeepTranscriptInMemory(false);
    }
    bool start(QString& error) { return m_server.start(0, &error); }
    QString address() const override { return m_server.address(); }

private:
    sim::SimServer m_server;
};

} // namespace

QString DemoServer::scenarioPath() {
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/scenarios/demo.json");
    if (QFileInfo::exists(beside))
        return beside;
    return QStringLiteral(QORMIN_SOURCE_DIR "/sim/scenarios/demo.json");
}

std::unique_ptr<DemoServer> DemoServer::start(QString& error) {
    const QString path = scenarioPath();
    std::optional<sim::Scenario> scenario = sim::Scenario::fromFile(path, &error);
    if (!scenario) {
        error = QStringLiteral("demo scenario ") + path + QStringLiteral(": ") + error;
        return nullptr;
    }
    auto server = std::make_unique<SimulatedDemoServer>(std::move(*scenario));
    if (!server->start(error))
        return nullptr;
    return server;
}

} // namespace qormin::app
