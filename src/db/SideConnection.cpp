#include "db/SideConnection.h"

#include "db/AuditSink.h"
#include "db/BatchResultReader.h"
#include "db/EventLoopYield.h"
#include "db/OdbcConnection.h"
#include "db/OdbcEnvironment.h"
#include "db/OdbcStatement.h"
#include "db/ReadOnlyStatement.h"
#include "db/WorkerThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace qormin::db {

namespace {

const QString closedConnectionError = QStringLiteral("Operation is not allowed when the object is closed.");
const QString cancelledError = QStringLiteral("Operation was cancelled");

// Rows of a prepared statement sent in one request: each its own statement on the server.
constexpr size_t rowsPerRequest = 100;

// A statement that ends within this time is waited for without entering an event loop, which
// saves two thread wake-ups per statement; nobody sees a window pause that short. The first
// part of it is watched without sleeping at all, briefly: a watch is CPU time the loop pays per
// statement, and a long one costs more than the wake-up it saves once the machine is busy.
constexpr std::chrono::milliseconds quietWait{2};
constexpr std::chrono::microseconds watchedWait{20};
constexpr std::chrono::milliseconds cancelRetryInterval{50};

bool canWaitInEventLoop() {
    return QCoreApplication::instance() != nullptr && QThread::currentThread()->eventDispatcher() != nullptr;
}

StatementOutcome failedOutcome(const QString& description) {
    StatementOutcome outcome;
    outcome.succeeded = false;
    outcome.errorDescription = description;
    return outcome;
}

void bindAll(OdbcStatement& statement, const std::vector<ColumnInfo>& targets,
             const std::vector<QVariant>& values) {
    for (size_t index = 0; index < values.size(); ++index) {
        const ColumnInfo target = index < targets.size() ? targets[index] : ColumnInfo{};
        statement.bindParameter(static_cast<int>(index) + 1, target, values[index]);
    }
}

// The outcome of a single driver call that failed (or warned) outside a batch reader.
StatementOutcome outcomeOfCall(OdbcStatement& statement, short rc) {
    StatementOutcome outcome;
    if (rc == SQL_SUCCESS || rc == SQL_NO_DATA) {
        return outcome;
    }
    const auto diagnostics = statement.diagnostics();
    for (const auto& diagnostic : diagnostics) {
        outcome.connectionLost = outcome.connectionLost || diagnostic.isCommunicationFailure();
        outcome.cancelled = outcome.cancelled || diagnostic.sqlState == QLatin1String("HY008") ||
                            diagnostic.sqlState == QLatin1String("HYT00");
        outcome.messages.push_back(diagnostic.toServerMessage());
    }
    if (rc == SQL_SUCCESS_WITH_INFO) {
        return outcome;
    }
    outcome.succeeded = false;
    outcome.errorDescription = errorDescription(diagnostics);
    if (outcome.errorDescription.isEmpty()) {
        outcome.errorDescription = QStringLiteral("The statement failed without a message from the driver.");
    }
    return outcome;
}

// The driver's row statuses, cut to the rows the server is known to have run. FreeTDS counts a
// row as run at its DONE; when the response ends early (an error that ends the whole request)
// it still reports one more row, as succeeded, that never ran. That row is dropped; when it is
// the last row of all, the rows' counts tell whether it ran (an INSERT that ran counts a row).
// A request cut short by a lost link or a cancel gets that extra row too, even at the last row.
std::vector<OdbcStatement::RowStatus> rowsTheServerRan(std::vector<OdbcStatement::RowStatus> statuses,
                                                       size_t bound, qint64 rowsAffected, bool cutShort) {
    using Status = OdbcStatement::RowStatus;
    statuses.erase(std::find(statuses.begin(), statuses.end(), Status::NotRun), statuses.end());
    if (statuses.empty() || statuses.back() != Status::Succeeded) {
        return statuses;
    }
    if (statuses.size() < bound || cutShort) {
        statuses.pop_back();
        return statuses;
    }
    if (statuses.size() >= 2 && statuses[statuses.size() - 2] == Status::Failed) {
        const auto succeededBefore = std::count(statuses.begin(), statuses.end() - 1, Status::Succeeded);
        if (rowsAffected >= 0 && rowsAffected <= succeededBefore) {
            statuses.pop_back();
        }
    }
    return statuses;
}

// A row's own error: the first error the driver filed under that row.
QString rowError(const std::vector<OdbcDiagnostic>& diagnostics, qint64 rowNumber) {
    for (const auto& diagnostic : diagnostics) {
        if (!diagnostic.isInformational() && diagnostic.rowNumber == rowNumber) {
            return diagnostic.text;
        }
    }
    return QStringLiteral("The statement failed without a message from the driver.");
}

// Whether a request of rows failed as a whole: cancelled, timed out, the link lost, or refused
// before any row ran.
StatementOutcome requestOutcome(const std::vector<OdbcDiagnostic>& diagnostics, bool refused,
                                bool cancelRequested) {
    StatementOutcome outcome;
    for (const auto& diagnostic : diagnostics) {
        outcome.connectionLost = outcome.connectionLost || diagnostic.isCommunicationFailure();
        outcome.cancelled = outcome.cancelled || diagnostic.sqlState == QLatin1String("HY008") ||
                            diagnostic.sqlState == QLatin1String("HYT00");
    }
    outcome.cancelled = outcome.cancelled || cancelRequested;
    if (outcome.cancelled || outcome.connectionLost || refused) {
        outcome.succeeded = false;
        outcome.errorDescription =
            outcome.cancelled && !outcome.connectionLost ? cancelledError : errorDescription(diagnostics);
        if (outcome.errorDescription.isEmpty()) {
            outcome.errorDescription =
                QStringLiteral("The statement failed without a message from the driver.");
        }
    }
    return outcome;
}

// Any failure (no result, an error) leaves 0: the caller then does without the number.
int askSessionId(OdbcStatement& statement) {
    int id = 0;
    if (SQL_SUCCEEDED(statement.execDirect(QStringLiteral("SELECT @@SPID"))) &&
        statement.resultColumnCount() > 0 && SQL_SUCCEEDED(statement.fetch())) {
        id = statement.value(0, statement.describeColumn(0)).toInt();
    }
    while (SQL_SUCCEEDED(statement.moreResults())) {
    }
    statement.closeCursor();
    return id;
}

} // namespace

// After the last row: the rest of the response (counts, messages, a link that breaks) is read
// before the statement is done with, so a failure there is not mistaken for a clean end.
StatementOutcome readToEnd(OdbcStatement& statement) {
    StatementOutcome outcome;
    for (short rc = statement.moreResults(); rc != SQL_NO_DATA; rc = statement.moreResults()) {
        outcome = outcomeOfCall(statement, rc);
        if (rc != SQL_SUCCESS && rc != SQL_SUCCESS_WITH_INFO) {
            break;
        }
    }
    statement.closeCursor();
    return outcome;
}

// A query that ended without a result: the server's error, when it sent one as a message.
StatementOutcome outcomeWithoutResult(const std::vector<ServerMessage>& messages) {
    for (const auto& message : messages) {
        if (message.isError()) {
            return failedOutcome(message.text);
        }
    }
    return failedOutcome(QStringLiteral("The query returned no rows to read."));
}

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
            // By name: the queued call is then built inside Qt and carries nothing of ours
            // across threads through Qt's own locking, which ThreadSanitizer cannot see.
            QMetaObject::invokeMethod(loop, "quit", Qt::QueuedConnection);
        }
        finishedCondition.notify_one();
    }
};

struct SideConnection::Worker {
    std::unique_ptr<OdbcConnection> connection; // used on the worker thread only
    std::unique_ptr<OdbcStatement> statement;   // reused by every statement; freed before the connection
    std::map<int, std::unique_ptr<OdbcStatement>> prepared;
    std::map<int, QString> preparedTexts;
    // The same statements prepared once more on handles of their own whose parameters are bound
    // as arrays of rows; binding them per row would make the driver prepare them again.
    std::map<int, std::unique_ptr<OdbcStatement>> preparedArrays;
    int lastPreparedId = 0;
    std::unique_ptr<OdbcStatement> stream;
    std::vector<ColumnInfo> streamColumns;
    std::atomic<bool> streamEnded{true};
    std::optional<StatementOutcome> readAhead; // the next chunk, read while the caller works
    bool readAheadEnded = false;
    std::optional<int> sessionId; // asked once per connection

    void dropConnection() {
        sessionId.reset();
        prepared.clear();
        preparedArrays.clear();
        preparedTexts.clear();
        stream.reset();
        readAhead.reset();
        streamEnded = true;
        statement.reset();
        connection.reset();
    }
    OdbcStatement* arrayStatement(int id) {
        auto found = preparedArrays.find(id);
        if (found != preparedArrays.end()) {
            return found->second.get();
        }
        const auto text = preparedTexts.find(id);
        if (text == preparedTexts.end()) {
            return nullptr;
        }
        auto arrays = std::make_unique<OdbcStatement>(*connection);
        if (!arrays->isValid() || !SQL_SUCCEEDED(arrays->prepare(text->second))) {
            return nullptr;
        }
        return preparedArrays.emplace(id, std::move(arrays)).first->second.get();
    }
    OdbcStatement* sharedStatement() {
        if (!statement) {
            statement = std::make_unique<OdbcStatement>(*connection);
        }
        return statement.get();
    }
    std::atomic<bool> open{false};
    std::atomic<int> commandTimeout{3600};
    std::atomic<int> pendingJobs{0};
    std::atomic<bool> auditing{false};
    QString catalog; // after the last statement, while auditing; read by the owner after the job

    // Server messages on their way to the owner's thread. They are handed over under this lock
    // rather than inside a queued call, whose hand-over happens in Qt's uninstrumented code.
    std::mutex messagesMutex;
    std::deque<ServerMessage> messages;

    std::mutex runningMutex; // guards running and the owner's cancel followers
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
    const auto finished = [&completion] { return completion->finished; };
    if (!canWaitInEventLoop()) {
        while (!completion->finishedCondition.wait_for(lock, cancelRetryInterval, finished)) {
            lock.unlock();
            retryCancel();
            lock.lock();
        }
    } else if (!completion->finishedCondition.wait_for(lock, quietWait, finished)) {
        const EventLoopYield yield;
        QEventLoop loop;
        QTimer retry;
        QObject::connect(&retry, &QTimer::timeout, &retry, [this] { retryCancel(); });
        retry.start(cancelRetryInterval);
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
    // Statements that end within the quiet wait never turn the event loop; a loop of them (a
    // row per statement) would leave the window frozen until the loop's end.
    yieldToEventLoop();
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
    bool firstWaiting = false;
    {
        std::lock_guard lock(m_worker->messagesMutex);
        firstWaiting = m_worker->messages.empty();
        m_worker->messages.push_back(message);
    }
    if (firstWaiting) {
        QMetaObject::invokeMethod(this, "deliverMessages", Qt::QueuedConnection);
    }
}

// One at a time from the front: a receiver that turns the event loop may start another
// delivery, which then goes on with the next message rather than overtaking this one's rest.
void SideConnection::deliverMessages() {
    for (;;) {
        ServerMessage message;
        {
            std::lock_guard lock(m_worker->messagesMutex);
            if (m_worker->messages.empty()) {
                return;
            }
            message = std::move(m_worker->messages.front());
            m_worker->messages.pop_front();
        }
        Q_EMIT serverMessage(m_side, message);
    }
}

ConnectOutcome SideConnection::open(const QString& odbcConnectionString, int loginTimeoutSeconds) {
    m_connectionString = odbcConnectionString;
    m_loginTimeout = loginTimeoutSeconds;
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
        outcome.diagnostics = std::move(diagnostics);
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

int SideConnection::sessionId() {
    int id = 0;
    runOnWorker([this, &id] {
        if (!m_worker->open || !m_worker->connection)
            return;
        if (!m_worker->sessionId) {
            m_worker->sessionId = askSessionId(*m_worker->sharedStatement());
        }
        id = *m_worker->sessionId;
    });
    return id;
}

QString SideConnection::currentDatabase() {
    QString name;
    runOnWorker([this, &name] {
        if (m_worker->open && m_worker->connection)
            name = m_worker->connection->currentCatalog();
    });
    return name;
}

void SideConnection::setCommandTimeout(int seconds) {
    m_worker->commandTimeout = seconds;
}

int SideConnection::commandTimeout() const {
    return m_worker->commandTimeout;
}

StatementOutcome SideConnection::runStatement(const std::function<StatementOutcome(OdbcStatement&)>& body) {
    return runStatementOn([this] { return m_worker->sharedStatement(); }, body);
}

StatementOutcome SideConnection::runStatementOn(const std::function<OdbcStatement*()>& choose,
                                                const std::function<StatementOutcome(OdbcStatement&)>& body) {
    StatementOutcome outcome;
    Q_EMIT statementStarted(m_side);
    runOnWorker([this, &outcome, &body, &choose] { outcome = runOnWorkerThread(choose, body); });
    Q_EMIT statementFinished(m_side, outcome.succeeded);
    if (outcome.connectionLost) {
        Q_EMIT connectionLost(m_side);
    }
    return outcome;
}

// The statement's run on the worker thread: chosen handle, timeout, cancel bookkeeping, and the
// connection dropped when the link is gone.
StatementOutcome
SideConnection::runOnWorkerThread(const std::function<OdbcStatement*()>& choose,
                                  const std::function<StatementOutcome(OdbcStatement&)>& body) {
    StatementOutcome outcome;
    OdbcStatement* chosen = m_worker->open && m_worker->connection ? choose() : nullptr;
    if (chosen == nullptr) {
        return failedOutcome(closedConnectionError);
    }
    OdbcStatement& statement = *chosen;
    statement.setQueryTimeout(m_worker->commandTimeout);
    {
        std::lock_guard lock(m_worker->runningMutex);
        if (m_worker->cancelRequested.exchange(false)) {
            outcome = failedOutcome(cancelledError);
            outcome.cancelled = true;
            return outcome;
        }
        statement.clearInterrupt();
        m_worker->running = &statement;
    }
    outcome = body(statement);
    {
        std::lock_guard lock(m_worker->runningMutex);
        m_worker->running = nullptr;
        m_worker->cancelRequested = false;
    }
    statement.clearInterrupt();
    // A prepared statement keeps its bindings: binding anew would prepare it again.
    if (&statement == m_worker->statement.get()) {
        statement.resetParameters();
    }
    if (outcome.connectionLost) {
        m_worker->open = false;
        m_worker->dropConnection();
    }
    if (m_worker->auditing && m_worker->connection) {
        m_worker->catalog = m_worker->connection->currentCatalog();
    }
    return outcome;
}

SeriesOutcome SideConnection::executeSeries(const QStringList& statements) {
    SeriesOutcome series;
    std::vector<StatementOutcome> outcomes;
    outcomes.reserve(static_cast<size_t>(statements.size()));
    bool lost = false;
    Q_EMIT statementStarted(m_side);
    runOnWorker([this, &statements, &series, &outcomes, &lost] {
        for (const QString& sql : statements) {
            const auto shared = [this] { return m_worker->sharedStatement(); };
            const StatementOutcome outcome =
                runOnWorkerThread(shared, [this, &sql](OdbcStatement& statement) {
                    BatchResultReader reader(
                        statement, ResultRetention::Nothing,
                        [this](const ServerMessage& m) { forwardMessage(m); }, &m_worker->cancelRequested);
                    return reader.execute(sql);
                });
            if (!outcome.succeeded && series.firstError.isEmpty()) {
                series.firstError = outcome.errorDescription;
            }
            series.failed += outcome.succeeded ? 0 : 1;
            lost = outcome.connectionLost;
            series.cancelled = outcome.cancelled;
            const bool stop = lost || outcome.cancelled;
            outcomes.push_back(outcome);
            if (stop) {
                return;
            }
        }
    });
    series.sent = static_cast<int>(outcomes.size());
    for (size_t index = 0; index < outcomes.size(); ++index) {
        Q_EMIT statementFinished(m_side, outcomes[index].succeeded);
        audit(statements[static_cast<qsizetype>(index)], outcomes[index]);
    }
    if (lost) {
        Q_EMIT connectionLost(m_side);
    }
    return series;
}

// Script only is decided here for every statement sent by its text, so no caller can bypass it.
StatementOutcome SideConnection::execute(const QString& sql, ResultRetention retention) {
    if (withholds(sql)) {
        StatementOutcome withheld;
        withheld.withheld = true;
        return withheld;
    }
    StatementOutcome outcome = runStatement([this, &sql, retention](OdbcStatement& statement) {
        BatchResultReader reader(
            statement, retention, [this](const ServerMessage& m) { forwardMessage(m); },
            &m_worker->cancelRequested);
        return reader.execute(sql);
    });
    audit(sql, outcome);
    return outcome;
}

StatementOutcome SideConnection::executeWithParameters(const QString& sql,
                                                       const std::vector<ColumnInfo>& targets,
                                                       const std::vector<QVariant>& values) {
    StatementOutcome outcome = runStatement([this, &sql, &targets, &values](OdbcStatement& statement) {
        bindAll(statement, targets, values);
        BatchResultReader reader(
            statement, ResultRetention::AllResultSets, [this](const ServerMessage& m) { forwardMessage(m); },
            &m_worker->cancelRequested);
        return reader.drain(statement.execDirect(sql));
    });
    audit(sql, outcome);
    return outcome;
}

std::vector<StatementOutcome> SideConnection::executeChain(const std::vector<ChainedStatement>& statements,
                                                           bool stopAtRow) {
    std::vector<StatementOutcome> outcomes;
    const auto ends = [stopAtRow](const StatementOutcome& outcome) {
        const bool hasRow = !outcome.resultSets.empty() && !outcome.resultSets.front().rows.empty();
        return !outcome.succeeded || (stopAtRow && hasRow);
    };
    if (collectsChanges()) {
        for (const ChainedStatement& statement : statements) {
            outcomes.push_back(
                statement.values.empty()
                    ? execute(statement.sql, statement.retention)
                    : executeWithParameters(statement.sql, statement.targets, statement.values));
            if (ends(outcomes.back())) {
                break;
            }
        }
        return outcomes;
    }
    Q_EMIT statementStarted(m_side);
    runOnWorker([this, &statements, &outcomes, &ends] {
        const auto shared = [this] { return m_worker->sharedStatement(); };
        for (const ChainedStatement& chained : statements) {
            outcomes.push_back(runOnWorkerThread(shared, [this, &chained](OdbcStatement& statement) {
                BatchResultReader reader(
                    statement, chained.retention, [this](const ServerMessage& m) { forwardMessage(m); },
                    &m_worker->cancelRequested);
                if (chained.values.empty()) {
                    return reader.execute(chained.sql);
                }
                bindAll(statement, chained.targets, chained.values);
                return reader.drain(statement.execDirect(chained.sql));
            }));
            if (ends(outcomes.back())) {
                return;
            }
        }
    });
    // Each statement that ran is started and finished for the listeners, as one sent alone is.
    bool lost = false;
    for (size_t index = 0; index < outcomes.size(); ++index) {
        if (index > 0) {
            Q_EMIT statementStarted(m_side);
        }
        Q_EMIT statementFinished(m_side, outcomes[index].succeeded);
        lost = lost || outcomes[index].connectionLost;
    }
    if (lost) {
        Q_EMIT connectionLost(m_side);
    }
    return outcomes;
}

int SideConnection::prepare(const QString& sql) {
    int id = 0;
    runOnWorker([this, &sql, &id] {
        if (!m_worker->open || !m_worker->connection) {
            return;
        }
        auto statement = std::make_unique<OdbcStatement>(*m_worker->connection);
        if (!statement->isValid() || !SQL_SUCCEEDED(statement->prepare(sql))) {
            return;
        }
        id = ++m_worker->lastPreparedId;
        m_worker->prepared[id] = std::move(statement);
        m_worker->preparedTexts[id] = sql;
    });
    if (id != 0) {
        m_preparedTexts[id] = sql;
    }
    return id;
}

StatementOutcome SideConnection::executePrepared(int id, const std::vector<ColumnInfo>& targets,
                                                 const std::vector<QVariant>& values) {
    auto choose = [this, id]() -> OdbcStatement* {
        const auto found = m_worker->prepared.find(id);
        return found == m_worker->prepared.end() ? nullptr : found->second.get();
    };
    StatementOutcome outcome = runStatementOn(choose, [this, &targets, &values](OdbcStatement& statement) {
        bindAll(statement, targets, values);
        BatchResultReader reader(
            statement, ResultRetention::Nothing, [this](const ServerMessage& m) { forwardMessage(m); },
            &m_worker->cancelRequested);
        return reader.drain(statement.execute());
    });
    audit(m_preparedTexts[id], outcome);
    return outcome;
}

std::vector<StatementOutcome>
SideConnection::executePreparedRows(int id, const std::vector<ColumnInfo>& targets,
                                    const std::vector<std::vector<QVariant>>& rows) {
    std::vector<StatementOutcome> outcomes;
    auto choose = [this, id]() -> OdbcStatement* { return m_worker->arrayStatement(id); };
    StatementOutcome stopped = runStatementOn(choose, [this, &targets, &rows,
                                                       &outcomes](OdbcStatement& statement) {
        for (size_t first = 0; first < rows.size();) {
            const size_t bound = statement.bindParameterRows(targets, rows, first, rowsPerRequest);
            if (bound == 0 || !runRowArray(statement, bound, outcomes) || outcomes.size() < first + bound) {
                break;
            }
            first += bound;
        }
        return StatementOutcome{};
    });
    if (outcomes.empty() && !stopped.succeeded) {
        outcomes.push_back(std::move(stopped));
    }
    const auto failed = std::find_if(outcomes.begin(), outcomes.end(),
                                     [](const StatementOutcome& outcome) { return !outcome.succeeded; });
    const auto done = std::count_if(outcomes.begin(), outcomes.end(),
                                    [](const StatementOutcome& outcome) { return outcome.succeeded; });
    audit(m_preparedTexts[id], failed == outcomes.end() ? StatementOutcome{} : *failed, done);
    return outcomes;
}

// One request for the bound rows; appends an outcome for every row the server ran, in order,
// and stops at the first it did not reach. False when the request as a whole failed (a cancel,
// a lost link): the first row without an outcome then carries that failure.
bool SideConnection::runRowArray(OdbcStatement& statement, size_t bound,
                                 std::vector<StatementOutcome>& outcomes) {
    const short rc = statement.execute();
    std::vector<OdbcDiagnostic> diagnostics = statement.diagnostics();
    const qint64 rowsAffected = statement.rowCount();
    for (short more = rc; SQL_SUCCEEDED(more);) {
        more = statement.moreResults();
        const auto further = statement.diagnostics();
        diagnostics.insert(diagnostics.end(), further.begin(), further.end());
    }
    statement.closeCursor();
    for (const auto& diagnostic : diagnostics) {
        if (diagnostic.isInformational() && !diagnostic.isCommunicationFailure()) {
            forwardMessage(diagnostic.toServerMessage());
        }
    }
    const bool cutShort = !requestOutcome(diagnostics, false, m_worker->cancelRequested).succeeded;
    const auto ran = rowsTheServerRan(statement.rowStatuses(), bound, rowsAffected, cutShort);
    for (size_t row = 0; row < ran.size(); ++row) {
        const bool failed = ran[row] == OdbcStatement::RowStatus::Failed;
        outcomes.push_back(failed ? failedOutcome(rowError(diagnostics, static_cast<qint64>(row) + 1))
                                  : StatementOutcome{});
    }
    const bool refused = ran.empty() && (rc == SQL_ERROR || rc == SQL_INVALID_HANDLE);
    StatementOutcome whole = requestOutcome(diagnostics, refused, m_worker->cancelRequested);
    if (whole.succeeded) {
        return true;
    }
    if (ran.size() < bound) {
        outcomes.push_back(std::move(whole));
    }
    return false;
}

void SideConnection::unprepare(int id) {
    m_preparedTexts.erase(id);
    runOnWorker([this, id] {
        m_worker->prepared.erase(id);
        m_worker->preparedArrays.erase(id);
        m_worker->preparedTexts.erase(id);
    });
}

StatementOutcome SideConnection::openStream(const QString& sql) {
    auto choose = [this]() -> OdbcStatement* {
        m_worker->stream = std::make_unique<OdbcStatement>(*m_worker->connection);
        m_worker->readAhead.reset();
        m_worker->streamEnded = false;
        return m_worker->stream.get();
    };
    return runStatementOn(choose, [this, &sql](OdbcStatement& statement) {
        short rc = statement.execDirect(sql);
        StatementOutcome outcome = outcomeOfCall(statement, rc);
        std::vector<ServerMessage> messages = outcome.messages;
        // Row counts before the result (a source that is a batch) are passed over.
        while (outcome.succeeded && rc != SQL_NO_DATA && statement.resultColumnCount() == 0) {
            rc = statement.moreResults();
            outcome = outcomeOfCall(statement, rc);
            messages.insert(messages.end(), outcome.messages.begin(), outcome.messages.end());
        }
        if (!outcome.succeeded || rc == SQL_NO_DATA) {
            m_worker->streamEnded = true;
            return outcome.succeeded ? outcomeWithoutResult(messages) : outcome;
        }
        ResultTable table;
        for (int column = 0; column < statement.resultColumnCount(); ++column) {
            table.columns.push_back(statement.describeColumn(column));
        }
        m_worker->streamColumns = table.columns;
        outcome.resultSets.push_back(std::move(table));
        return outcome;
    });
}

StatementOutcome SideConnection::readStreamRows(OdbcStatement& statement, int maxRows) {
    StatementOutcome outcome;
    ResultTable table;
    const auto& columns = m_worker->streamColumns;
    while (!m_worker->streamEnded && static_cast<int>(table.rows.size()) < maxRows) {
        const short rc = statement.fetch();
        if (rc == SQL_NO_DATA) {
            m_worker->streamEnded = true;
            outcome = readToEnd(statement);
            break;
        }
        if (!SQL_SUCCEEDED(rc) || m_worker->cancelRequested) {
            outcome =
                m_worker->cancelRequested ? failedOutcome(cancelledError) : outcomeOfCall(statement, rc);
            outcome.cancelled = outcome.cancelled || m_worker->cancelRequested;
            m_worker->streamEnded = true;
            break;
        }
        std::vector<QVariant> row;
        row.reserve(columns.size());
        for (size_t column = 0; column < columns.size(); ++column) {
            row.push_back(statement.value(static_cast<int>(column), columns[column]));
        }
        table.rows.push_back(std::move(row));
    }
    outcome.resultSets.push_back(std::move(table));
    return outcome;
}

// Hands over the rows read ahead, if any, then reads the next chunk ahead on the connection's
// thread while the caller works on these: the read is off the loop's path.
StatementOutcome SideConnection::fetchStream(int maxRows) {
    auto choose = [this]() -> OdbcStatement* { return m_worker->stream.get(); };
    bool ended = true;
    StatementOutcome outcome = runStatementOn(choose, [this, maxRows, &ended](OdbcStatement& statement) {
        if (m_worker->readAhead) {
            StatementOutcome ahead = std::move(*m_worker->readAhead);
            m_worker->readAhead.reset();
            ended = m_worker->readAheadEnded;
            return ahead;
        }
        StatementOutcome read = readStreamRows(statement, maxRows);
        ended = m_worker->streamEnded;
        return read;
    });
    m_lastFetchEnded = ended;
    if (!outcome.succeeded || ended) {
        return outcome;
    }
    ++m_worker->pendingJobs;
    // The read ahead is a statement running like any other: a cancel must reach a fetch that
    // stalls in the driver.
    m_worker->thread.post([this, maxRows] {
        if (m_worker->stream && !m_worker->streamEnded) {
            setRunning(m_worker->stream.get());
            m_worker->readAhead = readStreamRows(*m_worker->stream, maxRows);
            m_worker->readAheadEnded = m_worker->streamEnded;
            setRunning(nullptr);
            m_worker->stream->clearInterrupt();
        }
        --m_worker->pendingJobs;
    });
    return outcome;
}

void SideConnection::setRunning(OdbcStatement* statement) {
    std::lock_guard lock(m_worker->runningMutex);
    m_worker->running = statement;
}

bool SideConnection::streamEnded() const {
    return m_lastFetchEnded;
}

void SideConnection::closeStream() {
    runOnWorker([this] {
        m_worker->stream.reset();
        m_worker->readAhead.reset();
        m_worker->streamEnded = true;
    });
    m_lastFetchEnded = true;
}

// Two paths, because neither alone is reliable with FreeTDS: the statement's interrupt cancels
// a call that waits for the server (a statement that hangs) and only such a call, since the
// driver manager is not safe for a cancel racing any other call on the statement; the flag lets
// the worker cancel from its own thread between calls (a statement streaming messages).
void SideConnection::cancel() {
    std::lock_guard lock(m_worker->runningMutex);
    for (SideConnection* follower : m_cancelFollowers) {
        follower->cancel();
    }
    if (m_worker->pendingJobs == 0) {
        return;
    }
    m_worker->cancelRequested = true;
    if (m_worker->running != nullptr) {
        m_worker->running->interrupt();
    }
}

// A cancel reaches a call on the server only once it blocks there (OdbcStatement::interrupt), so
// it is offered again while the caller waits.
void SideConnection::retryCancel() {
    std::lock_guard lock(m_worker->runningMutex);
    if (m_worker->cancelRequested && m_worker->running != nullptr) {
        m_worker->running->interrupt();
    }
}

void SideConnection::addCancelFollower(SideConnection* follower) {
    std::lock_guard lock(m_worker->runningMutex);
    m_cancelFollowers.push_back(follower);
}

void SideConnection::removeCancelFollower(SideConnection* follower) {
    std::lock_guard lock(m_worker->runningMutex);
    std::erase(m_cancelFollowers, follower);
}

bool SideConnection::isRunning() const {
    return m_worker->pendingJobs > 0;
}

void SideConnection::setWithholdCheck(WithholdCheck check, std::function<bool()> collectingChanges) {
    m_withholdCheck = std::move(check);
    m_collectingChanges = std::move(collectingChanges);
}

bool SideConnection::collectsChanges() const {
    if (!m_withholdCheck) {
        return false;
    }
    return !m_collectingChanges || m_collectingChanges();
}

bool SideConnection::withholds(const QString& sql) const {
    return m_withholdCheck && m_withholdCheck(sql);
}

int SideConnection::nextCursorNumber() {
    return ++m_cursorNumber;
}

void SideConnection::setAuditSink(AuditSink* sink) {
    m_audit = sink;
    m_worker->auditing = sink != nullptr;
}

// Rows: the counts the server sent, summed, unless the caller knows better (rows of a request).
void SideConnection::audit(const QString& sql, const StatementOutcome& outcome, std::optional<qint64> rows) {
    if (m_audit == nullptr || isReadOnlyStatement(sql)) {
        return;
    }
    AuditRecord record;
    record.side = m_side;
    record.database = m_worker->catalog;
    record.statement = sql;
    record.outcome = outcome.cancelled   ? AuditRecord::Outcome::Cancelled
                     : outcome.succeeded ? AuditRecord::Outcome::Done
                                         : AuditRecord::Outcome::Error;
    record.error = outcome.succeeded ? QString() : outcome.errorDescription;
    record.rowsAffected = rows;
    for (const qint64 count : outcome.rowCounts) {
        if (!rows && count >= 0) {
            record.rowsAffected = record.rowsAffected.value_or(0) + count;
        }
    }
    m_audit->record(record);
}

} // namespace qormin::db
