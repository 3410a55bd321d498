#pragma once

#include <QObject>
#include <QString>
#include <deque>

namespace qormin::db {

// The text of a log box (txtLog, txtErrs). prepend(line) makes the text line + CRLF + old
// text, append(line) makes old text + CRLF + line, exactly; each costs O(1) instead of
// copying the whole text, and views follow through the signals instead of re-reading it.
// A box keeps its newest lines only (lineLimit() of those put on top and as many at the
// end), so a night of backups does not grow the program without bound: once a tenth more
// has gathered, the oldest go at once.
class LogBuffer : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype defaultLineLimit = 100000;

    explicit LogBuffer(QObject* parent = nullptr);

    qsizetype lineLimit() const { return m_lineLimit; }
    void setLineLimit(qsizetype lines);

    void prepend(const QString& line);
    void append(const QString& line);
    void clear();
    // Replaces the whole text (a user editing the box); later lines go around it.
    void setText(const QString& text);

    QString text() const;
    bool isEmpty() const;

    // The pieces of the text, for views that show it line by line: the lines put on top and at
    // the end (each oldest first) and the text they surround.
    qsizetype prependedCount() const { return static_cast<qsizetype>(m_prepended.size()); }
    const QString& prependedAt(qsizetype index) const { return m_prepended[static_cast<std::size_t>(index)]; }
    const QString& middle() const { return m_middle; }
    qsizetype appendedCount() const { return static_cast<qsizetype>(m_appended.size()); }
    const QString& appendedAt(qsizetype index) const { return m_appended[static_cast<std::size_t>(index)]; }

Q_SIGNALS:
    void prepended(const QString& line); // the text now starts with line + CRLF
    void appended(const QString& line);  // the text now ends with CRLF + line
    void cleared();
    void replaced(const QString& text);
    // The oldest lines put on top (at the end) were dropped: the first count of prependedAt()
    // (appendedAt()) as they were before.
    void prependedDropped(qsizetype count);
    void appendedDropped(qsizetype count);

private:
    void dropOldest(std::deque<QString>& lines, void (LogBuffer::*dropped)(qsizetype));

    std::deque<QString> m_prepended; // oldest first, so the newest is at the back
    QString m_middle;
    std::deque<QString> m_appended;
    qsizetype m_size = 0;
    qsizetype m_lineLimit = defaultLineLimit;
};

} // namespace qormin::db
