// Copying one large backup file between two local folders through the tool's copy routine (the
// copy off the window's thread, the window's event loop waiting for it) against `cp` on the
// same file in the same run: seconds, the ratio, how late a 10 ms window timer fired during the
// copy (the window's latency), and the resident memory added while copying. The file is made
// in a temporary folder under /tmp at the start and removed at the end.
#include "BenchSupport.h"
#include "dbfiles/FileCopyRunner.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <random>
#include <vector>

namespace {

using qormin::bench::residentKilobytes;

constexpr qint64 fileBytes = qint64{2} << 30;
constexpr int timerMilliseconds = 10;
constexpr int rounds = 4;

bool makeSourceFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    std::mt19937_64 random(11);
    std::vector<quint64> block((std::size_t{8} << 20) / sizeof(quint64));
    for (qint64 written = 0; written < fileBytes;
         written += static_cast<qint64>(block.size() * sizeof(quint64))) {
        std::generate(block.begin(), block.end(), random);
        if (file.write(reinterpret_cast<const char*>(block.data()), static_cast<qint64>(block.size() * 8)) <
            0)
            return false;
    }
    return true;
}

double copyWithCp(const QString& source, const QString& target) {
    QElapsedTimer clock;
    clock.start();
    QProcess::execute(QStringLiteral("cp"), {source, target});
    const double seconds = clock.nsecsElapsed() / 1e9;
    QFile::remove(target);
    return seconds;
}

struct RoutineRun {
    double seconds = 0;
    qint64 worstLateMs = 0;
    qint64 medianLateMs = 0;
    long addedResidentKb = 0;
    bool copied = false;
};

RoutineRun copyWithRoutine(const QString& source, const QString& target) {
    qormin::dbfiles::FileCopyRunner runner;
    std::vector<qint64> late;
    QElapsedTimer sinceTick;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    tick.setInterval(timerMilliseconds);
    const long residentBefore = residentKilobytes();
    long residentPeak = residentBefore;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        late.push_back(std::max<qint64>(0, sinceTick.restart() - timerMilliseconds));
        residentPeak = std::max(residentPeak, residentKilobytes());
    });
    RoutineRun run;
    QElapsedTimer clock;
    clock.start();
    sinceTick.start();
    tick.start();
    run.copied = runner.copy(source, target).result == qormin::platform::FileCopyOutcome::Result::Copied;
    tick.stop();
    run.seconds = clock.nsecsElapsed() / 1e9;
    QFile::remove(target);
    std::sort(late.begin(), late.end());
    if (!late.empty()) {
        run.worstLateMs = late.back();
        run.medianLateMs = late.at(late.size() / 2);
    }
    run.addedResidentKb = residentPeak - residentBefore;
    return run;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir folder(QStringLiteral("/tmp/qormin-bench-copy-XXXXXX"));
    const QString source = folder.filePath(QStringLiteral("Billing.BAK"));
    const QString target = folder.filePath(QStringLiteral("Billing-copy.BAK"));
    if (!folder.isValid() || !makeSourceFile(source)) {
        out << "could not write the 2 GB source file in /tmp" << Qt::endl;
        return 1;
    }
    out << "file: 2 GiB of pseudo-random bytes in " << folder.path() << Qt::endl;
    double cpBest = 1e9;
    double routineBest = 1e9;
    RoutineRun worst;
    std::vector<double> cpTimes;
    std::vector<double> routineTimes;
    for (int round = 0; round < rounds; ++round) {
        // Alternate which goes first, so neither always finds the other's dirty pages being written back.
        double cp = 0;
        RoutineRun routine;
        if (round % 2 == 0) {
            cp = copyWithCp(source, target);
            routine = copyWithRoutine(source, target);
        } else {
            routine = copyWithRoutine(source, target);
            cp = copyWithCp(source, target);
        }
        if (!routine.copied) {
            out << "the copy routine failed" << Qt::endl;
            return 1;
        }
        out << QStringLiteral("round %1: cp %2 s, copy routine %3 s, window timer late by at most %4 ms "
                              "(median %5 ms), resident memory +%6 KiB")
                   .arg(round + 1)
                   .arg(cp, 0, 'f', 2)
                   .arg(routine.seconds, 0, 'f', 2)
                   .arg(routine.worstLateMs)
                   .arg(routine.medianLateMs)
                   .arg(routine.addedResidentKb)
            << Qt::endl;
        cpTimes.push_back(cp);
        routineTimes.push_back(routine.seconds);
        cpBest = std::min(cpBest, cp);
        routineBest = std::min(routineBest, routine.seconds);
        worst.worstLateMs = std::max(worst.worstLateMs, routine.worstLateMs);
        worst.addedResidentKb = std::max(worst.addedResidentKb, routine.addedResidentKb);
    }
    out << QStringLiteral("best: cp %1 s (%2 MB/s), copy routine %3 s (%4 MB/s), ratio %5x; window latency "
                          "at most %6 ms; resident memory added at most %7 KiB")
               .arg(cpBest, 0, 'f', 2)
               .arg(fileBytes / 1e6 / cpBest, 0, 'f', 0)
               .arg(routineBest, 0, 'f', 2)
               .arg(fileBytes / 1e6 / routineBest, 0, 'f', 0)
               .arg(routineBest / cpBest, 0, 'f', 3)
               .arg(worst.worstLateMs)
               .arg(worst.addedResidentKb)
        << Qt::endl;
    std::sort(cpTimes.begin(), cpTimes.end());
    std::sort(routineTimes.begin(), routineTimes.end());
    const double cpMedian = (cpTimes.at(rounds / 2 - 1) + cpTimes.at(rounds / 2)) / 2;
    const double routineMedian = (routineTimes.at(rounds / 2 - 1) + routineTimes.at(rounds / 2)) / 2;
    out << QStringLiteral("median: cp %1 s, copy routine %2 s, ratio %3x")
               .arg(cpMedian, 0, 'f', 2)
               .arg(routineMedian, 0, 'f', 2)
               .arg(routineMedian / cpMedian, 0, 'f', 3)
        << Qt::endl;
    return 0;
}
