// The complete anonymisation run over 100,000 rows in place against the simulated server (run
// as a program of its own): rows per second against a plain ODBC loop that walks the same
// positioned cursor and sends the same three-column UPDATE per row, the two alternated and the
// best kept; the largest lateness of a 5 ms timer while the run works (the window's
// responsiveness); and the process's peak resident memory before and after.
// Usage: qormin-bench-anonymize [rows, default 100000] [runs, default 2]
#include "anonymize/AnonymizeRun.h"
#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

namespace {

QByteArray scenarioText(int rows) {
    return QByteArray(R"json({"rules": [
      {"exact": "SELECT * FROM Bench..tbNames", "response": {"result": {
        "columns": [{"name": "id", "type": "int"},
                    {"name": "LastName", "type": "nvarchar(50)", "generate": {"template": "Last {n}"}},
                    {"name": "FirstName", "type": "nvarchar(50)", "generate": {"template": "First {n}"}},
                    {"name": "MiddleName", "type": "nvarchar(50)", "generate": {"template": "Middle {n}"}}],
        "generate": )json") +
           QByteArray::number(rows) + R"json(}}},
      {"prefix": "SELECT COUNT(*) FROM Bench..tbNames WHERE", "response": {"result": {"columns": ["n:int"], "rows": [[0]]}}},
      {"exact": "SELECT COUNT(*) FROM Bench..tbNames", "response": {"result": {"columns": ["n:int"], "rows": [[)json" +
           QByteArray::number(rows) + R"json(]]}}}]})json";
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

class YesBoxes : public qormin::platform::MessageBoxService {
public:
    qormin::platform::MessageBoxAnswer MsgBox(const QString&, qormin::platform::MessageBoxButtons buttons,
                                              const QString&) override {
        return buttons == qormin::platform::MessageBoxButtons::YesNo ? qormin::platform::MessageBoxAnswer::Yes
                                                                     : qormin::platform::MessageBoxAnswer::Ok;
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
    for (const QChar character : text)
        characters.push_back(character.unicode());
    characters.push_back(0);
    return characters;
}

// The same cursor, FETCH and three-column UPDATE per row, straight on one ODBC connection.
double rawSeconds(const QString& connectionString, int* rows) {
    Handle environment = allocate(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    Handle connection = allocate(SQL_HANDLE_DBC, environment.get());
    QByteArray text = connectionString.toUtf8();
    SQLDriverConnect(connection.get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS, nullptr, 0,
                     nullptr, SQL_DRIVER_NOPROMPT);
    Handle statement = allocate(SQL_HANDLE_STMT, connection.get());
    Handle update = allocate(SQL_HANDLE_STMT, connection.get());
    SQLWCHAR names[3][51] = {};
    SQLLEN lengths[3] = {};
    for (SQLUSMALLINT index = 0; index < 3; ++index)
        SQLBindParameter(update.get(), index + 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0,
                         names[index], sizeof(names[index]), &lengths[index]);
    QElapsedTimer clock;
    clock.start();
    auto open = wide(QStringLiteral("DECLARE raw_cursor CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR SELECT * FROM "
                                    "Bench..tbNames\r\nOPEN raw_cursor"));
    SQLExecDirectW(statement.get(), open.data(), SQL_NTS);
    while (SQLMoreResults(statement.get()) == SQL_SUCCESS) {
    }
    SQLFreeStmt(statement.get(), SQL_CLOSE);
    const auto fetch = wide(QStringLiteral("FETCH NEXT FROM raw_cursor"));
    const auto change = wide(QStringLiteral("UPDATE Bench..tbNames SET [LastName] = ?, [FirstName] = ?, "
                                            "[MiddleName] = ? WHERE CURRENT OF raw_cursor"));
    *rows = 0;
    for (;;) {
        SQLExecDirectW(statement.get(), const_cast<SQLWCHAR*>(fetch.data()), SQL_NTS);
        for (SQLUSMALLINT index = 0; index < 3; ++index)
            SQLBindCol(statement.get(), index + 2, SQL_C_WCHAR, names[index], sizeof(names[index]),
                       &lengths[index]);
        const bool found = SQL_SUCCEEDED(SQLFetch(statement.get()));
        SQLFreeStmt(statement.get(), SQL_CLOSE);
        SQLFreeStmt(statement.get(), SQL_UNBIND);
        if (!found)
            break;
        for (auto& name : names)
            name[0] = 'X';
        SQLExecDirectW(update.get(), const_cast<SQLWCHAR*>(change.data()), SQL_NTS);
        SQLFreeStmt(update.get(), SQL_CLOSE);
        ++*rows;
    }
    auto close = wide(QStringLiteral("CLOSE raw_cursor\r\nDEALLOCATE raw_cursor"));
    SQLExecDirectW(statement.get(), close.data(), SQL_NTS);
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const int rows = argc > 1 ? std::max(1, atoi(argv[1])) : 100000;
    const int runs = argc > 2 ? std::max(1, atoi(argv[2])) : 2;
    QTextStream out(stdout);
    QTemporaryDir folder;
    const QString scenarioFile = folder.filePath(QStringLiteral("bench.json"));
    QFile file(scenarioFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(scenarioText(rows)) < 0)
        return 1;
    file.close();
    QProcess simulator;
    simulator.start(QStringLiteral(QORMIN_SIM_PATH), {QStringLiteral("--scenario"), scenarioFile});
    if (!simulator.waitForReadyRead(30000))
        return 1;
    const QString port = QString::fromUtf8(simulator.readLine()).trimmed().section(u':', -1);
    StubHost host;
    host.server = QStringLiteral("127.0.0.1,") + port;
    qormin::db::ServerAccess access(host);
    YesBoxes boxes;
    qormin::controls::FlexGrid grid;
    QListWidget last;
    QListWidget first;
    QLabel recordNumber;
    QLabel recordCount;
    QCheckBox testRun;
    // A third argument "test" measures the walk alone (a test run sends no UPDATE).
    testRun.setChecked(argc > 3 && QByteArray(argv[3]) == "test");
    qormin::anonymize::AnonymizeRun run(
        {access, boxes, grid, last, first, recordNumber, recordCount, testRun, [] { return false; }});
    access.ConnectServer(1);
    const QString odbc =
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
        QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=demo;Database=MASTER;ClientCharset=UTF-8");
    QString surnames;
    QString given;
    for (int n = 0; n < 1000; ++n) {
        surnames += QStringLiteral("Surname%1\r\n").arg(n);
        given += QStringLiteral("Given%1\r\n").arg(n);
    }
    const qormin::anonymize::AnonymizeLists lists{
        QStringLiteral("Bench..tbNames LastName FirstName MiddleName"), surnames, given};
    const long before = peakResidentKilobytes();
    double best = 1e9;
    double bestRaw = 1e9;
    qint64 latest = 0;
    int rawRows = 0;
    for (int round = 0; round < runs; ++round) {
        QElapsedTimer ticks;
        qint64 lateness = 0;
        QTimer timer;
        timer.setInterval(5);
        QObject::connect(&timer, &QTimer::timeout,
                         [&] { lateness = std::max(lateness, ticks.restart() - 5); });
        ticks.start();
        timer.start();
        QElapsedTimer clock;
        clock.start();
        run.runComplete(lists, QStringLiteral("bench secret"));
        best = std::min(best, static_cast<double>(clock.nsecsElapsed()) / 1e9);
        timer.stop();
        latest = std::max(latest, lateness);
        bestRaw = std::min(bestRaw, rawSeconds(odbc, &rawRows));
    }
    const long after = peakResidentKilobytes();
    out << "complete anonymise, " << rows << " rows x 3 names, best of " << runs << ": " << best << " s ("
        << rows / best << " rows/s); raw ODBC cursor loop " << bestRaw << " s (" << rawRows / bestRaw
        << " rows/s); ratio " << best / bestRaw << Qt::endl;
    out << "largest lateness of a 5 ms timer during the runs: " << latest << " ms" << Qt::endl;
    out << "peak RSS: before " << before << " kB, after " << after << " kB" << Qt::endl;
    out << "rows counted by the run: " << recordNumber.text()
        << "; first error line: " << access.errors().text().section(QStringLiteral("\r\n"), 0, 0) << Qt::endl;
    simulator.kill();
    simulator.waitForFinished();
    return 0;
}
