#pragma once

#include "platform/FileSystemService.h"

namespace qormin::platform {

class PathMapper;

// The machine's own file system, reached through the path mapping.
class LocalFileSystemService : public FileSystemService {
public:
    explicit LocalFileSystemService(const PathMapper& paths) : m_paths(paths) {}
    bool folderExists(const QString& folder) const override;
    std::optional<QStringList> listFiles(const QString& folder, const QStringList& patterns) const override;
    bool copyFile(const QString& source, const QString& target, bool overwrite) override;
    bool renameFile(const QString& from, const QString& to) override;
    std::optional<QByteArray> readFile(const QString& path) const override;
    bool writeFile(const QString& path, const QByteArray& contents) override;
    QString localPath(const QString& path) const override;

private:
    const PathMapper& m_paths;
};

} // namespace qormin::platform
