#include "BenchSupport.h"

#include "sim/SimServer.h"

#include <QFile>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::atomic<long> odbcRequests{0};

template <typename Function> Function driverManagerCall(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The benchmarks count the requests the tool and the raw loops send by standing in for the driver
// manager's two calls that send one (the tool and the raw loops use the wide API only); every call
// goes on to the driver manager unchanged.
extern "C" SQLRETURN SQL_API SQLExecute(SQLHSTMT statement) {
    static const auto next = driverManagerCall<SQLRETURN (*)(SQLHSTMT)>("SQLExecute");
    ++odbcRequests;
    return next(statement);
}

extern "C" SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement, SQLWCHAR* text, SQLINTEGER length) {
    static const auto next =
        driverManagerCall<SQLRETURN (*)(SQLHSTMT, SQLWCHAR*, SQLINTEGER)>("SQLExecDirectW");
    ++odbcRequests;
    return next(statement, text, length);
}

namespace qormin::bench {

void useOffscreenWithoutDisplay() {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

int countArgument(int argc, char** argv, int index, int fallback) {
    return argc > index ? std::max(1, QString::fromLocal8Bit(argv[index]).toInt()) : fallback;
}

double secondsSince(const QElapsedTimer& clock) {
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

double secondsOf(const std::function<void()>& work) {
    QElapsedTimer clock;
    clock.start();
    work();
    return secondsSince(clock);
}

long peakResidentKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

long residentKilobytes() {
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toLong() * (sysconf(_SC_PAGESIZE) / 1024) : 0;
}

void BestTimes::keep(double toolSeconds, double rawSeconds) {
    tool = std::min(tool, toolSeconds);
    raw = std::min(raw, rawSeconds);
}

void LoopCost::keepBest(const LoopCost& other) {
    seconds = std::min(seconds, other.seconds);
    cpuSeconds = std::min(cpuSeconds, other.cpuSeconds);
    requests = other.requests;
    switches = switches == 0 ? other.switches : std::min(switches, other.switches);
}

namespace {

struct ProcessUsage {
    double cpuSeconds = 0;
    long switches = 0;
};

ProcessUsage processUsage() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_nvcsw + usage.ru_nivcsw};
}

} // namespace

long odbcRequestsSoFar() {
    return odbcRequests.load();
}

LoopCost costOf(const std::function<void()>& work) {
    const ProcessUsage before = processUsage();
    const long requestsBefore = odbcRequestsSoFar();
    LoopCost cost;
    cost.seconds = secondsOf(work);
    const ProcessUsage after = processUsage();
    cost.cpuSeconds = after.cpuSeconds - before.cpuSeconds;
    cost.switches = after.switches - before.switches;
    cost.requests = odbcRequestsSoFar() - requestsBefore;
    return cost;
}

QString loadAverage() {
    QFile file(QStringLiteral("/proc/loadavg"));
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("?");
    return QString::fromLatin1(file.readAll()).section(QLatin1Char(' '), 0, 2);
}

BackgroundLoad::~BackgroundLoad() {
    stop();
}

void BackgroundLoad::start() {
    const long cores = std::max(1L, sysconf(_SC_NPROCESSORS_ONLN));
    for (long core = 0; core < cores; ++core) {
        const pid_t child = fork();
        if (child == 0) {
            // Only what is safe after fork in a threaded process: a loop, then _exit via the kill.
            volatile unsigned long spin = 0;
            for (;;) {
                spin = spin + 1;
            }
        }
        if (child > 0)
            m_processes.push_back(child);
    }
}

void BackgroundLoad::stop() {
    for (const int child : m_processes)
        kill(child, SIGKILL);
    for (const int child : m_processes)
        waitpid(child, nullptr, 0);
    m_processes.clear();
}

namespace {

void printCondition(QTextStream& out, const LoopPair& pair, const char* condition, const LoopComparison& best,
                    int runs) {
    const auto perRow = [&pair](double figure) { return figure / pair.rows; };
    const auto perRowText = [&perRow](long figure) {
        return QString::number(perRow(static_cast<double>(figure)), 'f', 2);
    };
    out << pair.name << ", " << condition << " (load " << best.load << "), best of " << runs << ": tool "
        << best.tool.seconds << " s, raw " << best.raw.seconds << " s, time ratio "
        << best.tool.seconds / best.raw.seconds << "; CPU per row tool " << perRow(best.tool.cpuSeconds) * 1e6
        << " us, raw " << perRow(best.raw.cpuSeconds) * 1e6 << " us (ratio "
        << best.tool.cpuSeconds / best.raw.cpuSeconds << "); requests per row tool "
        << perRowText(best.tool.requests) << ", raw " << perRowText(best.raw.requests)
        << "; context switches per row tool " << perRowText(best.tool.switches) << ", raw "
        << perRowText(best.raw.switches) << Qt::endl;
}

LoopComparison bestOf(QTextStream& out, const LoopPair& pair, int runs, const char* condition) {
    LoopComparison best;
    for (int run = 0; run < runs; ++run) {
        pair.reset();
        const LoopCost tool = costOf(pair.tool);
        pair.reset();
        const LoopCost raw = costOf(pair.raw);
        out << "  " << pair.name << ", " << condition << " run " << run + 1 << ": tool " << tool.seconds
            << " s, raw " << raw.seconds << " s, ratio " << tool.seconds / raw.seconds << " (load "
            << loadAverage() << ")" << Qt::endl;
        best.tool.keepBest(tool);
        best.raw.keepBest(raw);
    }
    best.load = loadAverage();
    printCondition(out, pair, condition, best, runs);
    return best;
}

} // namespace

std::vector<LoopComparison> compareIdleAndLoaded(QTextStream& out, const LoopPair& pair, int runs) {
    std::vector<LoopComparison> conditions;
    conditions.push_back(bestOf(out, pair, runs, "idle"));
    BackgroundLoad load;
    load.start();
    conditions.push_back(bestOf(out, pair, runs, "loaded"));
    load.stop();
    return conditions;
}

LatenessProbe::LatenessProbe(int intervalMilliseconds) : m_interval(intervalMilliseconds) {
    m_timer.setInterval(intervalMilliseconds);
    QObject::connect(&m_timer, &QTimer::timeout,
                     [this] { m_largest = std::max(m_largest, m_sinceTick.restart() - m_interval); });
}

void LatenessProbe::start() {
    m_sinceTick.start();
    m_timer.start();
}

void LatenessProbe::stop() {
    m_timer.stop();
}

void StubHost::showConnectError(const QString& description) {
    QTextStream(stderr) << description << Qt::endl;
}

SimProcess::SimProcess(QString programPath) : m_program(std::move(programPath)) {}

SimProcess::~SimProcess() {
    m_process.kill();
    m_process.waitForFinished();
}

bool SimProcess::start(const QByteArray& scenario, QTextStream* out) {
    auto fail = [out](const char* why) {
        if (out)
            *out << why << Qt::endl;
        return false;
    };
    const QString scenarioFile = m_folder.filePath(QStringLiteral("bench.json"));
    QFile file(scenarioFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(scenario) < 0)
        return fail("cannot write the scenario");
    file.close();
    m_process.start(m_program, {QStringLiteral("--scenario"), scenarioFile});
    if (!m_process.waitForReadyRead(30000))
        return fail("the simulator did not start");
    m_port = QString::fromUtf8(m_process.readLine()).trimmed().section(QLatin1Char(':'), -1);
    return true;
}

std::unique_ptr<sim::SimServer> startSimServer(const QByteArray& scenario, QTextStream& out) {
    QString error;
    auto parsed = sim::Scenario::fromJson(scenario, &error);
    if (!parsed) {
        out << "scenario: " << error << "\n";
        return nullptr;
    }
    auto server = std::make_unique<sim::SimServer>(std::move(*parsed));
    if (!server->start(0, &error)) {
        out << "simulator: " << error << "\n";
        return nullptr;
    }
    return server;
}

QByteArray generatedTableRule(const QByteArray& statement, int rows, const QByteArray& nameTemplate) {
    return QByteArray(R"json({"exact": ")json") + statement + R"json(", "response": {"result": {
      "columns": [{"name": "id", "type": "int"},
                  {"name": "name", "type": "nvarchar(50)", "generate": {"template": ")json" +
           nameTemplate + R"json("}},
                  {"name": "amount", "type": "decimal(12,2)", "generate": {"start": 10, "step": 1}},
                  {"name": "created", "type": "datetime"}],
      "generate": )json" +
           QByteArray::number(rows) + "}}}";
}

QString odbcConnectionString(const QString& port, const QString& password) {
    return QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
           QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=") + password +
           QStringLiteral(";Database=MASTER;ClientCharset=UTF-8");
}

void HandleFree::operator()(void* handle) const {
    if (type == SQL_HANDLE_DBC)
        SQLDisconnect(handle);
    SQLFreeHandle(type, handle);
}

Handle allocate(SQLSMALLINT type, SQLHANDLE parent) {
    SQLHANDLE handle = SQL_NULL_HANDLE;
    SQLAllocHandle(type, parent, &handle);
    return Handle(handle, HandleFree{type});
}

Handle odbcEnvironment() {
    Handle environment = allocate(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    return environment;
}

Handle connect(SQLHANDLE environment, const QString& connectionString, bool* connected) {
    Handle connection = allocate(SQL_HANDLE_DBC, environment);
    QByteArray text = connectionString.toUtf8();
    const SQLRETURN rc = SQLDriverConnect(connection.get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                                          SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (connected)
        *connected = SQL_SUCCEEDED(rc);
    return connection;
}

std::vector<SQLWCHAR> wide(const QString& text) {
    std::vector<SQLWCHAR> characters;
    for (const QChar character : text)
        characters.push_back(character.unicode());
    characters.push_back(0);
    return characters;
}

RawConnection connectStatement(const QString& connectionString) {
    RawConnection raw;
    raw.environment = odbcEnvironment();
    bool connected = false;
    raw.connection = connect(raw.environment.get(), connectionString, &connected);
    if (connected)
        raw.statement = allocate(SQL_HANDLE_STMT, raw.connection.get());
    return raw;
}

// The wide API, as the tool uses: a raw loop on the narrow one would measure another path
// through the driver manager.
void executeDrained(SQLHSTMT statement, const QString& text) {
    auto sql = wide(text);
    SQLExecDirectW(statement, sql.data(), SQL_NTS);
    while (SQL_SUCCEEDED(SQLMoreResults(statement))) {
    }
    SQLFreeStmt(statement, SQL_CLOSE);
}

void openRawCursor(SQLHSTMT statement, const QString& select) {
    executeDrained(statement, QStringLiteral("DECLARE raw_cursor CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR ") +
                                  select + QStringLiteral("\r\nOPEN raw_cursor"));
}

void closeRawCursor(SQLHSTMT statement) {
    executeDrained(statement, QStringLiteral("CLOSE raw_cursor\r\nDEALLOCATE raw_cursor"));
}

void BoundRow::bindColumns(SQLHSTMT statement) {
    SQLBindCol(statement, 1, SQL_C_SLONG, &id, 0, &lengths[0]);
    SQLBindCol(statement, 2, SQL_C_WCHAR, name, sizeof(name), &lengths[1]);
    SQLBindCol(statement, 3, SQL_C_CHAR, amount, sizeof(amount), &lengths[2]);
    SQLBindCol(statement, 4, SQL_C_TYPE_TIMESTAMP, &created, 0, &lengths[3]);
}

void BoundRow::bindParameters(SQLHSTMT statement) {
    SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, &lengths[0]);
    SQLBindParameter(statement, 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &lengths[1]);
    SQLBindParameter(statement, 3, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_DECIMAL, 12, 2, amount, sizeof(amount),
                     &lengths[2]);
    SQLBindParameter(statement, 4, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3, &created,
                     0, &lengths[3]);
}

double rawCopyByIdSeconds(const QString& readFrom, const QString& writeTo, const QString& table, int last,
                          RawCopyCounts& counts) {
    Handle environment = odbcEnvironment();
    Handle reading = connect(environment.get(), readFrom);
    Handle writing = connect(environment.get(), writeTo);
    Handle source = allocate(SQL_HANDLE_STMT, reading.get());
    Handle lookup = allocate(SQL_HANDLE_STMT, writing.get());
    Handle target = allocate(SQL_HANDLE_STMT, writing.get());
    BoundRow row;
    row.bindColumns(source.get());
    auto insert =
        wide(QStringLiteral("INSERT INTO %1 ([idnum], [name], [amount], [created]) VALUES (?, ?, ?, ?)")
                 .arg(table));
    SQLPrepareW(target.get(), insert.data(), SQL_NTS);
    row.bindParameters(target.get());
    QElapsedTimer clock;
    clock.start();
    auto range =
        wide(QStringLiteral("select * from %1 where idnum >= '1' and idnum <= '%2'").arg(table).arg(last));
    SQLExecDirectW(source.get(), range.data(), SQL_NTS);
    counts = {};
    while (SQL_SUCCEEDED(SQLFetch(source.get())) && counts.added + counts.existing < last) {
        auto text = wide(QStringLiteral("Select * from   %1 where idnum = '%2' ").arg(table).arg(row.id));
        SQLExecDirectW(lookup.get(), text.data(), SQL_NTS);
        const bool found = SQL_SUCCEEDED(SQLFetch(lookup.get()));
        SQLCloseCursor(lookup.get());
        if (found) {
            ++counts.existing;
            continue;
        }
        ++counts.added;
        SQLExecute(target.get());
        SQLFreeStmt(target.get(), SQL_CLOSE);
    }
    return secondsSince(clock);
}

} // namespace qormin::bench
