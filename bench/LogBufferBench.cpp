// Logging 100,000 and 200,000 lines: straight into the LogBuffer, and through LogMessage
// (which also yields to the event loop per line). Prints time and the memory the lines take;
// linear cost shows as ratios near 2.
#include "BenchSupport.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTextStream>

namespace {

using namespace qormin::bench;

QString lineNumber(int index) {
    return QStringLiteral("RESTORE DATABASE Patient_Data FROM DISK = 'X:\\Patient_Data.BAK' -- line ") +
           QString::number(index);
}

struct Figures {
    double seconds = 0;
    qint64 kilobytes = 0;
};

Figures intoBuffer(int lines) {
    const long before = residentKilobytes();
    qormin::db::LogBuffer buffer;
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < lines; ++index) {
        buffer.prepend(lineNumber(index));
    }
    const double seconds = secondsSince(clock);
    const long after = residentKilobytes();
    const auto size = buffer.text().size(); // the exact text is still one pass
    Q_UNUSED(size);
    return {seconds, after - before};
}

Figures throughLogMessage(int lines) {
    const long before = residentKilobytes();
    StubHost host;
    qormin::db::ServerAccess access(host);
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < lines; ++index) {
        access.LogMessage(lineNumber(index));
    }
    const double seconds = secondsSince(clock);
    return {seconds, residentKilobytes() - before};
}

// Each figure comes from a fresh process (this program started again with a mode and a line
// count), so that the peak memory of one run is not hidden by memory an earlier run freed.
int runOne(const QString& mode, int lines) {
    const Figures figures = mode == QLatin1String("buffer") ? intoBuffer(lines) : throughLogMessage(lines);
    QTextStream(stdout) << figures.seconds << ' ' << figures.kilobytes << ' ' << peakResidentKilobytes()
                        << '\n';
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3) {
        return runOne(arguments.at(1), arguments.at(2).toInt());
    }
    QTextStream out(stdout);
    for (const auto& [name, mode] :
         {std::pair{"LogBuffer::prepend", "buffer"}, std::pair{"LogMessage", "log"}}) {
        QStringList figures[2];
        for (int index = 0; index < 2; ++index) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(),
                        {QLatin1String(mode), QString::number(100000 * (index + 1))});
            child.waitForFinished(-1);
            figures[index] = QString::fromUtf8(child.readAllStandardOutput()).simplified().split(u' ');
            if (figures[index].size() != 3) {
                out << name << ": the measuring run failed\n";
                return 1;
            }
        }
        out << name << ": 100,000 lines " << figures[0][0] << " s, lines +" << figures[0][1]
            << " kB, peak RSS " << figures[0][2] << " kB; 200,000 lines " << figures[1][0] << " s, lines +"
            << figures[1][1] << " kB, peak RSS " << figures[1][2] << " kB; time ratio "
            << figures[1][0].toDouble() / figures[0][0].toDouble() << "\n";
    }
    return 0;
}
