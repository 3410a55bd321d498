#pragma once

#include "sim/Scenario.h"
#include "sim/TranscriptEntry.h"

#include <QString>
#include <memory>
#include <vector>

namespace qormin::sim {

// The simulated SQL Server: TDS 7.4 on 127.0.0.1, answering from a scenario and recording a
// transcript. Each connection runs on its own thread; the destructor stops and joins them all.
class SimServer {
public:
    explicit SimServer(Scenario scenario);
    ~SimServer();
    SimServer(const SimServer&) = delete;
    SimServer& operator=(const SimServer&) = delete;

    // Port 0 picks a free port.
    bool start(quint16 port = 0, QString* error = nullptr);
    void stop();
    quint16 port() const;
    // "127.0.0.1,<port>", the form a user types as a server name.
    QString address() const;
    void setTranscriptFile(const QString& path);
    void setKeepTranscriptInMemory(bool keep);
    std::vector<TranscriptEntry> transcript() const;
    void clearTranscript();
    int connectionCount() const;

private:
    class State;
    std::unique_ptr<State> m_state;
};

} // namespace qormin::sim
