// Moving rows with "Transfer DB": 100,000 rows in runs of 1,000 with delete after transfer, each
// row read through the positioned cursor, inserted whole and deleted through the cursor, against
// the simulated server (a program of its own). The same work as plain ODBC calls in the same run:
// the same cursor statements, one FETCH, one prepared INSERT and one DELETE ... WHERE CURRENT OF
// per row. Also the process's peak resident memory and how late a 5 ms timer on the window's
// thread comes while the tool runs (the window's log shows every row). The simulator keeps its
// rows, so every run reads the same 1,000.
// Usage: qormin-bench-transfer [runs of 1,000, default 100]
#include "controls/FlexGrid.h"
#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"
#include "transfer/TransferDBTools.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

namespace {

constexpr int rowsPerRun = 1000;
const QString transferQuery =
    QStringLiteral("SELECT top 1000 * FROM Bench..tbDocs WHERE 1=1  AND 1=1 ORDER BY created ASC");

QByteArray tableRule(const QString& statement, int rows) {
    return QByteArray(R"json({"exact": ")json") + statement.toUtf8() + R"json(", "response": {"result": {
      "columns": [{"name": "id", "type": "int"},
                  {"name": "name", "type": "nvarchar(50)", "generate": {"template": "scan{n}.pdf"}},
                  {"name": "amount", "type": "decimal(12,2)", "generate": {"start": 10, "step": 1}},
                  {"name": "created", "type": "datetime"}],
      "generate": )json" +
           QByteArray::number(rows) + "}}}";
}

QByteArray scenarioText() {
    return QByteArray(R"json({"rules": [)json") +
           tableRule(QStringLiteral("SELECT TOP 1 * FROM Bench2..tbDocs"), 1) + "," +
           tableRule(transferQuery, rowsPerRun) + "]}";
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

class QuietBoxes : public qormin::platform::MessageBoxService {
public:
    qormin::platform::MessageBoxAnswer MsgBox(const QString& text, qormin::platform::MessageBoxButtons,
                                              const QString&) override {
        if (text != QLatin1String("Done.")) {
            QTextStream(stderr) << text << Qt::endl;
        }
        return qormin::platform::MessageBoxAnswer::Ok;
    }
    QString saveFileName(const QString&, const QString&, const QString&) override { return {}; }
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

std::vector<SQLWCHAR> wide(const QString& text) {
    std::vector<SQLWCHAR> characters;
    for (const QChar character : text) {
        characters.push_back(character.unicode());
    }
    characters.push_back(0);
    return characters;
}

// The tool's statements as plain ODBC calls on one connection: the cursor, then per row FETCH,
// the INSERT prepared once with its parameters bound to the fetched columns, and the DELETE.
double rawSeconds(const QString& connectionString, int runs, qint64* rows) {
    Handle environment = allocate(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    Handle connection = allocate(SQL_HANDLE_DBC, environment.get());
    QByteArray text = connectionString.toUtf8();
    SQLDriverConnect(connection.get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS, nullptr, 0,
                     nullptr, SQL_DRIVER_NOPROMPT);
    Handle cursor = allocate(SQL_HANDLE_STMT, connection.get());
    Handle insert = allocate(SQL_HANDLE_STMT, connection.get());
    Handle remove = allocate(SQL_HANDLE_STMT, connection.get());
    SQLINTEGER id = 0;
    SQLWCHAR name[51] = {};
    SQLCHAR amount[32] = {};
    SQL_TIMESTAMP_STRUCT created{};
    SQLLEN lengths[4] = {};
    auto insertText = wide(
        QStringLiteral("INSERT INTO Bench2..tbDocs ([id], [name], [amount], [created]) VALUES (?, ?, ?, ?)"));
    SQLPrepareW(insert.get(), insertText.data(), SQL_NTS);
    SQLBindParameter(insert.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, &lengths[0]);
    SQLBindParameter(insert.get(), 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &lengths[1]);
    SQLBindParameter(insert.get(), 3, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_DECIMAL, 12, 2, amount, sizeof(amount),
                     &lengths[2]);
    SQLBindParameter(insert.get(), 4, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3,
                     &created, 0, &lengths[3]);
    auto run = [](SQLHSTMT handle, const QString& statement) {
        auto sql = wide(statement);
        SQLExecDirectW(handle, sql.data(), SQL_NTS);
        while (SQLMoreResults(handle) == SQL_SUCCESS) {
        }
        SQLFreeStmt(handle, SQL_CLOSE);
    };
    const auto fetch = wide(QStringLiteral("FETCH NEXT FROM raw_cursor"));
    const auto deleteText = wide(QStringLiteral("DELETE FROM Bench..tbDocs WHERE CURRENT OF raw_cursor"));
    QElapsedTimer clock;
    clock.start();
    *rows = 0;
    for (int pass = 0; pass < runs; ++pass) {
        run(cursor.get(), QStringLiteral("DECLARE raw_cursor CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR ") +
                              transferQuery + QStringLiteral("\r\nOPEN raw_cursor"));
        for (;;) {
            SQLExecDirectW(cursor.get(), const_cast<SQLWCHAR*>(fetch.data()), SQL_NTS);
            SQLBindCol(cursor.get(), 1, SQL_C_SLONG, &id, 0, &lengths[0]);
            SQLBindCol(cursor.get(), 2, SQL_C_WCHAR, name, sizeof(name), &lengths[1]);
            SQLBindCol(cursor.get(), 3, SQL_C_CHAR, amount, sizeof(amount), &lengths[2]);
            SQLBindCol(cursor.get(), 4, SQL_C_TYPE_TIMESTAMP, &created, 0, &lengths[3]);
            const bool found = SQL_SUCCEEDED(SQLFetch(cursor.get()));
            SQLFreeStmt(cursor.get(), SQL_CLOSE);
            SQLFreeStmt(cursor.get(), SQL_UNBIND);
            if (!found) {
                break;
            }
            SQLExecute(insert.get());
            SQLFreeStmt(insert.get(), SQL_CLOSE);
            SQLExecDirectW(remove.get(), const_cast<SQLWCHAR*>(deleteText.data()), SQL_NTS);
            SQLFreeStmt(remove.get(), SQL_CLOSE);
            ++*rows;
        }
        run(cursor.get(), QStringLiteral("CLOSE raw_cursor\r\nDEALLOCATE raw_cursor"));
    }
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTextStream out(stdout);
    const int runs = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 100;

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

    StubHost host;
    host.server = QStringLiteral("127.0.0.1,") + port;
    qormin::db::ServerAccess access(host);
    QuietBoxes boxes;
    QWidget window;
    auto* log = new QPlainTextEdit(&window);
    auto* progress = new QProgressBar(&window);
    auto* status = new QLabel(&window);
    auto* grid = new qormin::controls::FlexGrid(&window);
    window.resize(900, 600);
    if (qEnvironmentVariableIsEmpty("BENCH_HIDDEN"))
        window.show();
    qormin::transfer::TransferDBTools tools({access, boxes, *log, *progress, *status, *grid});
    access.ConnectServer(0);

    qormin::transfer::TransferDBJob job;
    job.query = transferQuery;
    job.sourceTable = QStringLiteral("Bench..tbDocs");
    job.destinationTable = QStringLiteral("Bench2..tbDocs");
    job.dateColumn = QStringLiteral("created");
    job.recordsAtATime = rowsPerRun;
    job.skipIdColumn = true;
    job.deleteAfterTransfer = true;
    job.stoppable = true;
    job.announceDone = true;

    QElapsedTimer sinceTick;
    qint64 worstLate = 0;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        worstLate = std::max(worstLate, sinceTick.elapsed() - 5);
        sinceTick.restart();
    });
    const long before = peakResidentKilobytes();
    sinceTick.start();
    ticker.start(5);
    QElapsedTimer clock;
    clock.start();
    qint64 moved = 0;
    qint64 deleted = 0;
    for (int pass = 0; pass < runs; ++pass) {
        const qormin::transfer::TransferDBCount count = tools.transfer(job);
        moved += count.written;
        deleted += count.deleted;
    }
    const double tool = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    ticker.stop();
    const long after = peakResidentKilobytes();

    const QString odbc =
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
        QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=demo;Database=MASTER;ClientCharset=UTF-8");
    qint64 rawRows = 0;
    const double raw = rawSeconds(odbc, runs, &rawRows);

    out << "transfer with delete, " << runs << " runs of " << rowsPerRun << ": " << moved << " written, "
        << deleted << " deleted in " << tool << " s (" << static_cast<double>(moved) / tool << " rows/s)"
        << Qt::endl;
    out << "raw ODBC loop, same statements: " << rawRows << " rows in " << raw << " s ("
        << static_cast<double>(rawRows) / raw << " rows/s)" << Qt::endl;
    out << "transfer / raw ODBC time: " << tool / raw << Qt::endl;
    out << "peak RSS: before " << before << " kB, after " << after << " kB (window log holds "
        << log->blockCount() << " lines)" << Qt::endl;
    out << "window latency: the 5 ms timer came at most " << worstLate << " ms late" << Qt::endl;
    simulator.kill();
    simulator.waitForFinished();
    return 0;
}
