#include "sim/SimServer.h"

#include "sim/ConnectionHandler.h"
#include "sim/ConnectionListener.h"
#include "sim/Transcript.h"

#include <QHostAddress>
#include <QThread>
#include <atomic>
#include <mutex>

namespace qormin::sim {

class SimServer::State {
public:
    explicit State(Scenario scenarioToServe) : scenario(std::move(scenarioToServe)) {}

    void accept(qintptr descriptor) {
        std::lock_guard lock(mutex);
        reapFinished();
        const int number = ++connectionsAccepted;
        std::unique_ptr<QThread> thread(QThread::create([this, descriptor, number] {
            ConnectionHandler handler(descriptor, number, scenario.data(), transcript, stopping);
            handler.run();
        }));
        thread->start();
        connections.push_back(std::move(thread));
    }

    // Threads of closed connections are joined as new ones arrive, so a long run keeps few.
    void reapFinished() {
        std::erase_if(connections, [](const std::unique_ptr<QThread>& thread) {
            return thread->isFinished() && thread->wait();
        });
    }

    Scenario scenario;
    Transcript transcript;
    std::atomic_bool stopping{false};
    QThread listenerThread;
    ConnectionListener* listener = nullptr;
    std::mutex mutex;
    std::vector<std::unique_ptr<QThread>> connections;
    int connectionsAccepted = 0;
    quint16 port = 0;
};

SimServer::SimServer(Scenario scenario) : m_state(std::make_unique<State>(std::move(scenario))) {}

SimServer::~SimServer() {
    stop();
}

bool SimServer::start(quint16 port, QString* error) {
    if (m_state->listener != nullptr) {
        return true;
    }
    State* state = m_state.get();
    state->stopping = false;
    state->listener = new ConnectionListener([state](qintptr descriptor) { state->accept(descriptor); });
    state->listener->moveToThread(&state->listenerThread);
    state->listenerThread.start();
    bool listening = false;
    QString listenError;
    QMetaObject::invokeMethod(
        state->listener,
        [&] {
            listening = state->listener->listen(QHostAddress::LocalHost, port);
            state->port = state->listener->serverPort();
            listenError = state->listener->errorString();
        },
        Qt::BlockingQueuedConnection);
    if (!listening) {
        if (error != nullptr) {
            *error = QStringLiteral("cannot listen on 127.0.0.1:%1: %2").arg(port).arg(listenError);
        }
        stop();
        return false;
    }
    return true;
}

void SimServer::stop() {
    State* state = m_state.get();
    if (state->listener != nullptr) {
        QMetaObject::invokeMethod(
            state->listener, [state] { delete state->listener; }, Qt::BlockingQueuedConnection);
        state->listener = nullptr;
        state->listenerThread.quit();
        state->listenerThread.wait();
    }
    state->stopping = true;
    std::lock_guard lock(state->mutex);
    for (auto& thread : state->connections) {
        thread->wait();
    }
    state->connections.clear();
}

quint16 SimServer::port() const {
    return m_state->port;
}

QString SimServer::address() const {
    return QStringLiteral("127.0.0.1,%1").arg(m_state->port);
}

void SimServer::setTranscriptFile(const QString& path) {
    m_state->transcript.setFile(path);
}

void SimServer::setKeepTranscriptInMemory(bool keep) {
    m_state->transcript.setKeepInMemory(keep);
}

std::vector<TranscriptEntry> SimServer::transcript() const {
    return m_state->transcript.entries();
}

void SimServer::clearTranscript() {
    m_state->transcript.clear();
}

int SimServer::connectionCount() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->connectionsAccepted;
}

} // namespace qormin::sim
