#include "PrivateSessionBus.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <csignal>
#include <sys/prctl.h>

namespace qormin::test {

void PrivateSessionBus::endWithTheTest(QProcess& process) {
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

void PrivateSessionBus::stop(QProcess& process) {
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(10000))
        process.kill();
    process.waitForFinished();
}

void PrivateSessionBus::stop() {
    stop(m_bus);
}

bool PrivateSessionBus::start(QProcessEnvironment base, QString& whyNot) {
    const QString runtime = m_folder + QStringLiteral("/runtime");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString socket = m_folder + QStringLiteral("/bus");
    const QString address = QStringLiteral("unix:path=") + socket;
    m_environment = std::move(base);
    m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    // The bus starts the services it activates with its own environment.
    m_bus.setProcessEnvironment(m_environment);
    endWithTheTest(m_bus);
    m_bus.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_bus.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                 QStringLiteral("--address=") + address});
    if (!m_bus.waitForStarted()) {
        whyNot = QStringLiteral("dbus-daemon did not start: ") + m_bus.errorString();
        return false;
    }
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    while (!QFileInfo::exists(socket) && !deadline.hasExpired())
        QThread::msleep(20);
    if (!QFileInfo::exists(socket)) {
        whyNot = QStringLiteral("dbus-daemon did not open its socket within 10 s");
        return false;
    }
    return true;
}

} // namespace qormin::test
