#include "GvfsTestSession.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>

namespace qormin::test {

namespace {

bool isMounted(const QString& folder) {
    QFile mounts(QStringLiteral("/proc/self/mounts"));
    if (!mounts.open(QIODevice::ReadOnly))
        return false;
    return mounts.readAll().contains(' ' + folder.toUtf8() + ' ');
}

// What GVfs needs; the first thing missing is the reason.
QString missingPiece() {
    if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
        return QStringLiteral("dbus-daemon is not installed (package dbus)");
    if (QStandardPaths::findExecutable(QStringLiteral("gio")).isEmpty())
        return QStringLiteral("gio is not installed (package libglib2.0-bin)");
    const char* const daemons[][2] = {
        {"gvfsd", "gvfs"}, {"gvfsd-smb", "gvfs-backends"}, {"gvfsd-fuse", "gvfs-fuse"}};
    for (const auto& [daemon, package] : daemons) {
        const QString name = QString::fromLatin1(daemon);
        if (!QFileInfo(QStringLiteral("/usr/libexec/") + name).isExecutable() &&
            !QFileInfo(QStringLiteral("/usr/lib/gvfs/") + name).isExecutable())
            return name + QStringLiteral(" is not installed (package %1)").arg(QLatin1String(package));
    }
    QFile fuse(QStringLiteral("/dev/fuse"));
    if (!fuse.open(QIODevice::ReadWrite))
        return QStringLiteral("/dev/fuse cannot be opened: ") + fuse.errorString();
    return QString();
}

} // namespace

QString GvfsTestSession::gvfsFolder() const {
    return m_folder.filePath(QStringLiteral("runtime/gvfs"));
}

bool GvfsTestSession::start(QString& whyNot) {
    whyNot = missingPiece();
    if (!whyNot.isEmpty())
        return false;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The volume monitors of a desktop (udisks, MTP, ...) have nothing to do here.
    environment.insert(QStringLiteral("GVFS_REMOTE_VOLUME_MONITOR_IGNORE"), QStringLiteral("1"));
    // The bus starts gvfsd and gvfsd-fuse: they see the session's runtime folder, so the FUSE
    // folder lands there and not in ~/.cache/gvfs.
    if (!m_bus.start(environment, whyNot))
        return false;
    m_environment = m_bus.environment();
    return true;
}

// gvfsd-fuse leaves when its bus goes; until its folder is unmounted the temporary folder
// must not be removed, or removing it would walk into the share.
GvfsTestSession::~GvfsTestSession() {
    m_bus.stop();
    const QString folder = gvfsFolder();
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    while (isMounted(folder) && !deadline.hasExpired())
        QThread::msleep(50);
    if (!isMounted(folder))
        return;
    QProcess::execute(QStringLiteral("fusermount3"), {QStringLiteral("-u"), QStringLiteral("-z"), folder});
    if (isMounted(folder))
        m_folder.setAutoRemove(false);
}

} // namespace qormin::test
