#include "SambaTestServer.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#ifdef Q_OS_UNIX
#include <pwd.h>
#include <unistd.h>
#endif

namespace qormin::test {

namespace {

// smbd and smbpasswd live in sbin, which is not on every user's PATH.
QString findTool(const QString& name) {
    const QString onPath = QStandardPaths::findExecutable(name);
    if (!onPath.isEmpty())
        return onPath;
    return QStandardPaths::findExecutable(name, {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")});
}

QString currentUser() {
#ifdef Q_OS_UNIX
    if (const passwd* entry = getpwuid(geteuid()))
        return QString::fromLocal8Bit(entry->pw_name);
#endif
    return qEnvironmentVariable("USER");
}

int freeLoopbackPort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        return 0;
    return probe.serverPort();
}

} // namespace

SambaTestServer::SambaTestServer() = default;

SambaTestServer::~SambaTestServer() {
    stop();
}

QString SambaTestServer::serverText() const {
    return host() + u':' + QString::number(m_port);
}

QString SambaTestServer::backupFolder() const {
    return m_folder ? m_folder->filePath(QStringLiteral("backup")) : QString();
}

bool SambaTestServer::start(QString& whyNot) {
    const QString smbd = findTool(QStringLiteral("smbd"));
    const QString smbpasswd = findTool(QStringLiteral("smbpasswd"));
    if (smbd.isEmpty() || smbpasswd.isEmpty()) {
        whyNot = QStringLiteral("smbd/smbpasswd not found (Debian packages samba, smbclient)");
        return false;
    }
    m_folder = std::make_unique<QTemporaryDir>();
    m_user = currentUser();
    m_port = freeLoopbackPort();
    if (!m_folder->isValid() || m_user.isEmpty() || m_port == 0) {
        whyNot = QStringLiteral("no temporary folder, user name or free loopback port");
        return false;
    }
    if (!writeConfiguration(whyNot) || !addUser(smbpasswd, whyNot))
        return false;
    m_smbd.setProgram(smbd);
    m_smbd.setArguments({QStringLiteral("--foreground"), QStringLiteral("--debug-stdout"),
                         QStringLiteral("--debuglevel=1"),
                         QStringLiteral("--configfile=") + m_folder->filePath(QStringLiteral("smb.conf"))});
    m_smbd.setProcessChannelMode(QProcess::MergedChannels);
    m_smbd.start();
    if (!m_smbd.waitForStarted()) {
        whyNot = QStringLiteral("smbd did not start: ") + m_smbd.errorString();
        return false;
    }
    return waitUntilListening(whyNot);
}

bool SambaTestServer::writeConfiguration(QString& whyNot) {
    const QString root = m_folder->path();
    for (const char* sub : {"backup", "private", "lock", "state", "cache", "pid", "ncalrpc", "log"})
        QDir(root).mkpath(QString::fromLatin1(sub));
    QFile configuration(m_folder->filePath(QStringLiteral("smb.conf")));
    if (!configuration.open(QIODevice::WriteOnly)) {
        whyNot = QStringLiteral("cannot write smb.conf");
        return false;
    }
    const QString text = QStringLiteral("[global]\n"
                                        "  server role = standalone server\n"
                                        "  workgroup = WORKGROUP\n"
                                        "  netbios name = QORMINTEST\n"
                                        "  interfaces = 127.0.0.1\n"
                                        "  bind interfaces only = yes\n"
                                        "  smb ports = %1\n"
                                        "  disable netbios = yes\n"
                                        "  server min protocol = SMB2\n"
                                        "  map to guest = never\n"
                                        "  passdb backend = tdbsam:%2/private/passdb.tdb\n"
                                        "  private dir = %2/private\n"
                                        "  lock directory = %2/lock\n"
                                        "  state directory = %2/state\n"
                                        "  cache directory = %2/cache\n"
                                        "  pid directory = %2/pid\n"
                                        "  ncalrpc dir = %2/ncalrpc\n"
                                        "  log file = %2/log/log.%m\n"
                                        "  load printers = no\n"
                                        "  printing = bsd\n"
                                        "  printcap name = /dev/null\n"
                                        "  disable spoolss = yes\n"
                                        "[backup]\n"
                                        "  path = %2/backup\n"
                                        "  read only = no\n")
                             .arg(m_port)
                             .arg(m_folder->path());
    configuration.write(text.toUtf8());
    return true;
}

bool SambaTestServer::addUser(const QString& smbpasswd, QString& whyNot) {
    QProcess add;
    add.setProcessChannelMode(QProcess::MergedChannels);
    add.start(smbpasswd, {QStringLiteral("-c"), m_folder->filePath(QStringLiteral("smb.conf")),
                          QStringLiteral("-s"), QStringLiteral("-a"), m_user});
    add.write((m_password + u'\n' + m_password + u'\n').toUtf8());
    add.closeWriteChannel();
    if (add.waitForFinished() && add.exitStatus() == QProcess::NormalExit && add.exitCode() == 0)
        return true;
    whyNot = QStringLiteral("smbpasswd could not add ") + m_user + QStringLiteral(": ") +
             QString::fromLocal8Bit(add.readAll()).trimmed();
    return false;
}

bool SambaTestServer::waitUntilListening(QString& whyNot) {
    const QDeadlineTimer deadline(std::chrono::seconds(30));
    while (!deadline.hasExpired()) {
        if (m_smbd.state() == QProcess::NotRunning) {
            whyNot = QStringLiteral("smbd ended: ") + QString::fromLocal8Bit(m_smbd.readAll()).trimmed();
            return false;
        }
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(m_port));
        if (socket.waitForConnected(1000))
            return true;
        QThread::msleep(100);
    }
    whyNot = QStringLiteral("smbd did not listen on port ") + QString::number(m_port);
    return false;
}

void SambaTestServer::stop() {
    if (m_smbd.state() == QProcess::NotRunning)
        return;
    m_smbd.terminate();
    if (!m_smbd.waitForFinished(10000)) {
        m_smbd.kill();
        m_smbd.waitForFinished();
    }
}

} // namespace qormin::test
