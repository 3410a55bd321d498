#pragma once

#include "db/StatementTally.h"

#include <QElapsedTimer>
#include <QList>
#include <QMetaObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>

class QEventLoop;
class QTextStream;
class QWidget;

namespace qormin::platform {
class TerminationRequests;
}

namespace qormin::app {

class BatchMessageBoxService;
struct BatchCommand;
class frmMain;

// Drives a main window from a batch file, one command per line, each running to its end
// before the next and started through the window's handler gate, as a click would be. The whole
// file is checked first: an unknown control or a malformed line anywhere means nothing runs, and
// the message names the line.
//
// The exit status tells a scheduler how the run went: 0 when every statement sent succeeded
// (refusals on a grid's header row, see db::HeaderRowPass, excepted), 1 when one failed or a
// record loop lost a value (ServerAccess::reportLoss), 2 for a bad batch line, 3 when a side
// could not connect, 4 when a termination request (SIGTERM) ended it: the running statement is
// cancelled, the command under way stops as a STOP would stop it, and no further line runs. The
// run ends with a summary line on log.
// The counts start when the runner is made, so make it before Form_Load to count start-up.
class BatchRunner {
public:
    static constexpr int succeededExitCode = 0;
    static constexpr int statementFailedExitCode = 1;
    static constexpr int malformedExitCode = 2;
    static constexpr int connectFailedExitCode = 3;
    static constexpr int interruptedExitCode = 4;

    BatchRunner(frmMain& window, BatchMessageBoxService& messageBoxes, QTextStream& output,
                QTextStream& errors, QTextStream& log);
    ~BatchRunner();
    BatchRunner(const BatchRunner&) = delete;
    BatchRunner& operator=(const BatchRunner&) = delete;

    int run(QTextStream& input);
    // Termination requests end the run (see above).
    void watch(platform::TerminationRequests& requests);
    // Ends the run at once: the command under way did not end in time after an interruption.
    // Prints the summary and returns the status to end the program with.
    int abandon();

    static int exitStatus(const db::StatementTally& tally, bool malformed, bool interrupted = false);
    static QString summary(const db::StatementTally& tally, qint64 elapsedMilliseconds, int exitStatus);

private:
    // Empty when the command ran; otherwise why it could not.
    bool checkAll(const QStringList& lines, QList<BatchCommand>& commands, QList<qsizetype>& lineNumbers);
    // Empty when the command can run as far as can be known before the run.
    QString check(const BatchCommand& command, QSet<QString>& opened) const;
    QString checkControl(const BatchCommand& command, const QSet<QString>& opened) const;
    QString pageError(int index) const;
    void reportBadLine(qsizetype lineNumber, const QString& line, const QString& error);
    QString execute(const BatchCommand& command);
    QString executeControlCommand(const BatchCommand& command);
    QString startThroughGate(const QString& label, const std::function<QString()>& command,
                             const QWidget* control = nullptr);
    void interrupt(const QString& signalName);
    bool interruptedNow();
    int finish(bool malformed);
    void wait(int milliseconds);
    QString set(QWidget* control, const QString& value);
    QString click(QWidget* control);
    QString clickRow(QWidget* control, const BatchCommand& command);
    QString print(QWidget* control);
    QString page(int index);
    QWidget* find(const QString& name, QString& error) const;
    QWidget* findIn(QWidget* scope, const QString& name, QString& error) const;

    frmMain& m_window;
    BatchMessageBoxService& m_messageBoxes;
    QTextStream& m_output;
    QTextStream& m_errors;
    QTextStream& m_log;
    db::StatementTally m_before;
    QElapsedTimer m_elapsed;
    platform::TerminationRequests* m_requests = nullptr;
    QMetaObject::Connection m_requestConnection;
    bool m_interrupted = false;
    QEventLoop* m_waiting = nullptr; // a "wait" line's loop, left early on an interruption
};

} // namespace qormin::app
