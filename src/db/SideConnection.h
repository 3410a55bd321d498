#pragma once

#include "db/OdbcDiagnostics.h"
#include "db/ResultRetention.h"
#include "db/ResultTable.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace qormin::db {

class AuditSink;
class OdbcStatement;

struct ConnectOutcome {
    bool connected = false;
    QString errorDescription;
    bool driverNotLoaded = false;            // the driver manager could not load the driver library
    std::vector<OdbcDiagnostic> diagnostics; // every record of a failed connect
};

// What a run of statements sent in one go came to.
struct SeriesOutcome {
    int sent = 0; // up to a cancel or a lost connection, which end the run
    int failed = 0;
    QString firstError;
    bool cancelled = false;
};

// One statement of a chain (SideConnection::executeChain): its text and, when it has "?" markers,
// the values bound to them as their target columns' SQL types.
struct ChainedStatement {
    QString sql;
    ResultRetention retention = ResultRetention::AllResultSets;
    std::vector<ColumnInfo> targets;
    std::vector<QVariant> values;
};

// One side's server connection, owned by a worker thread of its own. Every call runs on that
// thread while the calling thread waits in a local event loop, so the window keeps painting
// and can cancel, yet callers read as plain sequential code. Jobs of one side run in order.
class SideConnection : public QObject {
    Q_OBJECT
public:
    explicit SideConnection(int side, QObject* parent = nullptr);
    ~SideConnection() override;

    int sideIndex() const { return m_side; }

    ConnectOutcome open(const QString& odbcConnectionString, int loginTimeoutSeconds);
    void close();
    bool isOpen() const;
    // What the last open() used, so that a loop can open a second connection to the same server.
    QString connectionString() const { return m_connectionString; }
    int loginTimeout() const { return m_loginTimeout; }

    // The server's session id of this connection (@@SPID), asked once per connection without
    // counting as a statement; 0 when closed or when the server gave no number.
    int sessionId();
    // The connection's current database as the server last reported it; empty when closed.
    QString currentDatabase();

    void setCommandTimeout(int seconds);
    int commandTimeout() const;

    // Runs one batch and reads it to its end. Never throws; failures are in the outcome.
    StatementOutcome execute(const QString& sql, ResultRetention retention = ResultRetention::AllResultSets);
    // Runs the statements one after another in a single job, each read to its end, without a
    // wait of the caller's between them: for long runs of small statements, where handing each
    // one to the worker would cost as much as the statement. Nothing is kept of their results.
    SeriesOutcome executeSeries(const QStringList& statements);
    // Runs a statement with "?" markers, each bound as the SQL type of its target column.
    StatementOutcome executeWithParameters(const QString& sql, const std::vector<ColumnInfo>& targets,
                                           const std::vector<QVariant>& values);

    // The statements in order as one job of the worker, each its own request read to its end: a
    // loop's few dependent statements per row then cost the caller one wait instead of one each,
    // which is what a loop pays most for on a busy machine. Stops after the first statement that
    // fails and, with stopAtRow, after the first whose first result has a row. One outcome per
    // statement run. While Script only collects changes each goes through execute() or
    // executeWithParameters() alone instead.
    std::vector<StatementOutcome> executeChain(const std::vector<ChainedStatement>& statements,
                                               bool stopAtRow = false);

    // A statement prepared once on its own handle and executed per row; the id stays valid until
    // unprepare() or until the connection closes (then execution fails like a closed connection).
    int prepare(const QString& sql);
    StatementOutcome executePrepared(int id, const std::vector<ColumnInfo>& targets,
                                     const std::vector<QVariant>& values);
    // The prepared statement for each row, the rows sent several to a request (each row still
    // its own statement with its own outcome): one outcome per row the server ran, in order.
    // Fewer outcomes than rows when the server did not reach the rest (an error that ends the
    // whole request) or the rest needs other declarations than the first rows: send the rest
    // again; none when the first row cannot go with the others (send it alone).
    std::vector<StatementOutcome> executePreparedRows(int id, const std::vector<ColumnInfo>& targets,
                                                      const std::vector<std::vector<QVariant>>& rows);
    void unprepare(int id);

    // One query read piecemeal on its own handle: openStream() runs it and describes the columns
    // (outcome.resultSets[0], no rows), fetchStream() reads up to maxRows more rows (fewer at the
    // end; streamEnded() then) and reads the next chunk ahead while the caller works on them.
    // The connection carries nothing else while a stream is open.
    StatementOutcome openStream(const QString& sql);
    StatementOutcome fetchStream(int maxRows);
    bool streamEnded() const;
    void closeStream();

    // Cancels the statement that runs (or waits to run) on this side, and on the connections
    // that follow its cancel; callable from any thread, typically the window's while a call
    // above waits.
    void cancel();
    // A connection of this side's loop (a record loop's read connection) that a cancel of this
    // side cancels too, from when it is added until it is removed (before it goes).
    void addCancelFollower(SideConnection* follower);
    void removeCancelFollower(SideConnection* follower);
    bool isRunning() const;

    // Script only: the owner decides which statements may not be sent. Returns true when sql
    // was withheld (the owner has logged and collected it).
    using WithholdCheck = std::function<bool(const QString& sql)>;
    void setWithholdCheck(WithholdCheck check, std::function<bool()> collectingChanges = {});
    bool withholds(const QString& sql) const;
    // Whether statements that change data are collected now rather than sent: lets a loop skip
    // writing out a statement's values for withholds() on every row when nothing is collected.
    bool collectsChanges() const;

    // Numbers for cursor names, unique on this connection.
    int nextCursorNumber();

    // Every statement sent from here on that could change the server is told to the sink as it
    // ends (a prepared statement once per request of rows); null stops it.
    void setAuditSink(AuditSink* sink);

Q_SIGNALS:
    // Emitted on the owner's thread as the server's messages arrive, while the statement runs.
    void serverMessage(int side, const qormin::db::ServerMessage& message);
    void statementStarted(int side);
    void statementFinished(int side, bool succeeded);
    // The link to the server broke during a statement; the connection is closed now.
    void connectionLost(int side);

private Q_SLOTS:
    void deliverMessages();

private:
    struct Worker;

    void runOnWorker(std::function<void()> job);
    void finishJob();
    StatementOutcome runStatement(const std::function<StatementOutcome(OdbcStatement&)>& body);
    StatementOutcome runStatementOn(const std::function<OdbcStatement*()>& choose,
                                    const std::function<StatementOutcome(OdbcStatement&)>& body);
    StatementOutcome runOnWorkerThread(const std::function<OdbcStatement*()>& choose,
                                       const std::function<StatementOutcome(OdbcStatement&)>& body);
    void forwardMessage(const ServerMessage& message);
    StatementOutcome readStreamRows(OdbcStatement& statement, int maxRows);
    void setRunning(OdbcStatement* statement);
    void retryCancel();
    bool runRowArray(OdbcStatement& statement, size_t bound, std::vector<StatementOutcome>& outcomes);
    void audit(const QString& sql, const StatementOutcome& outcome,
               std::optional<qint64> rows = std::nullopt);

    int m_side;
    QString m_connectionString;
    int m_loginTimeout = 15;
    std::unique_ptr<Worker> m_worker;
    WithholdCheck m_withholdCheck;
    std::function<bool()> m_collectingChanges;
    int m_cursorNumber = 0;
    bool m_lastFetchEnded = true;
    std::vector<SideConnection*> m_cancelFollowers;
    AuditSink* m_audit = nullptr;
    std::map<int, QString> m_preparedTexts; // for the audit, on the owner's thread
};

} // namespace qormin::db
