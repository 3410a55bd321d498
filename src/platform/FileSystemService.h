#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace qormin::platform {

// Files and folders named by the Windows folder texts of the window. Implementations map the
// texts to local folders; tests substitute their own.
class FileSystemService {
public:
    virtual ~FileSystemService() = default;
    virtual bool folderExists(const QString& folder) const = 0;
    // Plain files of a folder matching any of the patterns ("*.bak"; case-insensitive), sorted by
    // name; nullopt when the folder cannot be read.
    virtual std::optional<QStringList> listFiles(const QString& folder,
                                                 const QStringList& patterns) const = 0;
    virtual bool copyFile(const QString& source, const QString& target, bool overwrite) = 0;
    virtual bool renameFile(const QString& from, const QString& to) = 0;
    virtual std::optional<QByteArray> readFile(const QString& path) const = 0;
    virtual bool writeFile(const QString& path, const QByteArray& contents) = 0;
    // The local name of a folder text, for widgets that open files themselves.
    virtual QString localPath(const QString& path) const = 0;
};

} // namespace qormin::platform
