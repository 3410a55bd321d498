#pragma once

#include <QChar>
#include <QString>

namespace qormin::platform {

// Turns the Windows folder texts typed into the window (\\server\share\dir, X:\dir\) into
// folders this machine can open. On Windows they are used as they stand; elsewhere a share
// resolves to the user's mount of it and a drive letter to the folder linked to that letter.
class PathMapper {
public:
    enum class Platform { Windows, Posix };

    // gvfsRoot: the GVfs mount folder ($XDG_RUNTIME_DIR/gvfs); driveLinkRoot: the folder that
    // holds one entry per linked drive letter, named by the lower-case letter.
    PathMapper(Platform platform, QString gvfsRoot, QString driveLinkRoot);

    static PathMapper forThisSystem();
    static QString defaultDriveLinkRoot();

    // A chosen mount root replaces the GVfs folder: \\server\share\rest -> root/server/share/rest.
    void setMountRoot(const QString& root);
    QString mountRoot() const { return m_mountRoot; }
    QString driveLinkRoot() const { return m_driveLinkRoot; }

    // Empty when the text cannot name a folder here (a share without a share name).
    QString resolve(const QString& path) const;

private:
    QString resolveShare(const QString& slashed) const;
    QString resolveDrive(QChar letter, const QString& rest) const;

    Platform m_platform;
    QString m_gvfsRoot;
    QString m_driveLinkRoot;
    QString m_mountRoot;
};

} // namespace qormin::platform
