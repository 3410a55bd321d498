#include "app/DemoServer.h"

#include "app/InstallLayout.h"
#include "platform/ChildProcessLifetime.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

namespace qormin::app {

namespace {

constexpr int startMilliseconds = 10000;

// From a build tree that was moved or whose copies are missing, the build's own outputs.
QString simulatorProgram() {
    const QString found = install::simulatorProgram(QCoreApplication::applicationDirPath());
    return found.isEmpty() ? QStringLiteral(QORMIN_SIM_BUILD_PATH) : found;
}

// The simulator runs as a program of its own, so the tool itself carries no server.
class ProcessDemoServer : public DemoServer {
public:
    ~ProcessDemoServer() override {
        m_process.kill();
        m_process.waitForFinished(startMilliseconds);
    }

    bool start(const QString& program, const QString& scenario, QString& error) {
        m_process.setProgram(program);
        m_process.setArguments(
            {QStringLiteral("--scenario"), scenario, QStringLiteral("--port"), QStringLiteral("0")});
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        // Killed or crashed, the tool must not leave its simulator listening.
        platform::endWithThisProcess(m_process);
        m_process.start();
        if (!m_process.waitForStarted(startMilliseconds)) {
            error = program + QStringLiteral(": ") + m_process.errorString();
            return false;
        }
        static const QRegularExpression listening(QStringLiteral("^listening on ([0-9.]+):(\\d+)"));
        const QDeadlineTimer deadline(startMilliseconds);
        while (!m_process.canReadLine()) {
            if (m_process.state() != QProcess::Running || deadline.hasExpired() ||
                !m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
                error = program + QStringLiteral(" did not start listening: ") +
                        QString::fromLocal8Bit(m_process.readAllStandardError()).trimmed();
                return false;
            }
        }
        const auto match = listening.match(QString::fromLatin1(m_process.readLine()));
        if (!match.hasMatch()) {
            error = program + QStringLiteral(" said something unexpected at start");
            return false;
        }
        m_address = match.captured(1) + QLatin1Char(',') + match.captured(2);
        return true;
    }

    QString address() const override { return m_address; }

private:
    QProcess m_process;
    QString m_address;
};

} // namespace

QString DemoServer::scenarioPath() {
    const QString found = install::demoScenario(QCoreApplication::applicationDirPath());
    return found.isEmpty() ? QStringLiteral(QORMIN_SOURCE_DIR "/sim/scenarios/demo.json") : found;
}

std::unique_ptr<DemoServer> DemoServer::start(QString& error) {
    const QString scenario = scenarioPath();
    if (!QFileInfo::exists(scenario)) {
        error = QStringLiteral("demo scenario ") + scenario + QStringLiteral(" not found");
        return nullptr;
    }
    auto server = std::make_unique<ProcessDemoServer>();
    if (!server->start(simulatorProgram(), scenario, error))
        return nullptr;
    return server;
}

} // namespace qormin::app
