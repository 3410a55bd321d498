#include "db/SideConnection.h"

#include "db/BatchResultReader.h"
#include "db/OdbcConnection.h"
#include "db/OdbcEnvironment.h"
#include "db/OdbcStatement.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <atomic>
#include <future>
#include <mutex>

namespace qormin::db {

namespace {

const QString closedConnectionError = QStringLiteral("Operation is not allowed when the object is closed.");
const QString cancelledError = QStringLiteral("Operation was cancelled");

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

struct SideConnection::Worker {
    QThread thread;
    std::unique_ptr<QObject> context = std::make_unique<QObject>();
    std::unique_ptr<OdbcConnection> connection; // used on the worker thread only
    std::atomic<bool> open{false};
    std::atomic<int> commandTimeout{3600};
    std::atomic<int> pendingJobs{0};

    std::mutex runningMutex; // guards running
    OdbcStatement* running = nullptr;
    std::atomic<bool> cancelRequested{false};
};

SideConnection::SideConnection(int side, QObject* parent)
    : QObject(parent), m_side(side), m_worker(std::make_unique<Worker>()) {
    m_worker->thread.setObjectName(QStringLiteral("qormin-side-%1").arg(side));
    m_worker->context->moveToThread(&m_worker->thread);
}

SideConnection::~SideConnection() {
    cancel();
    m_worker->thread.quit();
    m_worker->thread.wait();
    // The thread has ended, so the handles are idle and may be freed from here.
    m_worker->connection.reset();
}

void SideConnection::runOnWorker(std::function<void()> job) {
    if (!m_worker->thread.isRunning()) {
        m_worker->thread.start();
    }
    ++m_worker->pendingJobs;
    if (!canWaitInEventLoop()) {
        std::promise<void> done;
        QMetaObject::invokeMethod(
            m_worker->context.get(),
            [&job, &done] {
                job();
                done.set_value();
            },
            Qt::QueuedConnection);
        done.get_future().wait();
        finishJob();
        return;
    }
    // The worker wakes the loop under the lock, and the loop is only left once the job is
    // over, so the wake-up can neither be lost nor reach a loop that is gone.
    struct Wait {
        std::mutex mutex;
        QEventLoop* loop = nullptr;
        bool finished = false;
    };
    auto wait = std::make_shared<Wait>();
    QEventLoop loop;
    wait->loop = &loop;
    QMetaObject::invokeMethod(
        m_worker->context.get(),
        [&job, wait] {
            job();
            std::lock_guard lock(wait->mutex);
            wait->finished = true;
            if (wait->loop != nullptr) {
                QMetaObject::invokeMethod(wait->loop, &QEventLoop::quit, Qt::QueuedConnection);
            }
        },
        Qt::QueuedConnection);
    for (;;) {
        loop.exec();
        std::lock_guard lock(wait->mutex);
        if (wait->finished) {
            wait->loop = nullptr;
            break;
        }
    }
    finishJob();
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
        m_worker->connection.reset();
    });
    return outcome;
}

void SideConnection::close() {
    if (!m_worker->thread.isRunning()) {
        return;
    }
    runOnWorker([this] {
        m_worker->open = false;
        m_worker->connection.reset();
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
    runOnWorker([this, &outcome, &body] {
        if (!m_worker->open || !m_worker->connection) {
            outcome = failedOutcome(closedConnectionError);
            return;
        }
        OdbcStatement statement(*m_worker->connection);
        statement.setQueryTimeout(m_worker->commandTimeout);
        {
            std::lock_guard lock(m_worker->runningMutex);
            if (m_worker->cancelRequested.exchange(false)) {
                outcome = failedOutcome(cancelledError);
                outcome.cancelled = true;
                return;
            }
            m_worker->running = &statement;
        }
        outcome = body(statement);
        {
            std::lock_guard lock(m_worker->runningMutex);
            m_worker->running = nullptr;
            m_worker->cancelRequested = false;
        }
        if (outcome.connectionLost) {
            m_worker->open = false;
        }
    });
    Q_EMIT statementFinished(m_side);
    if (outcome.connectionLost) {
        Q_EMIT connectionLost(m_side);
    }
    return outcome;
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
