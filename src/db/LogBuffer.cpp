#include "db/LogBuffer.h"

namespace qormin::db {

namespace {
const QString lineBreak = QStringLiteral("\r\n");
}

LogBuffer::LogBuffer(QObject* parent) : QObject(parent) {}

void LogBuffer::prepend(const QString& line) {
    m_prepended.push_back(line);
    m_size += line.size() + lineBreak.size();
    Q_EMIT prepended(line);
}

void LogBuffer::append(const QString& line) {
    m_appended.push_back(line);
    m_size += line.size() + lineBreak.size();
    Q_EMIT appended(line);
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

qsizetype LogBuffer::lineCount() const {
    return static_cast<qsizetype>(m_prepended.size() + m_appended.size());
}

bool LogBuffer::isEmpty() const {
    return m_size == 0;
}

} // namespace qormin::db
