#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <vector>

namespace qormin::db {
class LogBuffer;
}

namespace qormin::app {

// The lines of a log box's text, as rows: the buffer's text split at every line break (CR LF,
// CR or LF), newest entry on top, so a logged statement shows all its lines. Keeps only a
// running line count per entry; a line's text is cut out of its entry when a view asks for it.
class LogModel : public QAbstractListModel {
    Q_OBJECT
public:
    explicit LogModel(db::LogBuffer& buffer, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    QString line(int row) const;
    // Rows first to last joined by line feeds (what a copy of those lines gives).
    QString lines(int first, int last) const;

    // The number of lines a log entry shows.
    static qsizetype lineCountOf(const QString& text);

private:
    void prependEntry(const QString& text);
    void appendEntry(const QString& text);
    void dropOldestPrepended(qsizetype count);
    void dropOldestAppended(qsizetype count);
    static void dropFront(std::vector<qsizetype>& ends, qsizetype count);
    void reload();
    QString lineOfEntry(int region, qsizetype entry, qsizetype lineInEntry) const;

    db::LogBuffer& m_buffer;
    // Running line totals, oldest entry first, of the entries before and after the middle text.
    std::vector<qsizetype> m_prependedEnds;
    std::vector<qsizetype> m_appendedEnds;
    QStringList m_middleLines;

    // The lines of the last multi-line entry asked for: a view asks for neighbouring rows.
    mutable int m_cachedRegion = -1;
    mutable qsizetype m_cachedEntry = -1;
    mutable QStringList m_cachedLines;
};

} // namespace qormin::app
