#pragma once

#include "db/StatementTally.h"

#include <QElapsedTimer>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>

class QTextStream;
class QWidget;

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
// (refusals on a grid's header row, see db::HeaderRowPass, excepted), 1 when one failed, 2 for
// a bad batch line, 3 when a side could not connect. The run ends with a summary line on log.
// The counts start when the runner is made, so make it before Form_Load to count start-up.
class BatchRunner {
public:
    static constexpr int succeededExitCode = 0;
    static constexpr int statementFailedExitCode = 1;
    static constexpr int malformedExitCode = 2;
    static constexpr int connectFailedExitCode = 3;

    BatchRunner(frmMain& window, BatchMessageBoxService& messageBoxes, QTextStream& output,
                QTextStream& errors, QTextStream& log);

    int run(QTextStream& input);

    static int exitStatus(const db::StatementTally& tally, bool malformed);
    static QString summary(const db::StatementTally& tally, qint64 elapsedMilliseconds, int exitStatus);

private:
    // Empty when the command ran; otherwise why it could not.
    bool checkAll(const QStringList& lines, QList<BatchCommand>& commands);
    // Empty when the command can run as far as can be known before the run.
    QString check(const BatchCommand& command, QSet<QString>& opened) const;
    QString checkControl(const BatchCommand& command, const QSet<QString>& opened) const;
    QString pageError(int index) const;
    void reportBadLine(qsizetype lineNumber, const QString& line, const QString& error);
    QString execute(const BatchCommand& command);
    QString executeControlCommand(const BatchCommand& command);
    QString startThroughGate(const QString& label, const std::function<QString()>& command);
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
};

} // namespace qormin::app
