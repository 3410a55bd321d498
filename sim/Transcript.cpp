#include "sim/Transcript.h"

#include <QJsonDocument>

namespace qormin::sim {

void Transcript::setFile(const QString& path) {
    std::lock_guard lock(m_mutex);
    m_file.reset();
    if (path.isEmpty()) {
        return;
    }
    auto file = std::make_unique<QFile>(path);
    if (file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        m_file = std::move(file);
    } else {
        qWarning("qormin-sim: cannot write transcript %s: %s", qPrintable(path),
                 qPrintable(file->errorString()));
    }
}

void Transcript::setKeepInMemory(bool keep) {
    std::lock_guard lock(m_mutex);
    m_keepInMemory = keep;
    if (!keep) {
        m_entries.clear();
    }
}

void Transcript::append(QJsonObject json) {
    TranscriptEntry entry;
    entry.connection = json.value(QLatin1String("connection")).toInt();
    entry.kind = json.value(QLatin1String("kind")).toString();
    entry.database = json.value(QLatin1String("database")).toString();
    entry.text = json.value(QLatin1String("text")).toString();
    entry.parameters = json.value(QLatin1String("parameters")).toArray();
    entry.json = std::move(json);
    std::lock_guard lock(m_mutex);
    if (m_file) {
        m_file->write(QJsonDocument(entry.json).toJson(QJsonDocument::Compact) + '\n');
        m_file->flush();
    }
    if (m_keepInMemory) {
        m_entries.push_back(std::move(entry));
    }
}

bool Transcript::isRecording() const {
    std::lock_guard lock(m_mutex);
    return m_keepInMemory || m_file;
}

std::vector<TranscriptEntry> Transcript::entries() const {
    std::lock_guard lock(m_mutex);
    return m_entries;
}

void Transcript::clear() {
    std::lock_guard lock(m_mutex);
    m_entries.clear();
}

} // namespace qormin::sim
