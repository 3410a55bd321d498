#pragma once

#include "db/ResultRetention.h"
#include "db/ResultTable.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

namespace qormin::db {

class OdbcStatement;

struct ConnectOutcome {
    bool connected = false;
    QString errorDescription;
    bool driverNotLoaded = false; // the driver manager could not load the driver library
};

// What a run of statements sent in one go came to.
struct SeriesOutcome {
    int sent = 0; // up to a cancel or a lost connection, which end the run
    int failed = 0;
    QString firstError;
    bool cancelled = false;
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

    // Cancels the statement that runs (or waits to run) on this side; callable from the
    // window thread while a call above waits.
    void cancel();
    bool isRunning() const;

    // Script only: the owner decides which statements may not be sent. Returns true when sql
    // was withheld (the owner has logged and collected it).
    using WithholdCheck = std::function<bool(const QString& sql)>;
    void setWithholdCheck(WithholdCheck check);
    bool withholds(const QString& sql) const;

    // Numbers for cursor names, unique on this connection.
    int nextCursorNumber();

Q_SIGNALS:
    // Emitted on the owner's thread as the server's messages arrive, while the statement runs.
    void serverMessage(int side, const qormin::db::ServerMessage& message);
    void statementStarted(int side);
    void statementFinished(int side, bool succeeded);
    // The link to the server broke during a statement; the connection is closed now.
    void connectionLost(int side);

private:
    struct Worker;

    void runOnWorker(std::function<void()> job);
    void finishJob();
    StatementOutcome runStatement(const std::function<StatementOutcome(OdbcStatement&)>& body);
    StatementOutcome runOnWorkerThread(const std::function<StatementOutcome(OdbcStatement&)>& body);
    void forwardMessage(const ServerMessage& message);

    int m_side;
    std::unique_ptr<Worker> m_worker;
    WithholdCheck m_withholdCheck;
    int m_cursorNumber = 0;
};

} // namespace qormin::db
