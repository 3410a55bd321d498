#include "db/SideConnection.h"

#include "db/BatchResultReader.h"
#include "db/EventLoopYield.h"
#include "db/OdbcConnection.h"
#include "db/OdbcEnvironment.h"
#include "db/OdbcStatement.h"
#include "db/WorkerThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace qormin::db {

namespace {

const QString closedConnectionError = QStringLiteral("Operation is not allowed when the object is closed.");
const QString cancelledError = QStringLiteral("Operation was cancelled");

// A statement that ends within this time is waited for without entering an event loop, which
// saves two thread wake-ups per statement; nobody sees a window pause that short. The first
// part of it is watched without sleeping at all: most small statements end within it.
constexpr std::chrono::milliseconds quietWait{2};
constexpr std::chrono::microseconds watchedWait{200};

bool canWaitInEventLoop() {
    return QCoreApplication::instance() != nullptr && QThread::currentThread()->eventDispatcher() != nullptr;
}

StatementOutcome failedOutcome(const QString& description) {
    StatementOutcome outcome;
    outcome.succeeded = false;
    outcome.errorDescription = description;
    return outcome;
}

} // namespace

// How the caller learns that its job is over: a condition for the short wait, then a queued
// quit for its event loop. The worker wakes the loop under the lock and the loop is only left
// once the job is over, so the wake-up can neither be lost nor reach a loop that is gone.
struct JobCompletion {
    std::mutex mutex;
    std::condition_variable finishedCondition;
    QEventLoop* loop = nullptr;
    bool finished = false;
    std::atomic<bool> done{false}; // finished, readable without the lock

    void finish() {
        std::lock_guard lock(mutex);
        finished = true;
        done.store(true, std::memory_order_release);
        if (loop != nullptr) {
            QMetaObject::invokeMethod(loop, &QEventLoop::quit, Qt::QueuedConnection);
        }
        finishedCondition.notify_one();
    }
};

struct SideConnection::Worker {
    std::unique_ptr<OdbcConnection> connection; // used on the worker thread only
    std::unique_ptr<OdbcStatement> statement;   // reused by every statement; freed before the connection

    void dropConnection() {
        statement.reset();
        connection.reset();
    }
    std::atomic<bool> open{false};
    std::atomic<int> commandTimeout{3600};
    std::atomic<int> pendingJobs{0};

    std::mutex runningMutex; // guards running
    OdbcStatement* running = nullptr;
    std::atomic<bool> cancelRequested{false};

    WorkerThread thread; // last: joined first, while the members above still exist
};

SideConnection::SideConnection(int side, QObject* parent)
    : QObject(parent), m_side(side), m_worker(std::make_unique<Worker>()) {}

SideConnection::~SideConnection() {
    cancel();
    // The worker's thread is joined before its connection is freed (member order of Worker).
}

void SideConnection::runOnWorker(std::function<void()> job) {
    ++m_worker->pendingJobs;
    auto completion = std::make_shared<JobCompletion>();
    m_worker->thread.post([&job, completion] {
        job();
        completion->finish();
    });
    watchBriefly(completion->done, watchedWait);
    std::unique_lock lock(completion->mutex);
    if (!canWaitInEventLoop()) {
        completion->finishedCondition.wait(lock, [&completion] { return completion->finished; });
    } else if (!completion->finishedCondition.wait_for(lock, quietWait,
                                                       [&completion] { return completion->finished; })) {
        const EventLoopYield yield;
        QEventLoop loop;
        completion->loop = &loop;
        while (!completion->finished) {
            lock.unlock();
            loop.exec();
            lock.lock();
        }
        completion->loop = nullptr;
    }
    lock.unlock();
    finishJob();
    // Messages the job sent (progress, PRINT) were queued to this object while the caller waited,
    // often without turning the event loop; pass them on before the caller reads anything.
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    }
}

// A cancel aimed at a job that ended without running a statement must not hit the next one.
void SideConnection::finishJob() {
    if (--m_worker->pendingJobs > 0) {
        return;
    }
    std::lock_guard lock(m_worker->runningMutex);
    m_worker->cancelRequested = false;
}

void SideConnection::forwardMessage(const ServerMessage& message) {
    QMetaObject::invokeMethod(
        this, [this, message] { Q_EMIT serverMessage(m_side, message); }, Qt::QueuedConnection);
}

ConnectOutcome SideConnection::open(const QString& odbcConnectionString, int loginTimeoutSeconds) {
    ConnectOutcome outcome;
    runOnWorker([this, &outcome, &odbcConnectionString, loginTimeoutSeconds] {
        m_worker->open = false;
        m_worker->dropConnection();
        m_worker->connection = std::make_unique<OdbcConnection>(OdbcEnvironment::shared());
        std::vector<OdbcDiagnostic> diagnostics;
        outcome.connected =
            m_worker->connection->connect(odbcConnectionString, loginTimeoutSeconds, diagnostics);
        m_worker->open = outcome.connected;
        if (outcome.connected) {
            return;
        }
        outcome.errorDescription = errorDescription(diagnostics);
        for (const auto& diagnostic : diagnostics) {
            outcome.driverNotLoaded = outcome.driverNotLoaded ||
                                      diagnostic.sqlState == QLatin1String("IM002") ||
                                      diagnostic.sqlState == QLatin1String("IM003") ||
                                      diagnostic.text.contains(QLatin1String("Can't open lib"));
        }
        m_worker->dropConnection();
    });
    return outcome;
}

void SideConnection::close() {
    runOnWorker([this] {
        m_worker->open = false;
        m_worker->dropConnection();
    });
}

bool SideConnection::isOpen() const {
    return m_worker->open;
}

void SideConnection::setCommandTimeout(int seconds) {
    m_worker->commandTimeout = seconds;
}

int SideConnection::commandTimeout() const {
    return m_worker->commandTimeout;
}

StatementOutcome SideConnection::runStatement(const std::function<StatementOutcome(OdbcStatement&)>& body) {
    StatementOutcome outcome;
    Q_EMIT statementStarted(m_side);
    runOnWorker([this, &outcome, &body] { outcome = runOnWorkerThread(body); });
    Q_EMIT statementFinished(m_side, outcome.succeeded);
    if (outcome.connectionLost) {
        Q_EMIT connectionLost(m_side);
    }
    return outcome;
}

StatementOutcome
SideConnection::runOnWorkerThread(const std::function<StatementOutcome(OdbcStatement&)>& body) {
    if (!m_worker->open || !m_worker->connection) {
        return failedOutcome(closedConnectionError);
    }
    if (!m_worker->statement) {
        m_worker->statement = std::make_unique<OdbcStatement>(*m_worker->connection);
    }
    OdbcStatement& statement = *m_worker->statement;
    statement.setQueryTimeout(m_worker->commandTimeout);
    {
        std::lock_guard lock(m_worker->runningMutex);
        if (m_worker->cancelRequested.exchange(false)) {
            StatementOutcome cancelled = failedOutcome(cancelledError);
            cancelled.cancelled = true;
            return cancelled;
        }
        m_worker->running = &statement;
    }
    StatementOutcome outcome = body(statement);
    {
        std::lock_guard lock(m_worker->runningMutex);
        m_worker->running = nullptr;
        m_worker->cancelRequested = false;
    }
    statement.resetParameters();
    if (outcome.connectionLost) {
        m_worker->open = false;
        m_worker->dropConnection();
    }
    return outcome;
}

SeriesOutcome SideConnection::executeSeries(const QStringList& statements) {
    SeriesOutcome series;
    std::vector<bool> succeeded;
    succeeded.reserve(static_cast<size_t>(statements.size()));
    bool lost = false;
    Q_EMIT statementStarted(m_side);
    runOnWorker([this, &statements, &series, &succeeded, &lost] {
        for (const QString& sql : statements) {
            const StatementOutcome outcome = runOnWorkerThread([this, &sql](OdbcStatement& statement) {
                BatchResultReader reader(
                    statement, ResultRetention::Nothing,
                    [this](const ServerMessage& m) { forwardMessage(m); }, &m_worker->cancelRequested);
                return reader.execute(sql);
            });
            succeeded.push_back(outcome.succeeded);
            if (!outcome.succeeded && series.firstError.isEmpty()) {
                series.firstError = outcome.errorDescription;
            }
            series.failed += outcome.succeeded ? 0 : 1;
            lost = outcome.connectionLost;
            series.cancelled = outcome.cancelled;
            if (lost || outcome.cancelled) {
                return;
            }
        }
    });
    series.sent = static_cast<int>(succeeded.size());
    for (const bool ok : succeeded) {
        Q_EMIT statementFinished(m_side, ok);
    }
    if (lost) {
        Q_EMIT connectionLost(m_side);
    }
    return series;
}

StatementOutcome SideConnection::execute(const QString& sql, ResultRetention retention) {
    return runStatement([this, &sql, retention](OdbcStatement& statement) {
        BatchResultReader reader(
            statement, retention, [this](const ServerMessage& m) { forwardMessage(m); },
            &m_worker->cancelRequested);
        return reader.execute(sql);
    });
}

StatementOutcome SideConnection::executeWithParameters(const QString& sql,
                                                       const std::vector<ColumnInfo>& targets,
                                                       const std::vector<QVariant>& values) {
    return runStatement([this, &sql, &targets, &values](OdbcStatement& statement) {
        for (size_t index = 0; index < values.size(); ++index) {
            const ColumnInfo target = index < targets.size() ? targets[index] : ColumnInfo{};
            statement.bindParameter(static_cast<int>(index) + 1, target, values[index]);
        }
        BatchResultReader reader(
            statement, ResultRetention::AllResultSets, [this](const ServerMessage& m) { forwardMessage(m); },
            &m_worker->cancelRequested);
        return reader.drain(statement.execDirect(sql));
    });
}

// Two paths, because neither alone is reliable with FreeTDS: SQLCancel from this thread
// interrupts a call that blocks in the driver (a statement that hangs), while the flag lets
// the worker cancel between calls (a statement streaming messages), where a cross-thread
// SQLCancel only closes the cursor and the batch would look finished.
void SideConnection::cancel() {
    std::lock_guard lock(m_worker->runningMutex);
    if (m_worker->pendingJobs == 0) {
        return;
    }
    m_worker->cancelRequested = true;
    if (m_worker->running != nullptr) {
        m_worker->running->cancel();
    }
}

bool SideConnection::isRunning() const {
    return m_worker->pendingJobs > 0;
}

void SideConnection::setWithholdCheck(WithholdCheck check) {
    m_withholdCheck = std::move(check);
}

bool SideConnection::withholds(const QString& sql) const {
    return m_withholdCheck && m_withholdCheck(sql);
}

int SideConnection::nextCursorNumber() {
    return ++m_cursorNumber;
}

} // namespace qormin::db
