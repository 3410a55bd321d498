#include "platform/PathMapper.h"

#include <QStandardPaths>

#ifndef Q_OS_WIN
#include <unistd.h>
#endif

namespace qormin::platform {

namespace {

bool isDriveLetterPath(const QString& path) {
    return path.size() >= 2 && path.at(1) == u':' && path.at(0).isLetter() && path.at(0).unicode() < 128;
}

bool isSharePath(const QString& slashed) {
    return slashed.startsWith(QStringLiteral("//"));
}

QString joined(const QString& folder, const QString& rest) {
    if (rest.isEmpty())
        return folder;
    if (rest.startsWith(u'/'))
        return folder + rest;
    return folder + u'/' + rest;
}

#ifndef Q_OS_WIN
QString runtimeFolder() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty())
        return runtime;
    return QStringLiteral("/run/user/") + QString::number(getuid());
}
#endif

} // namespace

PathMapper::PathMapper(Platform platform, QString gvfsRoot, QString driveLinkRoot)
    : m_platform(platform), m_gvfsRoot(std::move(gvfsRoot)), m_driveLinkRoot(std::move(driveLinkRoot)) {}

PathMapper PathMapper::forThisSystem() {
#ifdef Q_OS_WIN
    return PathMapper(Platform::Windows, QString(), QString());
#else
    return PathMapper(Platform::Posix, runtimeFolder() + QStringLiteral("/gvfs"), defaultDriveLinkRoot());
#endif
}

QString PathMapper::defaultDriveLinkRoot() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/QORMIN DB Tools/drives");
}

void PathMapper::setMountRoot(const QString& root) {
    m_mountRoot = root;
}

QString PathMapper::resolve(const QString& path) const {
    if (m_platform == Platform::Windows || path.isEmpty())
        return path;
    QString slashed = path;
    slashed.replace(u'\\', u'/');
    if (isSharePath(slashed))
        return resolveShare(slashed);
    if (isDriveLetterPath(slashed))
        return resolveDrive(slashed.at(0), slashed.mid(2));
    return slashed;
}

QString PathMapper::resolveShare(const QString& slashed) const {
    const QString afterSlashes = slashed.mid(2);
    const qsizetype serverEnd = afterSlashes.indexOf(u'/');
    if (serverEnd <= 0)
        return QString();
    const QString server = afterSlashes.left(serverEnd);
    const QString afterServer = afterSlashes.mid(serverEnd + 1);
    const qsizetype shareEnd = afterServer.indexOf(u'/');
    const QString share = shareEnd < 0 ? afterServer : afterServer.left(shareEnd);
    if (share.isEmpty())
        return QString();
    const QString rest = shareEnd < 0 ? QString() : afterServer.mid(shareEnd);
    if (!m_mountRoot.isEmpty())
        return joined(m_mountRoot + u'/' + server + u'/' + share, rest);
    // GVfs names its SMB mounts by the lower-cased server and share.
    const QString mount =
        QStringLiteral("smb-share:server=") + server.toLower() + QStringLiteral(",share=") + share.toLower();
    return joined(m_gvfsRoot + u'/' + mount, rest);
}

QString PathMapper::resolveDrive(QChar letter, const QString& rest) const {
    return joined(m_driveLinkRoot + u'/' + letter.toLower(), rest);
}

} // namespace qormin::platform
