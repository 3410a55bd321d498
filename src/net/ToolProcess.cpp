#include "net/ToolProcess.h"

#include <QEventLoop>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

namespace qormin::net {

ToolProcess::ToolProcess(QString program, QStringList arguments, QProcessEnvironment environment)
    : m_program(std::move(program)), m_arguments(std::move(arguments)),
      m_environment(std::move(environment)) {}

QString ToolProcess::find(const QString& name, const QProcessEnvironment& environment) {
    return QStandardPaths::findExecutable(
        name, environment.value(QStringLiteral("PATH")).split(u':', Qt::SkipEmptyParts));
}

ToolProcess::Result ToolProcess::run(const QByteArray& input, std::chrono::milliseconds limit) const {
    bool written = false;
    return converse(
        [&](const QByteArray&) {
            Answer answer;
            if (!written)
                answer.input = input;
            written = true;
            answer.closeInput = true;
            return answer;
        },
        limit);
}

ToolProcess::Result ToolProcess::converse(const Responder& responder, std::chrono::milliseconds limit) const {
    Result result;
    QProcess process;
    process.setProgram(m_program);
    process.setArguments(m_arguments);
    process.setProcessEnvironment(m_environment);
    if (!m_workingDirectory.isEmpty())
        process.setWorkingDirectory(m_workingDirectory);

    QEventLoop loop;
    QTimer limitTimer;
    limitTimer.setSingleShot(true);
    const auto answer = [&](const QByteArray& newOutput) {
        const Answer reply = responder(newOutput);
        if (!reply.input.isEmpty())
            process.write(reply.input);
        if (reply.closeInput)
            process.closeWriteChannel();
    };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &loop, [&] {
        const QByteArray chunk = process.readAllStandardOutput();
        result.output += chunk;
        answer(chunk);
    });
    QObject::connect(&process, &QProcess::readyReadStandardError, &loop,
                     [&] { result.errors += process.readAllStandardError(); });
    bool ended = false;
    QObject::connect(&process, &QProcess::finished, &loop, [&] {
        ended = true;
        loop.quit();
    });
    QObject::connect(&limitTimer, &QTimer::timeout, &loop, [&] {
        result.timedOut = true;
        process.kill();
    });

    process.start();
    if (!process.waitForStarted())
        return result;
    result.started = true;
    answer(QByteArray());
    limitTimer.start(limit);
    if (!ended)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
    result.output += process.readAllStandardOutput();
    result.errors += process.readAllStandardError();
    if (!result.timedOut && process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    return result;
}

} // namespace qormin::net
