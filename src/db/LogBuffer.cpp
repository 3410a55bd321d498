#include "db/LogBuffer.h"

#include "db/SecretMask.h"

#include <algorithm>

namespace qormin::db {

namespace {
const QString lineBreak = QStringLiteral("\r\n");
}

LogBuffer::LogBuffer(QObject* parent) : QObject(parent) {}

void LogBuffer::setLineLimit(qsizetype lines) {
    m_lineLimit = std::max<qsizetype>(lines, 1);
    dropOldest(m_prepended, &LogBuffer::prependedDropped);
    dropOldest(m_appended, &LogBuffer::appendedDropped);
}

// Every line is masked on its way in, so the boxes, their copies and the batch output that
// echoes them never hold a password.
void LogBuffer::prepend(const QString& text) {
    const QString line = maskSecrets(text);
    m_prepended.push_back(line);
    m_size += line.size() + lineBreak.size();
    Q_EMIT prepended(line);
    dropOldest(m_prepended, &LogBuffer::prependedDropped);
}

void LogBuffer::append(const QString& text) {
    const QString line = maskSecrets(text);
    m_appended.push_back(line);
    m_size += line.size() + lineBreak.size();
    Q_EMIT appended(line);
    dropOldest(m_appended, &LogBuffer::appendedDropped);
}

// Dropping a tenth of the limit at a time keeps the views' bookkeeping O(1) per line.
void LogBuffer::dropOldest(std::deque<QString>& lines, void (LogBuffer::*dropped)(qsizetype)) {
    const auto limit = static_cast<std::size_t>(m_lineLimit);
    if (lines.size() <= limit + limit / 10) {
        return;
    }
    const std::size_t count = lines.size() - limit;
    for (std::size_t index = 0; index < count; ++index) {
        m_size -= lines[index].size() + lineBreak.size();
    }
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(count));
    Q_EMIT(this->*dropped)(static_cast<qsizetype>(count));
}

void LogBuffer::clear() {
    m_prepended.clear();
    m_appended.clear();
    m_middle.clear();
    m_size = 0;
    Q_EMIT cleared();
}

void LogBuffer::setText(const QString& text) {
    m_prepended.clear();
    m_appended.clear();
    m_middle = text;
    m_size = text.size();
    Q_EMIT replaced(text);
}

QString LogBuffer::text() const {
    QString text;
    text.reserve(m_size);
    for (auto line = m_prepended.rbegin(); line != m_prepended.rend(); ++line) {
        text += *line;
        text += lineBreak;
    }
    text += m_middle;
    for (const QString& line : m_appended) {
        text += lineBreak;
        text += line;
    }
    return text;
}

bool LogBuffer::isEmpty() const {
    return m_size == 0;
}

} // namespace qormin::db
