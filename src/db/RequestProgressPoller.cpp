#include "db/RequestProgressPoller.h"

#include "db/OdbcConnection.h"
#include "db/OdbcEnvironment.h"
#include "db/OdbcStatement.h"

#include <sql.h>
#include <sqlext.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace qormin::db {

namespace {

// A poll that takes longer than this says nothing useful any more.
constexpr int pollTimeoutSeconds = 10;

struct Reading {
    double percent = 0;
    qint64 millisecondsLeft = 0;
};

} // namespace

struct RequestProgressPoller::Shared {
    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    OdbcStatement* running = nullptr;
    std::thread thread;
    // What the thread has read and the owner not yet taken: only the newest reading matters.
    std::optional<Reading> reading;
    std::optional<QString> failure;
    bool deliveryPosted = false; // guarded by mutex, like the rest

    // False once stop() was asked for; otherwise waits up to interval first.
    bool waitUnlessStopped(std::chrono::milliseconds interval) {
        std::unique_lock lock(mutex);
        return !wake.wait_for(lock, interval, [this] { return stopping; });
    }
    bool stopped() {
        std::lock_guard lock(mutex);
        return stopping;
    }
    bool setRunning(OdbcStatement* statement) {
        std::lock_guard lock(mutex);
        running = stopping ? nullptr : statement;
        return !stopping;
    }
};

RequestProgressPoller::RequestProgressPoller(QString odbcConnectionString, int loginTimeoutSeconds,
                                             int sessionId, std::chrono::milliseconds interval,
                                             QObject* parent)
    : QObject(parent), m_connectionString(std::move(odbcConnectionString)),
      m_loginTimeout(loginTimeoutSeconds), m_sessionId(sessionId), m_interval(interval),
      m_shared(std::make_shared<Shared>()) {}

RequestProgressPoller::~RequestProgressPoller() {
    stop();
    if (m_shared->thread.joinable())
        m_shared->thread.join();
}

QString RequestProgressPoller::pollText(int sessionId) {
    return QStringLiteral("SELECT percent_complete, estimated_completion_time FROM sys.dm_exec_requests "
                          "WHERE session_id = ") +
           QString::number(sessionId);
}

void RequestProgressPoller::start() {
    if (m_shared->thread.joinable())
        return;
    m_shared->thread = std::thread([this] { poll(); });
}

void RequestProgressPoller::stop() {
    std::lock_guard lock(m_shared->mutex);
    m_shared->stopping = true;
    if (m_shared->running != nullptr)
        m_shared->running->interrupt();
    m_shared->wake.notify_all();
}

namespace {

// One row of the request, or nothing when it is not (or no longer) running; an error text when
// the poll failed.
std::optional<Reading> readOnce(OdbcStatement& statement, const QString& text, QString& error) {
    const short rc = statement.execDirect(text);
    if (!SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA) {
        error = errorDescription(statement.diagnostics());
        return std::nullopt;
    }
    std::optional<Reading> reading;
    if (statement.resultColumnCount() >= 2 && SQL_SUCCEEDED(statement.fetch())) {
        const QVariant percent = statement.value(0, statement.describeColumn(0));
        const QVariant left = statement.value(1, statement.describeColumn(1));
        reading = Reading{percent.toDouble(), left.toLongLong()};
    }
    while (SQL_SUCCEEDED(statement.moreResults())) {
    }
    statement.closeCursor();
    return reading;
}

} // namespace

// With the mutex held.
void RequestProgressPoller::post() {
    if (!m_shared->deliveryPosted) {
        m_shared->deliveryPosted = true;
        QMetaObject::invokeMethod(this, "deliver", Qt::QueuedConnection);
    }
}

void RequestProgressPoller::deliver() {
    std::optional<Reading> reading;
    std::optional<QString> failure;
    {
        std::lock_guard lock(m_shared->mutex);
        reading = std::exchange(m_shared->reading, std::nullopt);
        failure = std::exchange(m_shared->failure, std::nullopt);
        m_shared->deliveryPosted = false;
    }
    if (reading)
        Q_EMIT progressRead(reading->percent, reading->millisecondsLeft);
    if (failure)
        Q_EMIT failed(*failure);
}

void RequestProgressPoller::poll() {
    const auto fail = [this](const QString& reason) {
        std::lock_guard lock(m_shared->mutex);
        if (m_shared->stopping)
            return;
        m_shared->failure = reason;
        post();
    };
    OdbcConnection connection(OdbcEnvironment::shared());
    std::vector<OdbcDiagnostic> diagnostics;
    if (!m_shared->waitUnlessStopped(m_interval))
        return;
    if (!connection.connect(m_connectionString, m_loginTimeout, diagnostics)) {
        fail(errorDescription(diagnostics));
        return;
    }
    OdbcStatement statement(connection);
    statement.setQueryTimeout(pollTimeoutSeconds);
    const QString text = pollText(m_sessionId);
    for (bool first = true; first || m_shared->waitUnlessStopped(m_interval); first = false) {
        if (!m_shared->setRunning(&statement))
            return;
        QString error;
        const std::optional<Reading> reading = readOnce(statement, text, error);
        m_shared->setRunning(nullptr);
        if (!error.isEmpty()) {
            fail(error);
            return;
        }
        if (reading) {
            std::lock_guard lock(m_shared->mutex);
            if (m_shared->stopping)
                return;
            m_shared->reading = reading;
            post();
        }
    }
}

} // namespace qormin::db
