#include "net/DriveLinkStore.h"

#include "net/ShareAddress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace qormin::net {

namespace {

bool isLetter(QChar letter) {
    return letter.unicode() < 128 && letter.isLetter();
}

} // namespace

QString DriveLinkStore::entryPath(QChar letter) const {
    return m_root + u'/' + letter.toLower();
}

QString DriveLinkStore::mountNotePath(QChar letter) const {
    return entryPath(letter) + QStringLiteral(".mount");
}

bool DriveLinkStore::isLinked(QChar letter) const {
    return isLetter(letter) && QFileInfo(entryPath(letter)).isDir();
}

bool DriveLinkStore::hasEntry(QChar letter) const {
    if (!isLetter(letter))
        return false;
    const QFileInfo entry(entryPath(letter));
    return entry.isSymLink() || entry.exists();
}

QString DriveLinkStore::target(QChar letter) const {
    const QFileInfo entry(entryPath(letter));
    return entry.isSymLink() ? entry.symLinkTarget() : entry.absoluteFilePath();
}

std::optional<ShareAddress> DriveLinkStore::mountedShare(QChar letter) const {
    QFile note(mountNotePath(letter));
    if (!note.open(QIODevice::ReadOnly))
        return std::nullopt;
    return ShareAddress::parse(QString::fromUtf8(note.readAll()).trimmed());
}

QList<QChar> DriveLinkStore::letters() const {
    QList<QChar> found;
    for (char16_t letter = u'a'; letter <= u'z'; ++letter) {
        if (hasEntry(QChar(letter)))
            found << QChar(letter);
    }
    return found;
}

QString DriveLinkStore::link(QChar letter, const QString& folder,
                             const std::optional<ShareAddress>& mounted) {
    if (!isLetter(letter))
        return QStringLiteral("not a drive letter: ") + letter;
    if (!QDir().mkpath(m_root))
        return QStringLiteral("cannot create ") + m_root;
    QFile::setPermissions(m_root, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (!QFile::link(folder, entryPath(letter)))
        return QStringLiteral("cannot create the link ") + entryPath(letter);
    if (!mounted)
        return QString();
    QFile note(mountNotePath(letter));
    if (!note.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        note.write(mounted->remoteName().toUtf8()) < 0) {
        QFile::remove(entryPath(letter));
        return QStringLiteral("cannot write ") + note.fileName();
    }
    return QString();
}

QString DriveLinkStore::remove(QChar letter) {
    const QFileInfo entry(entryPath(letter));
    if (entry.exists() && !entry.isSymLink())
        return entryPath(letter) + QStringLiteral(" is a folder, not a drive link; it is left alone");
    if (entry.isSymLink() && !QFile::remove(entryPath(letter)))
        return QStringLiteral("cannot remove the link ") + entryPath(letter);
    QFile::remove(mountNotePath(letter));
    return QString();
}

} // namespace qormin::net
