// Copying rows by record through the "Copy" page's loop against the simulated server (run as a
// program of its own, so its transcript does not count here): rows per second, the process's
// peak resident memory after 100,000 and after 400,000 rows (flat memory keeps the two close),
// and the time of a plain loop reading the same rows and inserting them with raw ODBC calls.
#include "controls/FlexGrid.h"
#include "db/ServerAccess.h"
#include "tablecopy/TableCopyTools.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

namespace {

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
           tableRule("SELECT * FROM Bench..tb400000", 400000) + "]}";
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

// Reads on one connection and inserts each row on another, with parameters bound once.
double rawOdbcSeconds(const QString& connectionString, const char* select, int* rows) {
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
    SQLBindParameter(target.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, &lengths[0]);
    SQLBindParameter(target.get(), 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &lengths[1]);
    SQLBindParameter(target.get(), 3, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_DECIMAL, 12, 2, amount, sizeof(amount),
                     &lengths[2]);
    SQLBindParameter(target.get(), 4, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3,
                     &created, 0, &lengths[3]);

    QElapsedTimer clock;
    clock.start();
    QByteArray query(select);
    SQLExecDirect(source.get(), reinterpret_cast<SQLCHAR*>(query.data()), SQL_NTS);
    QByteArray insert("INSERT INTO Bench2..raw ([id], [name], [amount], [created]) VALUES (?, ?, ?, ?)");
    *rows = 0;
    while (SQL_SUCCEEDED(SQLFetch(source.get()))) {
        SQLExecDirect(target.get(), reinterpret_cast<SQLCHAR*>(insert.data()), SQL_NTS);
        SQLFreeStmt(target.get(), SQL_CLOSE);
        ++*rows;
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

    const long before = peakResidentKilobytes();
    struct Run {
        int rows;
        double seconds;
        long peakKilobytes;
    };
    std::vector<Run> runs;
    for (int rows : {100000, 400000}) {
        const QString source = QStringLiteral("Bench..tb") + QString::number(rows);
        QElapsedTimer clock;
        clock.start();
        tools.CopyRecords(source, QStringLiteral("Bench2..tbCopy"));
        runs.push_back({rows, static_cast<double>(clock.nsecsElapsed()) / 1e9, peakResidentKilobytes()});
    }

    int rawRows = 0;
    const QString odbc =
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
        QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=demo;Database=MASTER;ClientCharset=UTF-8");
    const double raw = rawOdbcSeconds(odbc, "SELECT * FROM Bench..tb100000", &rawRows);

    out << "peak RSS before copying: " << before << " kB" << Qt::endl;
    for (const Run& run : runs) {
        out << "copy by record, " << run.rows << " rows: " << run.seconds << " s, " << run.rows / run.seconds
            << " rows/s, peak RSS " << run.peakKilobytes << " kB" << Qt::endl;
    }
    out << "raw ODBC loop, " << rawRows << " rows: " << raw << " s, " << rawRows / raw << " rows/s"
        << Qt::endl;
    out << "copy by record / raw ODBC time for 100000 rows: " << runs.front().seconds / raw << Qt::endl;
    out << "peak RSS growth from 100000 to 400000 rows: "
        << runs.back().peakKilobytes - runs.front().peakKilobytes << " kB" << Qt::endl;
    simulator.kill();
    simulator.waitForFinished();
    return 0;
}
