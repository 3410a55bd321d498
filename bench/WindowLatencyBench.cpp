// How long the window cannot react while work runs: a 5 ms timer on the window's thread notes how
// late each of its ticks comes, while (1) the "Copy" page copies 100,000 rows by record from the
// simulated server (a program of its own) and (2) 10,000 log lines a second go through LogMessage
// for 10 s (100,000 lines). The log boxes are on screen (offscreen platform) and follow every
// line, so what they cost counts. The reference is the same timer on an idle event loop.
#include "BenchSupport.h"
#include "app/LogPanel.h"
#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "tablecopy/TableCopyTools.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QFile>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QStringList>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <vector>

namespace {

using namespace qormin::bench;

constexpr int tickMilliseconds = 5;

QByteArray tableRule(const char* statement, int rows) {
    return generatedTableRule(statement, rows, "Patient {n}");
}

QByteArray scenarioText() {
    return QByteArray(R"json({"rules": [)json") + tableRule("SELECT TOP 1 * FROM Bench2..tbCopy", 1) + "," +
           tableRule("SELECT * FROM Bench..tb100000", 100000) + "]}";
}

// How long this thread has waited for a CPU (Linux; 0 elsewhere). On a machine shared with
// other work, that is most of a long delay, and none of it is the window's doing.
class RunQueueWait {
public:
    RunQueueWait() : m_file(QStringLiteral("/proc/thread-self/schedstat")) {
        if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            m_file.setFileName(QString());
    }
    double milliseconds() {
        if (!m_file.isOpen() || !m_file.seek(0))
            return 0;
        const QList<QByteArray> fields = m_file.readAll().split(' ');
        return fields.size() < 2 ? 0 : fields.at(1).toDouble() / 1e6;
    }

private:
    QFile m_file;
};

// The lateness of a periodic timer while work runs on the same thread: as the operator sees it,
// and less the time the thread waited for a CPU.
struct Latency {
    double largestMilliseconds = 0;
    double largestOwnMilliseconds = 0;
    double percentile99Milliseconds = 0;
    double seconds = 0;
};

Latency measure(const std::function<void()>& work) {
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(tickMilliseconds);
    QElapsedTimer sinceTick;
    RunQueueWait waited;
    double waitedBefore = waited.milliseconds();
    std::vector<double> lateness;
    Latency latency;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        const double late = static_cast<double>(sinceTick.nsecsElapsed()) / 1e6 - tickMilliseconds;
        const double waitedNow = waited.milliseconds();
        lateness.push_back(late);
        latency.largestOwnMilliseconds =
            std::max(latency.largestOwnMilliseconds, late - (waitedNow - waitedBefore));
        waitedBefore = waitedNow;
        sinceTick.start();
    });
    QElapsedTimer clock;
    clock.start();
    sinceTick.start();
    timer.start();
    work();
    // The tick that was due while the work's last step ran counts too.
    QCoreApplication::processEvents();
    timer.stop();
    latency.seconds = secondsSince(clock);
    if (lateness.empty())
        return latency;
    std::sort(lateness.begin(), lateness.end());
    latency.largestMilliseconds = lateness.back();
    latency.percentile99Milliseconds = lateness[lateness.size() * 99 / 100];
    return latency;
}

void idleFor(int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, milliseconds);
}

// Lines arrive at a steady rate, as a record loop that logs would send them.
int logAtRate(qormin::db::ServerAccess& access, int linesPerSecond, int seconds) {
    const qint64 spacingNanoseconds = 1000000000LL / linesPerSecond;
    const int lines = linesPerSecond * seconds;
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < lines; ++index) {
        while (clock.nsecsElapsed() < index * spacingNanoseconds) {
        }
        access.LogMessage(QStringLiteral("INSERT INTO Billing..tbInvoice VALUES (") + QString::number(index) +
                          QStringLiteral(", 'Patient name', 12.50)"));
    }
    return lines;
}

QString joined(const std::vector<Latency>& rounds, double Latency::*figure) {
    QStringList figures;
    for (const Latency& round : rounds)
        figures.append(QString::number(round.*figure, 'f', 1));
    return figures.join(QStringLiteral(", "));
}

double median(const std::vector<Latency>& rounds, double Latency::*figure) {
    std::vector<double> sorted;
    for (const Latency& round : rounds)
        sorted.push_back(round.*figure);
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
}

// One line per case, a figure per round: the largest delay (with its median's ratio to the idle
// loop's: the machine's own share), the same less the time spent waiting for a CPU, the 99th
// percentile.
QString figures(const std::vector<Latency>& rounds, const std::vector<Latency>& idle) {
    const double largest = median(rounds, &Latency::largestMilliseconds);
    const double idleLargest = std::max(median(idle, &Latency::largestMilliseconds), 0.1);
    return QStringLiteral("largest ") + joined(rounds, &Latency::largestMilliseconds) +
           QStringLiteral(" ms (median ") + QString::number(largest, 'f', 1) +
           QStringLiteral(", ratio to idle ") + QString::number(largest / idleLargest, 'f', 1) +
           QStringLiteral("); less waiting for a CPU ") + joined(rounds, &Latency::largestOwnMilliseconds) +
           QStringLiteral(" ms; 99% of ticks within ") + joined(rounds, &Latency::percentile99Milliseconds) +
           QStringLiteral(" ms");
}

} // namespace

int main(int argc, char** argv) {
    useOffscreenWithoutDisplay();
    QApplication application(argc, argv);
    QTextStream out(stdout);

    SimProcess simulator(QStringLiteral(QORMIN_SIM_PATH));
    if (!simulator.start(scenarioText(), &out))
        return 1;

    StubHost host(simulator.server());
    qormin::db::ServerAccess access(host);
    qormin::controls::FlexGrid grid;
    QLineEdit database(QStringLiteral("Bench"));
    QCheckBox stop;
    QWidget window;
    auto* tools = new qormin::tablecopy::TableCopyTools({access, grid, database, stop}, &window);
    auto* logs = new qormin::app::LogPanel(access, &window);
    auto* layout = new QHBoxLayout(&window);
    layout->addWidget(tools);
    layout->addWidget(logs, 1);
    window.resize(1200, 800);
    window.show();
    access.ConnectServer(0);
    idleFor(200);

    // The machine's other work shows as delays too: rounds alternate the cases, and the idle loop
    // of the same rounds says how much of a delay is the machine's.
    constexpr int rounds = 3;
    std::vector<Latency> idle;
    std::vector<Latency> copy;
    std::vector<Latency> logging;
    int lines = 0;
    for (int round = 0; round < rounds; ++round) {
        idle.push_back(measure([] { idleFor(2000); }));
        copy.push_back(measure([tools] {
            tools->CopyRecords(QStringLiteral("Bench..tb100000"), QStringLiteral("Bench2..tbCopy"));
        }));
        logging.push_back(measure([&access, &lines] { lines = logAtRate(access, 10000, 10); }));
        access.log().clear();
    }
    out << "largest event-loop delay (a " << tickMilliseconds << " ms timer's lateness), goal <= 50 ms, "
        << rounds << " rounds" << Qt::endl;
    out << "  idle: " << figures(idle, idle) << Qt::endl;
    out << "  copy by record, 100000 rows: " << figures(copy, idle) << "; "
        << QString::number(100000 / copy.back().seconds, 'f', 0) << " rows/s" << Qt::endl;
    out << "  " << lines << " log lines at 10000 lines/s: " << figures(logging, idle) << "; "
        << QString::number(lines / logging.back().seconds, 'f', 0) << " lines/s reached" << Qt::endl;
    return 0;
}
