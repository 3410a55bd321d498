#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>

namespace qormin::net {

// Runs a command-line tool to its end while the window keeps painting (a local event loop
// that takes no user input), feeds it secrets through its standard input and gives up after
// a time limit instead of hanging.
class ToolProcess {
public:
    struct Result {
        bool started = false;
        bool timedOut = false;
        int exitCode = -1;
        QByteArray output;
        QByteArray errors;
        bool succeeded() const { return started && !timedOut && exitCode == 0; }
    };

    // What to write in answer to the output so far; closeInput ends the tool's input.
    struct Answer {
        QByteArray input;
        bool closeInput = false;
    };
    using Responder = std::function<Answer(const QByteArray& newOutput)>;

    ToolProcess(QString program, QStringList arguments, QProcessEnvironment environment);

    // The program's path on the environment's PATH, looked up at each use so that a tool
    // installed while the window is open is found; empty when it is not installed.
    static QString find(const QString& name, const QProcessEnvironment& environment);

    void setWorkingDirectory(const QString& folder) { m_workingDirectory = folder; }

    // Writes input and closes the tool's input at once.
    Result run(const QByteArray& input, std::chrono::milliseconds limit) const;
    // Keeps the input open and lets the responder answer prompts as they appear.
    Result converse(const Responder& responder, std::chrono::milliseconds limit) const;

private:
    QString m_program;
    QStringList m_arguments;
    QProcessEnvironment m_environment;
    QString m_workingDirectory;
};

} // namespace qormin::net
