// Start-up time of the tool, whole process: with an empty settings store and with both sides
// connecting to the simulated demo server. Prints medians of several runs.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>
#include <vector>

namespace {

constexpr int runs = 9;

struct Run {
    double wallMs = 0;
    double paintedMs = 0;
    double readyMs = 0;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

std::optional<Run> startOnce(const QString& program, const QStringList& arguments) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!environment.contains(QStringLiteral("DISPLAY")))
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(environment);
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return std::nullopt;
    Run run;
    run.wallMs = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    static const QRegularExpression report(QStringLiteral("painted after (\\d+) ms, ready after (\\d+) ms"));
    const QRegularExpressionMatch match = report.match(QString::fromUtf8(process.readAllStandardError()));
    if (match.hasMatch()) {
        run.paintedMs = match.captured(1).toDouble();
        run.readyMs = match.captured(2).toDouble();
    }
    return run;
}

void measure(QTextStream& out, const QString& title, const QString& program, const QStringList& extra) {
    std::vector<double> wall;
    std::vector<double> painted;
    std::vector<double> ready;
    for (int i = 0; i < runs; ++i) {
        QTemporaryDir folder;
        QStringList arguments{QStringLiteral("--exit-after-paint")};
        if (!extra.contains(QStringLiteral("--demo")))
            arguments << QStringLiteral("--settings") << folder.filePath(QStringLiteral("settings.ini"));
        const std::optional<Run> run = startOnce(program, arguments + extra);
        if (!run) {
            out << title << ": the tool did not start cleanly" << Qt::endl;
            return;
        }
        wall.push_back(run->wallMs);
        painted.push_back(run->paintedMs);
        ready.push_back(run->readyMs);
    }
    out << title << " (median of " << runs << "): first paint " << median(painted) << " ms, start-up done "
        << median(ready) << " ms, whole process " << median(wall) << " ms" << Qt::endl;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    const QString program = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(QORMIN_DBTOOLS_PATH);
    measure(out, QStringLiteral("empty settings store"), program, {});
    measure(out, QStringLiteral("both sides connecting to the simulator (--demo)"), program,
            {QStringLiteral("--demo")});
    return 0;
}
