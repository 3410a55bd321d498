#include "platform/LocalFileSystemService.h"

#include "platform/PathMapper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace qormin::platform {

QString LocalFileSystemService::localPath(const QString& path) const {
    return m_paths.resolve(path);
}

bool LocalFileSystemService::folderExists(const QString& folder) const {
    const QString local = localPath(folder);
    return !local.isEmpty() && QFileInfo(local).isDir();
}

std::optional<QStringList> LocalFileSystemService::listFiles(const QString& folder,
                                                             const QStringList& patterns) const {
    const QString local = localPath(folder);
    if (local.isEmpty())
        return std::nullopt;
    const QDir dir(local);
    if (!dir.exists() || !dir.isReadable())
        return std::nullopt;
    return dir.entryList(patterns, QDir::Files, QDir::Name | QDir::IgnoreCase);
}

bool LocalFileSystemService::copyFile(const QString& source, const QString& target, bool overwrite) {
    const QString to = localPath(target);
    if (overwrite && QFileInfo::exists(to) && !QFile::remove(to))
        return false;
    return QFile::copy(localPath(source), to);
}

bool LocalFileSystemService::renameFile(const QString& from, const QString& to) {
    return QFile::rename(localPath(from), localPath(to));
}

std::optional<QByteArray> LocalFileSystemService::readFile(const QString& path) const {
    QFile file(localPath(path));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

bool LocalFileSystemService::writeFile(const QString& path, const QByteArray& contents) {
    QSaveFile file(localPath(path));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(contents);
    return file.commit();
}

} // namespace qormin::platform
