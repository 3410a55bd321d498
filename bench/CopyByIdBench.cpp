// Copy records to database 1 through the window against the simulated server (a program of its
// own, serving both sides): 10,000 records in the ID range, every other one already on the left,
// against the plain ODBC loop doing the same per-record work (range read on one connection with
// bound columns; per record the same look-up text on another, and for a missing one an INSERT
// prepared once whose parameters point at the bound columns), the two alternated and the best of
// several runs kept; then the peak resident memory after 10,000 and after 40,000 records.
// Usage: qormin-bench-copy-by-id [runs, default 3]
#include "WindowHarness.h"

#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

namespace {

QByteArray rangeRule(int last) {
    return R"json({"exact": "select * from Bench..tbIds where idnum >= '1' and idnum <= ')json" +
           QByteArray::number(last) + R"json('", "response": {"result": {
      "columns": [{"name": "IDNum", "type": "int"},
                  {"name": "name", "type": "nvarchar(50)", "generate": {"template": "Patient {n}"}},
                  {"name": "amount", "type": "decimal(12,2)", "generate": {"start": 10, "step": 1}},
                  {"name": "created", "type": "datetime"}], "generate": )json" +
           QByteArray::number(last) + "}}},";
}

QByteArray scenarioText() {
    return R"json({"rules": [
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Bench"]]}}},
    {"prefix": " SELECT     t.NAME AS TableName", "response": {"result": {
      "columns": ["TableName:nvarchar(128)"], "rows": [["tbIds"]]}}},
    {"prefix": "select object_id from sys.tables", "response": {"result": {"columns": ["object_id:int"], "rows": [[7]]}}},
    {"prefix": "Select * From sys.columns", "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["idnum"]]}}},
    {"prefix": "select * from sys.tables", "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["tbIds"]]}}},
    )json" +
           rangeRule(10000) + rangeRule(40000) + R"json(
    {"regex": "^Select \\* from   Bench\\.\\.tbIds where idnum = '\\d*[02468]' $", "response": {"result": {
      "columns": ["idnum:int", "name:nvarchar(50)", "amount:decimal(12,2)", "created:datetime"],
      "rows": [[2, "Patient 2", "11.00", "2000-01-02"]]}}},
    {"prefix": "Select * from   Bench..tbIds where idnum = ", "response": {"result": {
      "columns": ["idnum:int", "name:nvarchar(50)", "amount:decimal(12,2)", "created:datetime"], "rows": []}}}
  ]})json";
}

long peakResidentKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

struct HandleFree {
    SQLSMALLINT type;
    void operator()(void* handle) const { SQLFreeHandle(type, handle); }
};
using Handle = std::unique_ptr<void, HandleFree>;

Handle allocate(SQLSMALLINT type, SQLHANDLE parent) {
    SQLHANDLE handle = SQL_NULL_HANDLE;
    SQLAllocHandle(type, parent, &handle);
    return Handle(handle, HandleFree{type});
}

Handle connect(SQLHANDLE environment, const QString& connectionString) {
    Handle connection = allocate(SQL_HANDLE_DBC, environment);
    QByteArray text = connectionString.toUtf8();
    SQLDriverConnect(connection.get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS, nullptr, 0,
                     nullptr, SQL_DRIVER_NOPROMPT);
    return connection;
}

std::vector<SQLWCHAR> wide(const QString& text) {
    std::vector<SQLWCHAR> characters;
    for (const QChar character : text) {
        characters.push_back(character.unicode());
    }
    characters.push_back(0);
    return characters;
}

struct RawCounts {
    int added = 0;
    int existing = 0;
};

// The range on one connection; per record the look-up text on the other and, when it finds no
// row, one execution of the prepared INSERT bound to the range's columns.
double rawOdbcSeconds(const QString& connectionString, int last, RawCounts& counts) {
    Handle environment = allocate(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    Handle reading = connect(environment.get(), connectionString);
    Handle writing = connect(environment.get(), connectionString);
    Handle source = allocate(SQL_HANDLE_STMT, reading.get());
    Handle lookup = allocate(SQL_HANDLE_STMT, writing.get());
    Handle target = allocate(SQL_HANDLE_STMT, writing.get());

    SQLINTEGER id = 0;
    SQLWCHAR name[51] = {};
    SQLCHAR amount[32] = {};
    SQL_TIMESTAMP_STRUCT created{};
    SQLLEN lengths[4] = {};
    SQLBindCol(source.get(), 1, SQL_C_SLONG, &id, 0, &lengths[0]);
    SQLBindCol(source.get(), 2, SQL_C_WCHAR, name, sizeof(name), &lengths[1]);
    SQLBindCol(source.get(), 3, SQL_C_CHAR, amount, sizeof(amount), &lengths[2]);
    SQLBindCol(source.get(), 4, SQL_C_TYPE_TIMESTAMP, &created, 0, &lengths[3]);
    auto insert = wide(QStringLiteral(
        "INSERT INTO Bench..tbIds ([idnum], [name], [amount], [created]) VALUES (?, ?, ?, ?)"));
    SQLPrepareW(target.get(), insert.data(), SQL_NTS);
    SQLBindParameter(target.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, &lengths[0]);
    SQLBindParameter(target.get(), 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &lengths[1]);
    SQLBindParameter(target.get(), 3, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_DECIMAL, 12, 2, amount, sizeof(amount),
                     &lengths[2]);
    SQLBindParameter(target.get(), 4, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3,
                     &created, 0, &lengths[3]);

    QElapsedTimer clock;
    clock.start();
    auto range =
        wide(QStringLiteral("select * from Bench..tbIds where idnum >= '1' and idnum <= '%1'").arg(last));
    SQLExecDirectW(source.get(), range.data(), SQL_NTS);
    counts = {};
    while (SQL_SUCCEEDED(SQLFetch(source.get())) && counts.added + counts.existing < last) {
        auto text = wide(QStringLiteral("Select * from   Bench..tbIds where idnum = '%1' ").arg(id));
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
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTextStream out(stdout);

    QTemporaryDir folder;
    const QString scenarioFile = folder.filePath(QStringLiteral("bench.json"));
    QFile file(scenarioFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(scenarioText()) < 0) {
        out << "cannot write the scenario" << Qt::endl;
        return 1;
    }
    file.close();
    QProcess simulator;
    simulator.start(QStringLiteral(QORMIN_SIM_PATH), {QStringLiteral("--scenario"), scenarioFile});
    if (!simulator.waitForReadyRead(30000)) {
        out << "the simulator did not start" << Qt::endl;
        return 1;
    }
    const QString port = QString::fromUtf8(simulator.readLine()).trimmed().section(QLatin1Char(':'), -1);

    qormin::test::WindowHarness harness;
    for (int side = 0; side < 2; ++side) {
        harness.storeConnection(side, QStringLiteral("127.0.0.1,") + port, QStringLiteral("demo"));
    }
    harness.load();
    auto copy = [&harness](int last) {
        QElapsedTimer clock;
        clock.start();
        harness.runBatch(QStringLiteral("select GridDB(0) 1\nset txtStartIDNum 1\nset txtENDIDNum %1\n"
                                        "click cmdCopybyRecID\n")
                             .arg(last));
        return static_cast<double>(clock.nsecsElapsed()) / 1e9;
    };
    const QString odbc =
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
        QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=demo;Database=MASTER;ClientCharset=UTF-8");

    constexpr int records = 10000;
    const int runs = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 3;
    const long before = peakResidentKilobytes();
    double bestTool = 1e9;
    double bestRaw = 1e9;
    RawCounts counts;
    for (int run = 0; run < runs; ++run) {
        const double tool = copy(records);
        const double raw = rawOdbcSeconds(odbc, records, counts);
        out << "run " << run + 1 << ": copy by ID " << records / tool << " records/s, raw ODBC loop "
            << records / raw << " records/s (added " << counts.added << ", existing " << counts.existing
            << "), ratio " << tool / raw << Qt::endl;
        bestTool = std::min(bestTool, tool);
        bestRaw = std::min(bestRaw, raw);
    }
    const long after10k = peakResidentKilobytes();
    const double tool40k = copy(40000);
    const long after40k = peakResidentKilobytes();
    const QString log = harness.window().serverAccess().log().text();
    out << "last closing line: " << log.section(QStringLiteral("\r\n"), 0, 0) << Qt::endl;
    out << "best of " << runs << ", " << records << " records: copy by ID " << bestTool << " s ("
        << records / bestTool << " records/s), raw ODBC loop " << bestRaw << " s (" << records / bestRaw
        << " records/s)" << Qt::endl;
    out << "copy by ID / raw ODBC time: " << bestTool / bestRaw << Qt::endl;
    out << "copy by ID, 40000 records: " << tool40k << " s (" << 40000 / tool40k << " records/s)" << Qt::endl;
    out << "peak RSS: before " << before << " kB, after 10000-record runs " << after10k
        << " kB, after the 40000-record run " << after40k << " kB (ratio "
        << static_cast<double>(after40k) / static_cast<double>(after10k) << ")" << Qt::endl;
    simulator.kill();
    simulator.waitForFinished();
    return 0;
}
