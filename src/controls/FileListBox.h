#pragma once

#include <QListWidget>

namespace qormin::platform {
class FileSystemService;
}

namespace qormin::controls {

// A list of the files of one folder, filtered by a pattern. The folder is a Windows folder text
// (\\server\share\dir, X:\dir\); the file-system service finds it on this machine. A folder
// that cannot be read leaves Path and the list as they were; the folder is tried again on each
// Refresh, so a share connected later shows up by itself.
class FileListBox : public QListWidget {
    Q_OBJECT
public:
    explicit FileListBox(platform::FileSystemService& files, QWidget* parent = nullptr);

    QString Path() const { return m_path; }
    // False when the folder cannot be read.
    bool setPath(const QString& path);
    QString Pattern() const { return m_pattern; }
    // Patterns separated by ";" ("*.bak", "*.mdf;*.ndf"); "*.*" lists every file.
    void setPattern(const QString& pattern);
    QString List(int index) const;
    int ListCount() const { return count(); }
    int ListIndex() const { return currentRow(); }
    void setListIndex(int index);
    void Refresh();

Q_SIGNALS:
    void Click();
    void DblClick();

private:
    bool load(const QString& path);
    QStringList patterns() const;

    platform::FileSystemService& m_files;
    QString m_path;
    QString m_wantedPath;
    QString m_pattern = QStringLiteral("*.*");
};

} // namespace qormin::controls
