#include "controls/FileListBox.h"

#include "platform/FileSystemService.h"

namespace qormin::controls {

FileListBox::FileListBox(platform::FileSystemService& files, QWidget* parent)
    : QListWidget(parent), m_files(files) {
    setSelectionMode(QAbstractItemView::SingleSelection);
    connect(this, &QListWidget::itemClicked, this, [this] { Q_EMIT Click(); });
    connect(this, &QListWidget::itemDoubleClicked, this, [this] { Q_EMIT DblClick(); });
}

bool FileListBox::setPath(const QString& path) {
    m_wantedPath = path;
    return load(path);
}

void FileListBox::setPattern(const QString& pattern) {
    m_pattern = pattern;
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

bool FileListBox::load(const QString& path) {
    if (path.isEmpty() && m_path.isEmpty())
        return false;
    const std::optional<QStringList> names = m_files.listFiles(path, patterns());
    if (!names)
        return false;
    m_path = path;
    setToolTip(path);
    QStringList shown;
    shown.reserve(count());
    for (int i = 0; i < count(); ++i)
        shown.append(item(i)->text());
    if (shown == *names)
        return true; // the timer refreshes often: an unchanged list keeps its scroll and selection
    const QString selected = currentItem() != nullptr ? currentItem()->text() : QString();
    clear();
    addItems(*names);
    const qsizetype again = names->indexOf(selected);
    if (!selected.isEmpty() && again >= 0)
        setCurrentRow(static_cast<int>(again));
    return true;
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
