// Copying rows by record through the "Copy" page's loop against the simulated server (run as a
// program of its own, so its transcript does not count here): rows per second against the
// fastest plain ODBC loop doing the same per-row work (read on one connection as a plain
// result with bound columns, insert on another through a statement prepared once, the same
// wide API as the tool), the two alternated and the best of several runs of each kept; then
// the process's peak resident memory after 100,000 and after 400,000 rows (flat memory keeps
// the two close). Usage: qormin-bench-table-copy [runs, default 3]
#include "controls/FlexGrid.h"
#include "db/RecordReader.h"
#include "db/ServerAccess.h"
#include "tablecopy/TableCopyTools.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>
#include <functional>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

namespace {

constexpr int updateRows = 10000;

// The same four columns, a given number of generated rows.
QByteArray tableRule(const char* statement, int rows) {
    return QByteArray(R"json({"exact": ")json") + statement + R"json(", "response": {"result": {
      "columns": [{"name": "id", "type": "int"},
                  {"name": "name", "type": "nvarchar(50)", "generate": {"template": "Patient {n}"}},
                  {"name": "amount", "type": "decimal(12,2)", "generate": {"start": 10, "step": 1}},
                  {"name": "created", "type": "datetime"}],
      "generate": )json" +
           QByteArray::number(rows) + "}}}";
}

QByteArray scenarioText() {
    return QByteArray(R"json({"rules": [)json") + tableRule("SELECT TOP 1 * FROM Bench2..tbCopy", 1) + "," +
           tableRule("SELECT * FROM Bench..tb100000", 100000) + "," +
           tableRule("SELECT * FROM Bench..tb400000", 400000) + "," +
           tableRule("SELECT * FROM Bench..tbUpdate", updateRows) + "]}";
}

class StubHost : public qormin::db::ServerAccessHost {
public:
    QString server;
    QString serverText(int) const override { return server; }
    QString userText(int) const override { return QStringLiteral("sa"); }
    QString passwordText(int) const override { return QStringLiteral("demo"); }
    void showConnectError(const QString& description) override {
        QTextStream(stderr) << description << Qt::endl;
    }
    void setBusyCursor(bool) override {}
};

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

// Reads on one connection and inserts each row on another through one prepared statement
// whose parameters point at the bound columns: nothing is copied or converted per row.
double rawOdbcSeconds(const QString& connectionString, const QString& select, int* rows) {
    Handle environment = allocate(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    Handle reading = connect(environment.get(), connectionString);
    Handle writing = connect(environment.get(), connectionString);
    Handle source = allocate(SQL_HANDLE_STMT, reading.get());
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
    auto insert = wide(
        QStringLiteral("INSERT INTO Bench2..raw ([id], [name], [amount], [created]) VALUES (?, ?, ?, ?)"));
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
    auto query = wide(select);
    SQLExecDirectW(source.get(), query.data(), SQL_NTS);
    *rows = 0;
    while (SQL_SUCCEEDED(SQLFetch(source.get()))) {
        SQLExecute(target.get());
        SQLFreeStmt(target.get(), SQL_CLOSE);
        ++*rows;
    }
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

// The positioned update loop as plain ODBC calls: the same T-SQL cursor statements the tool
// sends, one FETCH and one UPDATE ... WHERE CURRENT OF per row on one connection.
double rawUpdateSeconds(const QString& connectionString, int* rows) {
    Handle environment = allocate(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    Handle connection = connect(environment.get(), connectionString);
    Handle statement = allocate(SQL_HANDLE_STMT, connection.get());
    Handle update = allocate(SQL_HANDLE_STMT, connection.get());
    SQLWCHAR name[51] = {};
    SQLLEN length = 0;
    SQLBindParameter(update.get(), 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &length);
    auto run = [](SQLHSTMT handle, const QString& text) {
        auto sql = wide(text);
        const SQLRETURN rc = SQLExecDirectW(handle, sql.data(), SQL_NTS);
        return rc;
    };
    QElapsedTimer clock;
    clock.start();
    run(statement.get(),
        QStringLiteral("DECLARE raw_cursor CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR SELECT * FROM "
                       "Bench..tbUpdate\r\nOPEN raw_cursor"));
    while (SQLMoreResults(statement.get()) == SQL_SUCCESS) {
    }
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    const auto fetch = wide(QStringLiteral("FETCH NEXT FROM raw_cursor"));
    const auto change =
        wide(QStringLiteral("UPDATE Bench..tbUpdate SET [name] = ? WHERE CURRENT OF raw_cursor"));
    *rows = 0;
    for (;;) {
        SQLExecDirectW(statement.get(), const_cast<SQLWCHAR*>(fetch.data()), SQL_NTS);
        SQLBindCol(statement.get(), 2, SQL_C_WCHAR, name, sizeof(name), &length);
        const bool found = SQL_SUCCEEDED(SQLFetch(statement.get()));
        SQLFreeStmt(statement.get(), SQL_CLOSE);
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        if (!found) {
            break;
        }
        name[0] = 'X';
        SQLExecDirectW(update.get(), const_cast<SQLWCHAR*>(change.data()), SQL_NTS);
        SQLFreeStmt(update.get(), SQL_CLOSE);
        ++*rows;
    }
    run(statement.get(), QStringLiteral("CLOSE raw_cursor\r\nDEALLOCATE raw_cursor"));
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
    const QString listening = QString::fromUtf8(simulator.readLine()).trimmed();
    const QString port = listening.section(QLatin1Char(':'), -1);

    StubHost host;
    host.server = QStringLiteral("127.0.0.1,") + port;
    qormin::db::ServerAccess access(host);
    qormin::controls::FlexGrid grid;
    QLineEdit database(QStringLiteral("Bench"));
    QCheckBox stop;
    qormin::tablecopy::TableCopyTools tools({access, grid, database, stop});
    access.ConnectServer(0);

    const int runs = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 3;
    const QString odbc =
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
        QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=demo;Database=MASTER;ClientCharset=UTF-8");
    auto seconds = [](const std::function<void()>& work) {
        QElapsedTimer clock;
        clock.start();
        work();
        return static_cast<double>(clock.nsecsElapsed()) / 1e9;
    };
    const long before = peakResidentKilobytes();
    double bestTool = 1e9;
    double bestRaw = 1e9;
    int rawRows = 0;
    for (int run = 0; run < runs; ++run) {
        const double tool = seconds([&tools] {
            tools.CopyRecords(QStringLiteral("Bench..tb100000"), QStringLiteral("Bench2..tbCopy"));
        });
        const double raw = rawOdbcSeconds(odbc, QStringLiteral("SELECT * FROM Bench..tb100000"), &rawRows);
        out << "run " << run + 1 << ": copy by record " << 100000 / tool << " rows/s, raw ODBC loop "
            << rawRows / raw << " rows/s, ratio " << tool / raw << Qt::endl;
        bestTool = std::min(bestTool, tool);
        bestRaw = std::min(bestRaw, raw);
    }
    const long after100k = peakResidentKilobytes();
    const double tool400k = seconds(
        [&tools] { tools.CopyRecords(QStringLiteral("Bench..tb400000"), QStringLiteral("Bench2..tbCopy")); });
    const long after400k = peakResidentKilobytes();

    out << "best of " << runs << ", 100000 rows: copy by record " << bestTool << " s (" << 100000 / bestTool
        << " rows/s), raw ODBC loop " << bestRaw << " s (" << rawRows / bestRaw << " rows/s)" << Qt::endl;
    out << "copy by record / raw ODBC time: " << bestTool / bestRaw << Qt::endl;
    out << "copy by record, 400000 rows: " << tool400k << " s (" << 400000 / tool400k << " rows/s)"
        << Qt::endl;
    // The positioned mechanism that in-place loops (anonymisation, date repair) keep.
    double bestUpdate = 1e9;
    double bestRawUpdate = 1e9;
    int rawUpdated = 0;
    for (int run = 0; run < runs; ++run) {
        bestUpdate = std::min(
            bestUpdate, seconds([&access] {
                qormin::db::RecordReader reader(access.side(0), QStringLiteral("Bench..tbUpdate"),
                                                qormin::db::RecordReader::Mode::Updatable);
                reader.open();
                while (reader.next()) {
                    reader.updateCurrentRow({QStringLiteral("name")},
                                            {QString(QLatin1Char('X')) + reader.value(1).toString().mid(1)});
                }
            }));
        bestRawUpdate = std::min(bestRawUpdate, rawUpdateSeconds(odbc, &rawUpdated));
    }
    out << "in-place update, " << updateRows << " rows: record loop " << updateRows / bestUpdate
        << " rows/s, raw ODBC loop " << rawUpdated / bestRawUpdate << " rows/s, ratio "
        << bestUpdate / bestRawUpdate << Qt::endl;
    out << "peak RSS: before " << before << " kB, after 100000-row copies " << after100k
        << " kB, after the 400000-row copy " << after400k << " kB (ratio "
        << static_cast<double>(after400k) / static_cast<double>(after100k) << ")" << Qt::endl;
    simulator.kill();
    simulator.waitForFinished();
    return 0;
}
