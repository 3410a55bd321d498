#pragma once

#include <QElapsedTimer>
#include <QListWidget>
#include <chrono>
#include <memory>

class QTimer;

namespace qormin::platform {
class FileSystemService;
}

namespace qormin::controls {

// A list of the files of one folder, filtered by a pattern. The folder is a Windows folder text
// (\\server\share\dir, X:\dir\); the file-system service finds it on this machine. A folder
// that cannot be read leaves Path and the list as they were; the folder is tried again on each
// Refresh, so a share connected later shows up by itself.
//
// The backup folders are network mounts, and a hung mount blocks whoever lists it, so the timer
// lists them with RefreshInBackground: on a thread of its own, the answer shown when it comes.
// A listing that has not answered within listingLimit is left to itself (never waited for) and
// the folder named by silentFolder(); the last list read stays. One listing per list at a time,
// so a hung mount holds one thread, not one per tick; its late answer still counts.
class FileListBox : public QListWidget {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds listingLimit{2000};

    explicit FileListBox(platform::FileSystemService& files, QWidget* parent = nullptr);
    ~FileListBox() override;

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
    void RefreshInBackground();
    // The folder whose listing is over its limit; empty when every listing answered in time.
    QString silentFolder() const { return m_silentFolder; }

Q_SIGNALS:
    void Click();
    void DblClick();
    void silentFolderChanged();

private:
    struct Listing;

    bool load(const QString& path);
    void showFiles(const QString& path, const QStringList& names);
    QStringList patterns() const;
    void startListing(const QString& path);
    void pollListing();
    void setSilentFolder(const QString& folder);

    platform::FileSystemService& m_files;
    QString m_path;
    QString m_wantedPath;
    QString m_pattern = QStringLiteral("*.*");
    unsigned m_generation = 0; // a new path or pattern makes a listing under way stale
    std::shared_ptr<Listing> m_listing;
    QString m_listingPath;
    unsigned m_listingGeneration = 0;
    QElapsedTimer m_listingSince;
    QTimer* m_listingPoll;
    QString m_silentFolder;
};

} // namespace qormin::controls
