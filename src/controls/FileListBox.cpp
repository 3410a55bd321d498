#include "controls/FileListBox.h"

#include "platform/FileSystemService.h"

#include <QTimer>
#include <mutex>
#include <optional>
#include <thread>

namespace qormin::controls {

namespace {

constexpr int pollMilliseconds = 50;
constexpr int silentPollMilliseconds = 500;

} // namespace

// What a listing thread and the list share; the thread may outlive the list.
struct FileListBox::Listing {
    std::mutex mutex;
    bool answered = false;
    std::optional<QStringList> names;
};

FileListBox::FileListBox(platform::FileSystemService& files, QWidget* parent)
    : QListWidget(parent), m_files(files), m_listingPoll(new QTimer(this)) {
    setSelectionMode(QAbstractItemView::SingleSelection);
    connect(this, &QListWidget::itemClicked, this, [this] { Q_EMIT Click(); });
    connect(this, &QListWidget::itemDoubleClicked, this, [this] { Q_EMIT DblClick(); });
    connect(m_listingPoll, &QTimer::timeout, this, &FileListBox::pollListing);
}

FileListBox::~FileListBox() = default;

bool FileListBox::setPath(const QString& path) {
    m_wantedPath = path;
    ++m_generation;
    return load(path);
}

void FileListBox::setPattern(const QString& pattern) {
    m_pattern = pattern;
    ++m_generation;
    load(m_path);
}

QString FileListBox::List(int index) const {
    const QListWidgetItem* entry = item(index);
    return entry == nullptr ? QString() : entry->text();
}

void FileListBox::setListIndex(int index) {
    if (index < -1 || index >= count())
        return;
    setCurrentRow(index);
}

void FileListBox::Refresh() {
    if (m_wantedPath != m_path && load(m_wantedPath))
        return;
    load(m_path);
}

void FileListBox::RefreshInBackground() {
    if (m_listing)
        return;
    startListing(m_wantedPath != m_path && !m_wantedPath.isEmpty() ? m_wantedPath : m_path);
}

void FileListBox::startListing(const QString& path) {
    if (path.isEmpty())
        return;
    auto listing = std::make_shared<Listing>();
    m_listing = listing;
    m_listingPath = path;
    m_listingGeneration = m_generation;
    m_listingSince.start();
    // Detached: a listing stuck on a dead mount must not hold up the window, nor its end.
    std::thread([listing, &files = m_files, path, patterns = patterns()] {
        std::optional<QStringList> names = files.listFiles(path, patterns);
        const std::lock_guard lock(listing->mutex);
        listing->names = std::move(names);
        listing->answered = true;
    }).detach();
    m_listingPoll->start(pollMilliseconds);
}

void FileListBox::pollListing() {
    std::optional<QStringList> names;
    bool answered = false;
    {
        const std::lock_guard lock(m_listing->mutex);
        answered = m_listing->answered;
        names = std::move(m_listing->names);
    }
    if (!answered) {
        if (m_listingSince.elapsed() >= listingLimit.count()) {
            setSilentFolder(m_listingPath);
            m_listingPoll->setInterval(silentPollMilliseconds);
        }
        return;
    }
    m_listing.reset();
    m_listingPoll->stop();
    setSilentFolder(QString());
    if (m_listingGeneration != m_generation)
        return;
    if (names) {
        showFiles(m_listingPath, *names);
        return;
    }
    // The wanted folder cannot be read: the one shown follows its new files as Refresh does.
    if (m_listingPath != m_path)
        startListing(m_path);
}

void FileListBox::setSilentFolder(const QString& folder) {
    if (folder == m_silentFolder)
        return;
    m_silentFolder = folder;
    Q_EMIT silentFolderChanged();
}

bool FileListBox::load(const QString& path) {
    if (path.isEmpty() && m_path.isEmpty())
        return false;
    const std::optional<QStringList> names = m_files.listFiles(path, patterns());
    if (!names)
        return false;
    showFiles(path, *names);
    return true;
}

void FileListBox::showFiles(const QString& path, const QStringList& names) {
    m_path = path;
    setToolTip(path);
    QStringList shown;
    shown.reserve(count());
    for (int i = 0; i < count(); ++i)
        shown.append(item(i)->text());
    if (shown == names)
        return; // the timer refreshes often: an unchanged list keeps its scroll and selection
    const QString selected = currentItem() != nullptr ? currentItem()->text() : QString();
    clear();
    addItems(names);
    const qsizetype again = names.indexOf(selected);
    if (!selected.isEmpty() && again >= 0)
        setCurrentRow(static_cast<int>(again));
}

QStringList FileListBox::patterns() const {
    QStringList list;
    for (const QString& part : m_pattern.split(u';', Qt::SkipEmptyParts)) {
        const QString trimmed = part.trimmed();
        list.append(trimmed == QStringLiteral("*.*") ? QStringLiteral("*") : trimmed);
    }
    if (list.isEmpty())
        list.append(QStringLiteral("*"));
    return list;
}

} // namespace qormin::controls
