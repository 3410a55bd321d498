#include "app/LogModel.h"

#include "db/LogBuffer.h"

#include <algorithm>

namespace qormin::app {

namespace {

enum Region { Prepended = 0, Appended = 1 };

// Calls found(start, length) for every line of text; CR LF is one break, a lone CR or LF too.
template <typename Found> void forEachLine(const QString& text, Found found) {
    qsizetype start = 0;
    const qsizetype size = text.size();
    for (qsizetype at = 0; at < size; ++at) {
        const QChar c = text.at(at);
        if (c != u'\r' && c != u'\n')
            continue;
        found(start, at - start);
        if (c == u'\r' && at + 1 < size && text.at(at + 1) == u'\n')
            ++at;
        start = at + 1;
    }
    found(start, size - start);
}

QStringList splitLines(const QString& text) {
    QStringList lines;
    forEachLine(text, [&](qsizetype start, qsizetype length) { lines.append(text.mid(start, length)); });
    return lines;
}

// Running totals of the lines of entries [0, count).
template <typename EntryAt> std::vector<qsizetype> lineEnds(qsizetype count, EntryAt entryAt) {
    std::vector<qsizetype> ends;
    ends.reserve(static_cast<std::size_t>(count));
    qsizetype total = 0;
    for (qsizetype index = 0; index < count; ++index) {
        total += LogModel::lineCountOf(entryAt(index));
        ends.push_back(total);
    }
    return ends;
}

qsizetype totalOf(const std::vector<qsizetype>& ends) {
    return ends.empty() ? 0 : ends.back();
}

} // namespace

LogModel::LogModel(db::LogBuffer& buffer, QObject* parent) : QAbstractListModel(parent), m_buffer(buffer) {
    reload();
    connect(&buffer, &db::LogBuffer::prepended, this, &LogModel::prependEntry);
    connect(&buffer, &db::LogBuffer::appended, this, &LogModel::appendEntry);
    connect(&buffer, &db::LogBuffer::prependedDropped, this, &LogModel::dropOldestPrepended);
    connect(&buffer, &db::LogBuffer::appendedDropped, this, &LogModel::dropOldestAppended);
    const auto reset = [this] {
        beginResetModel();
        reload();
        endResetModel();
    };
    connect(&buffer, &db::LogBuffer::cleared, this, reset);
    connect(&buffer, &db::LogBuffer::replaced, this, reset);
}

qsizetype LogModel::lineCountOf(const QString& text) {
    qsizetype count = 0;
    forEachLine(text, [&count](qsizetype, qsizetype) { ++count; });
    return count;
}

int LogModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid())
        return 0;
    return static_cast<int>(totalOf(m_prependedEnds) + m_middleLines.size() + totalOf(m_appendedEnds));
}

QVariant LogModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= rowCount())
        return {};
    return line(index.row());
}

QString LogModel::line(int row) const {
    qsizetype rest = row;
    const qsizetype prepended = totalOf(m_prependedEnds);
    if (rest < prepended) {
        // The newest entry is at the back and shows on top: count from the bottom of the region.
        const qsizetype fromBottom = prepended - 1 - rest;
        const auto end = std::upper_bound(m_prependedEnds.begin(), m_prependedEnds.end(), fromBottom);
        return lineOfEntry(Prepended, end - m_prependedEnds.begin(), *end - 1 - fromBottom);
    }
    rest -= prepended;
    if (rest < m_middleLines.size())
        return m_middleLines.at(rest);
    rest -= m_middleLines.size();
    const auto end = std::upper_bound(m_appendedEnds.begin(), m_appendedEnds.end(), rest);
    if (end == m_appendedEnds.end())
        return {};
    const qsizetype entry = end - m_appendedEnds.begin();
    return lineOfEntry(Appended, entry, rest - (entry == 0 ? 0 : m_appendedEnds[entry - 1]));
}

QString LogModel::lines(int first, int last) const {
    QString text;
    for (int row = first; row <= last; ++row) {
        if (row > first)
            text += u'\n';
        text += line(row);
    }
    return text;
}

QString LogModel::lineOfEntry(int region, qsizetype entry, qsizetype lineInEntry) const {
    const QString& text = region == Prepended ? m_buffer.prependedAt(entry) : m_buffer.appendedAt(entry);
    const auto& ends = region == Prepended ? m_prependedEnds : m_appendedEnds;
    const qsizetype count = ends[entry] - (entry == 0 ? 0 : ends[entry - 1]);
    if (count == 1)
        return text;
    if (m_cachedRegion != region || m_cachedEntry != entry) {
        m_cachedLines = splitLines(text);
        m_cachedRegion = region;
        m_cachedEntry = entry;
    }
    return m_cachedLines.at(lineInEntry);
}

void LogModel::prependEntry(const QString& text) {
    const qsizetype count = lineCountOf(text);
    beginInsertRows(QModelIndex(), 0, static_cast<int>(count - 1));
    m_prependedEnds.push_back(totalOf(m_prependedEnds) + count);
    endInsertRows();
}

void LogModel::appendEntry(const QString& text) {
    const qsizetype count = lineCountOf(text);
    const int first = rowCount();
    beginInsertRows(QModelIndex(), first, static_cast<int>(first + count - 1));
    m_appendedEnds.push_back(totalOf(m_appendedEnds) + count);
    endInsertRows();
}

// The oldest entries put on top are the lowest rows of that region.
void LogModel::dropOldestPrepended(qsizetype count) {
    const qsizetype total = totalOf(m_prependedEnds);
    const qsizetype lines = m_prependedEnds[static_cast<std::size_t>(count - 1)];
    beginRemoveRows(QModelIndex(), static_cast<int>(total - lines), static_cast<int>(total - 1));
    dropFront(m_prependedEnds, count);
    m_cachedRegion = -1;
    endRemoveRows();
}

// The oldest entries put at the end are the rows right below the middle text.
void LogModel::dropOldestAppended(qsizetype count) {
    const qsizetype first = totalOf(m_prependedEnds) + m_middleLines.size();
    const qsizetype lines = m_appendedEnds[static_cast<std::size_t>(count - 1)];
    beginRemoveRows(QModelIndex(), static_cast<int>(first), static_cast<int>(first + lines - 1));
    dropFront(m_appendedEnds, count);
    m_cachedRegion = -1;
    endRemoveRows();
}

void LogModel::dropFront(std::vector<qsizetype>& ends, qsizetype count) {
    const qsizetype lines = ends[static_cast<std::size_t>(count - 1)];
    ends.erase(ends.begin(), ends.begin() + count);
    for (qsizetype& end : ends) {
        end -= lines;
    }
}

void LogModel::reload() {
    m_prependedEnds = lineEnds(m_buffer.prependedCount(), [this](qsizetype index) -> const QString& {
        return m_buffer.prependedAt(index);
    });
    m_appendedEnds = lineEnds(m_buffer.appendedCount(), [this](qsizetype index) -> const QString& {
        return m_buffer.appendedAt(index);
    });
    m_middleLines = splitLines(m_buffer.middle());
    m_cachedRegion = -1;
    m_cachedEntry = -1;
    m_cachedLines.clear();
}

} // namespace qormin::app
