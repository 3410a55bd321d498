#include "sim/SimServer.h"

#include "sim/ConnectionHandler.h"
#include "sim/ConnectionListener.h"
#include "sim/Transcript.h"

#include <QEventLoop>
#include <QHostAddress>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace qormin::sim {

// How the listening thread tells start() whether it listens.
struct ListenOutcome {
    std::mutex mutex;
    std::condition_variable known;
    bool decided = false;
    bool listening = false;
    QString error;
};

// Threads are std::thread, joined, rather than QThread: a join is a hand-over that
// ThreadSanitizer sees, while QThread::wait() synchronises inside Qt where it cannot.
class SimServer::State {
public:
    explicit State(Scenario scenarioToServe) : scenario(std::move(scenarioToServe)) {}

    struct Connection {
        std::thread thread;
        std::atomic_bool finished{false};
    };

    void accept(qintptr descriptor) {
        std::lock_guard lock(mutex);
        reapFinished();
        const int number = ++connectionsAccepted;
        auto connection = std::make_unique<Connection>();
        Connection* running = connection.get();
        running->thread = std::thread([this, descriptor, number, running] {
            {
                ConnectionHandler handler(descriptor, number, scenario.data(), transcript, stopping);
                handler.run();
            }
            running->finished = true;
        });
        connections.push_back(std::move(connection));
    }

    // Threads of closed connections are joined as new ones arrive, so a long run keeps few.
    void reapFinished() {
        std::erase_if(connections, [](const std::unique_ptr<Connection>& connection) {
            if (!connection->finished) {
                return false;
            }
            connection->thread.join();
            return true;
        });
    }

    // The listening thread: accepts until its event loop is told to quit.
    void listen(quint16 requestedPort, ListenOutcome& outcome) {
        QEventLoop loop;
        ConnectionListener listener([this](qintptr descriptor) { accept(descriptor); });
        const bool listening = listener.listen(QHostAddress::LocalHost, requestedPort);
        {
            std::lock_guard lock(outcome.mutex);
            port = listener.serverPort();
            listenerLoop = listening ? &loop : nullptr;
            outcome.listening = listening;
            outcome.error = listener.errorString();
            outcome.decided = true;
            // Under the lock: start() owns outcome and returns as soon as it sees it decided.
            outcome.known.notify_one();
        }
        if (listening) {
            loop.exec();
        }
    }

    Scenario scenario;
    Transcript transcript;
    std::atomic_bool stopping{false};
    std::thread listenerThread;
    QEventLoop* listenerLoop = nullptr; // set by the listening thread before start() returns
    std::mutex mutex;
    std::vector<std::unique_ptr<Connection>> connections;
    int connectionsAccepted = 0;
    quint16 port = 0;
};

SimServer::SimServer(Scenario scenario) : m_state(std::make_unique<State>(std::move(scenario))) {}

SimServer::~SimServer() {
    stop();
}

bool SimServer::start(quint16 port, QString* error) {
    State* state = m_state.get();
    if (state->listenerThread.joinable()) {
        return true;
    }
    state->stopping = false;
    ListenOutcome outcome;
    state->listenerThread = std::thread([state, port, &outcome] { state->listen(port, outcome); });
    std::unique_lock lock(outcome.mutex);
    outcome.known.wait(lock, [&outcome] { return outcome.decided; });
    if (outcome.listening) {
        return true;
    }
    lock.unlock();
    if (error != nullptr) {
        *error = QStringLiteral("cannot listen on 127.0.0.1:%1: %2").arg(port).arg(outcome.error);
    }
    stop();
    return false;
}

void SimServer::stop() {
    State* state = m_state.get();
    if (state->listenerThread.joinable()) {
        if (state->listenerLoop != nullptr) {
            // By name: the queued quit is then built inside Qt and nothing of ours is handed over.
            QMetaObject::invokeMethod(state->listenerLoop, "quit", Qt::QueuedConnection);
        }
        state->listenerThread.join();
        state->listenerLoop = nullptr;
    }
    state->stopping = true;
    std::lock_guard lock(state->mutex);
    for (auto& connection : state->connections) {
        connection->thread.join();
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
