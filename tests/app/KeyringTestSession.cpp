#include "KeyringTestSession.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>

namespace qormin::test {

namespace {

constexpr const char* keyringPassword = "known keyring password";

QString missingProgram() {
    const char* const programs[][2] = {{"dbus-daemon", "dbus"},
                                       {"dbus-send", "dbus-bin"},
                                       {"gnome-keyring-daemon", "gnome-keyring"},
                                       {"secret-tool", "libsecret-tools"}};
    for (const auto& [program, package] : programs) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
            return QStringLiteral("%1 is not installed (package %2)")
                .arg(QLatin1String(program), QLatin1String(package));
    }
    return QString();
}

} // namespace

KeyringTestSession::~KeyringTestSession() {
    PrivateSessionBus::stop(m_keyring);
    m_bus.stop();
}

QString KeyringTestSession::settingsFile() const {
    return m_folder.filePath(QStringLiteral("config/QORMIN DB Tools/settings.ini"));
}

bool KeyringTestSession::start(QString& whyNot) {
    whyNot = missingProgram();
    if (!whyNot.isEmpty())
        return false;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The daemon keeps its keyrings under the home it is given, never the user's own.
    const std::pair<const char*, const char*> folders[] = {{"HOME", "home"},
                                                           {"XDG_DATA_HOME", "data"},
                                                           {"XDG_CONFIG_HOME", "config"},
                                                           {"XDG_CACHE_HOME", "cache"}};
    for (const auto& [variable, name] : folders) {
        QDir().mkpath(m_folder.filePath(QLatin1String(name)));
        environment.insert(QLatin1String(variable), m_folder.filePath(QLatin1String(name)));
    }
    if (!m_bus.start(environment, whyNot))
        return false;
    m_environment = m_bus.environment();
    // In the foreground the daemon keeps the environment given; daemonized it takes the
    // user's real home.
    m_keyring.setProcessEnvironment(m_environment);
    PrivateSessionBus::endWithTheTest(m_keyring);
    m_keyring.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_keyring.start(
        QStringLiteral("gnome-keyring-daemon"),
        {QStringLiteral("--foreground"), QStringLiteral("--unlock"), QStringLiteral("--components=secrets")});
    if (!m_keyring.waitForStarted()) {
        whyNot = QStringLiteral("gnome-keyring-daemon did not start: ") + m_keyring.errorString();
        return false;
    }
    // The daemon reads the password to its input's end; nothing turns an event loop here to
    // send it on its own.
    m_keyring.write(keyringPassword);
    m_keyring.waitForBytesWritten();
    m_keyring.closeWriteChannel();
    if (!waitForKeyring()) {
        whyNot = QStringLiteral("gnome-keyring-daemon did not take the Secret Service name on the bus");
        return false;
    }
    return true;
}

// Asked before the name is taken, the bus would start a second daemon of its own.
bool KeyringTestSession::waitForKeyring() const {
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    while (!deadline.hasExpired()) {
        QProcess ask;
        ask.setProcessEnvironment(m_environment);
        ask.start(QStringLiteral("dbus-send"),
                  {QStringLiteral("--session"), QStringLiteral("--print-reply"),
                   QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                   QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                   QStringLiteral("string:org.freedesktop.secrets")});
        ask.waitForFinished(5000);
        if (ask.readAllStandardOutput().contains("boolean true"))
            return true;
        QThread::msleep(50);
    }
    return false;
}

QString KeyringTestSession::lookup(const QString& key) const {
    QProcess tool;
    tool.setProcessEnvironment(m_environment);
    tool.start(QStringLiteral("secret-tool"),
               {QStringLiteral("lookup"), QStringLiteral("server"), QStringLiteral("QORMIN DB Tools"),
                QStringLiteral("user"), key});
    tool.waitForFinished(10000);
    return QString::fromUtf8(tool.readAllStandardOutput());
}

} // namespace qormin::test
