#pragma once

#include "db/AuditSink.h"
#include "db/ConnectionString.h"
#include "db/ResultTable.h"
#include "db/StatementTally.h"
#include "db/WithheldScript.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <array>
#include <memory>

namespace qormin::db {

class LogBuffer;
class Recordset;
class ServerMessageLog;
class SideConnection;
struct ConnectOutcome;
struct HandshakeProbes;

// What the execution layer needs from the window that owns it.
class ServerAccessHost {
public:
    virtual ~ServerAccessHost() = default;
    virtual QString serverText(int side) const = 0;   // txtServer(side)
    virtual QString userText(int side) const = 0;     // txtUserID(side)
    virtual QString passwordText(int side) const = 0; // txtPW(side)
    // Message box, OK only; the title names the side and server.
    virtual void showConnectError(const QString& description, const QString& title) = 0;
    virtual void setBusyCursor(bool busy) = 0;
};

// The two side connections and the classic routines through which every statement runs
// and every message is logged. Statements run on one worker thread per side; the calling
// (window) thread waits in a local event loop, so callers stay sequential code.
class ServerAccess : public QObject {
    Q_OBJECT
public:
    explicit ServerAccess(ServerAccessHost& host, QObject* parent = nullptr);
    ~ServerAccess() override;

    void ConnectServer(int side);
    void EnsureConnected(int side);
    // Both return false when the statement failed (refused, cancelled, side not connected) and
    // true when it succeeded or Script only withheld it; what they log is the same either way.
    bool ExecuteSQL(int side, const QString& sql);
    // The third argument is accepted and never read, as callers have always passed one.
    bool OpenRecordset(int side, const QString& sql, const QVariant& unused, QString& result);
    // A question the window asks on its own account (the database grid's health columns): run
    // like OpenRecordset, but not counted in tally(), and a failure is the caller's to report,
    // so it is not written to txtErrs either. error gets the server's text alone.
    bool openQuietly(int side, const QString& sql, QString& error);
    // The side and its server as the error lines name them: "Left server SRV1".
    QString sideServerName(int side) const;
    // What the last ExecuteSQL that failed said; empty after one that succeeded.
    QString lastError() const;
    void ExecuteScript(int side, const QString& script);
    void LogMessage(const QString& text, bool atEnd = false);
    void LogError(const QString& text);
    // A record loop's line for values it could not move or replace as they were: logged in
    // txtErrs and counted (tally().valuesLost), so a batch run does not end as a success.
    void reportLoss(const QString& line, int values = 1);
    void StartTiming();
    float ElapsedSeconds() const;

    bool IsConnected(int side) const;
    // cmdConnect: close the side's connection (if any) and forget that it was connected.
    void closeConnection(int side);

    Recordset& sharedRecordset();
    LogBuffer& log();    // txtLog
    LogBuffer& errors(); // txtErrs
    ServerMessageLog& serverMessages();

    // Cancels the statement running on either side; it then fails like any failed statement.
    void cancelRunningStatement();
    // While the running handler is being ended (a close, a termination request), the statements
    // it goes on to start through ExecuteSQL and OpenRecordset are not sent: each fails at once,
    // logged "Not run (cancelled)" and counted as failed.
    void refuseNewStatements(bool on);
    bool isStatementRunning() const;

    // How the side's next connection is encrypted (Options page); it applies from the next connect.
    // A refused encrypted handshake is shown and logged (txtLog, txtErrs) as one line naming the
    // side, the server and the reason.
    void setConnectionSecurity(int side, const ConnectionSecurity& security);
    ConnectionSecurity connectionSecurity(int side) const;

    // The ODBC driver used for Provider=SQLOLEDB; empty means found automatically.
    void setDriverOverride(const QString& driver);
    QString driverInUse() const;

    // Script only: statements that could change a server are logged, marked
    // "Not run (script only)" and collected instead of being sent.
    void setScriptOnly(bool on);
    bool scriptOnly() const;
    QStringList withheldStatements() const;
    // The same, each with the side, server and database it was meant for (the saved script).
    std::vector<WithheldStatement> withheldWithPlaces() const;
    void clearWithheldStatements();

    // Lower level for record loops and operations that need the whole outcome.
    SideConnection& side(int side);
    // A connection a handler opens for itself (the speed test's) counts in tally() like a side's.
    void tallyStatementsOf(SideConnection& connection);
    // A statement that could not be sent because such a connection did not open: it counts as
    // sent and failed, as one on a side that could not connect does.
    void countUnsent();

    // Where every statement that could change a server is told as it ends, sent or not: the
    // sides' statements, those of connections passed to tallyStatementsOf, and those withheld by
    // Script only or refused while a handler is ended. Null: nowhere.
    void setAuditSink(AuditSink* sink);
    // The audit sink could not keep a line: counted (tally().auditLinesLost), and said in the
    // log boxes the first time only.
    void reportAuditFailure(const QString& problem);

    // How long a connect attempt may take before it fails (15 s unless a test shortens it).
    void setLoginTimeout(int seconds);

    // Every statement since the start, counted as it finishes.
    StatementTally tally() const;
    // The side of the routine under way (ExecuteSQL, OpenRecordset, ExecuteScript, ConnectServer),
    // so that a log line can name the side it belongs to; -1 between them.
    int activeSide() const;
    bool inHeaderRowPass() const;
    // See HeaderRowPass, which calls these.
    void enterHeaderRowPass();
    void leaveHeaderRowPass();

Q_SIGNALS:
    void statementStarted(int side);
    void statementFinished(int side);
    // The line of the last failed connect or statement (as txtErrs has it for a connect and an
    // ExecuteSQL); empty after the next success.
    void lastErrorChanged(const QString& line);

private:
    struct State;

    class SideInUse;

    bool withhold(const QString& sql, bool logStatement, int side);
    void refuse(int side, const QString& sql);
    void auditUnsent(int side, const QString& sql, AuditRecord::Outcome outcome);
    void countFinished(bool succeeded);
    enum class ErrorLine { ErrorsBoxAndStatusBar, StatusBarOnly };
    void reportFailure(int side, const QString& description, const QString& sql, ErrorLine where);
    void reportLine(const QString& named, ErrorLine where);
    void reportSuccess();
    bool failureIsExpected(bool connected) const;
    ConnectOutcome openSide(int side, const QString& providerString);
    QString refusedEncryption(int side, const QString& providerString, const ConnectOutcome& outcome);
    HandshakeProbes probeHandshake(int side, const QString& providerString, const QString& driver);

    std::unique_ptr<State> m_state;
};

} // namespace qormin::db
