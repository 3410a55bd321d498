// What the benchmark programs share: the simulated server (in this process or as a program of
// its own), memory and timer-lateness figures, best-of rounds and the raw ODBC scaffolding that
// the tool's figures are compared with.
#pragma once

#include "db/ServerAccess.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <functional>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <vector>

namespace qormin::sim {
class SimServer;
}

namespace qormin::bench {

// Without a display the window's benchmarks draw on the offscreen platform.
void useOffscreenWithoutDisplay();

// argv[index] as a count of at least 1, or fallback when it is not given.
int countArgument(int argc, char** argv, int index, int fallback);

double secondsSince(const QElapsedTimer& clock);
double secondsOf(const std::function<void()>& work);

long peakResidentKilobytes();
// Resident memory now in kB (Linux); 0 elsewhere.
long residentKilobytes();

// The best time of each side over rounds that alternate the tool and the raw loop, so that the
// shared machine's slow moments do not fall on one side only.
struct BestTimes {
    double tool = 1e9;
    double raw = 1e9;
    void keep(double toolSeconds, double rawSeconds);
    double ratio() const { return tool / raw; }
};

// What one run of a loop cost this process. CPU time and context switches are the process's own
// (every thread of the tool, getrusage RUSAGE_SELF): the simulator and the background load are
// processes of their own and do not count. Requests are this process's SQLExecute and
// SQLExecDirect calls, each one request to the server (rows fetched from a plain result stream
// in without one).
struct LoopCost {
    double seconds = 1e9;
    double cpuSeconds = 1e9;
    long requests = 0;
    long switches = 0;
    // The best of two runs, figure by figure (the requests are the same each run).
    void keepBest(const LoopCost& other);
};
LoopCost costOf(const std::function<void()>& work);
long odbcRequestsSoFar();

// The load average as /proc/loadavg gives it ("2.05 1.80 1.62"), to print beside each figure.
QString loadAverage();

// One busy process per core at normal priority, from start() until stop() or until this goes:
// the machine a workstation or a shared server is when it does other work.
class BackgroundLoad {
public:
    BackgroundLoad() = default;
    ~BackgroundLoad();
    BackgroundLoad(const BackgroundLoad&) = delete;
    BackgroundLoad& operator=(const BackgroundLoad&) = delete;
    void start();
    void stop();

private:
    std::vector<int> m_processes;
};

// A loop of the tool and the plain ODBC loop of the same statements over the same rows.
struct LoopPair {
    QString name;
    double rows = 1;
    std::function<void()> tool;
    std::function<void()> raw;
    std::function<void()> reset = [] {}; // before each run of either, not measured
};
struct LoopComparison {
    LoopCost tool;
    LoopCost raw;
    QString load; // the load average when the runs ended
};
// The pair alternated runs times, best of each kept, first on the machine as it is and then
// under a BackgroundLoad; prints a line per run and one per condition with time ratio, CPU per
// row, requests per row and context switches per row of both loops.
std::vector<LoopComparison> compareIdleAndLoaded(QTextStream& out, const LoopPair& pair, int runs);

// The largest lateness in ms of a periodic timer on this thread while work runs there.
class LatenessProbe {
public:
    explicit LatenessProbe(int intervalMilliseconds);
    void start();
    void stop();
    qint64 largestMilliseconds() const { return m_largest; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    int m_interval;
    qint64 m_largest = 0;
};

// Connects as sa to one server for every side.
class StubHost : public db::ServerAccessHost {
public:
    explicit StubHost(QString server = {}, QString password = QStringLiteral("demo"))
        : m_server(std::move(server)), m_password(std::move(password)) {}
    QString serverText(int) const override { return m_server; }
    QString userText(int) const override { return QStringLiteral("sa"); }
    QString passwordText(int) const override { return m_password; }
    void showConnectError(const QString& description) override;
    void setBusyCursor(bool) override {}

private:
    QString m_server;
    QString m_password;
};

// The simulator program started on a scenario of its own, so its transcript does not count in
// the benchmark's process; stopped when this goes.
class SimProcess {
public:
    explicit SimProcess(QString programPath);
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    // False after saying on out (when given) what went wrong.
    bool start(const QByteArray& scenario, QTextStream* out);
    QString port() const { return m_port; }
    QString server() const { return QStringLiteral("127.0.0.1,") + m_port; }

private:
    QString m_program;
    QTemporaryDir m_folder;
    QProcess m_process;
    QString m_port;
};

// The simulator in this process; null after printing why it could not start.
std::unique_ptr<sim::SimServer> startSimServer(const QByteArray& scenario, QTextStream& out);

// A scenario rule answering statement with rows generated rows of id, name (from nameTemplate),
// amount and created: the row that BoundRow binds.
QByteArray generatedTableRule(const QByteArray& statement, int rows, const QByteArray& nameTemplate);

// The raw loops' FreeTDS connection string.
QString odbcConnectionString(const QString& port, const QString& password = QStringLiteral("demo"));

struct HandleFree {
    SQLSMALLINT type;
    void operator()(void* handle) const;
};
using Handle = std::unique_ptr<void, HandleFree>;

Handle allocate(SQLSMALLINT type, SQLHANDLE parent);
Handle odbcEnvironment();
// A connection handle, connected when *connected (if given) says so.
Handle connect(SQLHANDLE environment, const QString& connectionString, bool* connected = nullptr);
std::vector<SQLWCHAR> wide(const QString& text);

// One statement handle on a connection of its own; a null statement when it did not connect.
struct RawConnection {
    Handle environment;
    Handle connection;
    Handle statement;
};
RawConnection connectStatement(const QString& connectionString);

// One statement through the wide API, every result read to its end.
void executeDrained(SQLHSTMT statement, const QString& text);

// The T-SQL cursor the tool's in-place loops keep, as raw_cursor over select.
void openRawCursor(SQLHSTMT statement, const QString& select);
void closeRawCursor(SQLHSTMT statement);

// The raw loops' row: id, name, amount and created, bound as columns of a read and as the
// parameters of an insert, so that nothing is copied or converted per row.
struct BoundRow {
    SQLINTEGER id = 0;
    SQLWCHAR name[51] = {};
    SQLCHAR amount[32] = {};
    SQL_TIMESTAMP_STRUCT created{};
    SQLLEN lengths[4] = {};
    void bindColumns(SQLHSTMT statement);
    void bindParameters(SQLHSTMT statement);
};

struct RawCopyCounts {
    int added = 0;
    int existing = 0;
};

// Copy by ID as a plain ODBC loop: the range of `table` read on one connection (readFrom); per
// record the tool's look-up text on the other (writeTo) and, when it finds no row, one execution
// of the prepared INSERT bound to the range's columns. At most `last` records.
double rawCopyByIdSeconds(const QString& readFrom, const QString& writeTo, const QString& table, int last,
                          RawCopyCounts& counts);

} // namespace qormin::bench
