#pragma once

#include <QString>

class QTextStream;
class QWidget;

namespace qormin::app {

class BatchMessageBoxService;
struct BatchCommand;
class frmMain;

// Drives a started main window from a batch file, one command per line, each running to its
// end before the next. An unknown control or a malformed line stops the run: the message
// names the line and run() returns 2.
class BatchRunner {
public:
    static constexpr int malformedExitCode = 2;

    BatchRunner(frmMain& window, BatchMessageBoxService& messageBoxes, QTextStream& output,
                QTextStream& errors);

    int run(QTextStream& input);

private:
    // Empty when the command ran; otherwise why it could not.
    QString execute(const BatchCommand& command);
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
};

} // namespace qormin::app
