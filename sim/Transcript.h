#pragma once

#include "sim/TranscriptEntry.h"

#include <QFile>
#include <memory>
#include <mutex>
#include <vector>

namespace qormin::sim {

// Thread-safe record of what every connection received, kept in memory and optionally appended
// to a file as JSON lines (flushed per line, so a crash loses nothing already seen).
class Transcript {
public:
    void setFile(const QString& path);
    // A server that runs for days (the program, the demo) keeps nothing in memory; tests do.
    void setKeepInMemory(bool keep);
    void append(QJsonObject json);
    // Whether anything appended is kept or written: a server that records nothing need not
    // describe what it receives.
    bool isRecording() const;
    std::vector<TranscriptEntry> entries() const;
    void clear();

private:
    mutable std::mutex m_mutex;
    std::vector<TranscriptEntry> m_entries;
    std::unique_ptr<QFile> m_file;
    bool m_keepInMemory = true;
};

} // namespace qormin::sim
