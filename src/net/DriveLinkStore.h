#pragma once

#include <QChar>
#include <QList>
#include <QString>
#include <optional>

namespace qormin::net {

class ShareAddress;

// The drive letters mapped on a machine without drive letters: one symbolic link per letter
// ("x" -> the share's local folder) in a folder the path mapping reads, and beside it
// "x.mount" naming the share when this tool mounted it, so that dropping the drives undoes
// exactly those mounts and nothing the desktop mounted.
class DriveLinkStore {
public:
    explicit DriveLinkStore(QString root) : m_root(std::move(root)) {}

    QString root() const { return m_root; }

    // A letter is linked when its entry leads to a folder that is there.
    bool isLinked(QChar letter) const;
    // The entry exists, possibly pointing at a folder that went away (a session ago).
    bool hasEntry(QChar letter) const;
    QString target(QChar letter) const;
    std::optional<ShareAddress> mountedShare(QChar letter) const;
    QList<QChar> letters() const;

    // Empty when done, else why not.
    QString link(QChar letter, const QString& folder, const std::optional<ShareAddress>& mounted);
    // Removes the link and its mount note; never anything a link points to.
    QString remove(QChar letter);

private:
    QString entryPath(QChar letter) const;
    QString mountNotePath(QChar letter) const;

    QString m_root;
};

} // namespace qormin::net
