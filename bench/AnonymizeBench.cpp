// The complete anonymisation run over 100,000 rows in place against the simulated server (run
// as a program of its own): rows per second against a plain ODBC loop that walks the same
// positioned cursor and sends the same three-column UPDATE per row, the two alternated and the
// best kept; the largest lateness of a 5 ms timer while the run works (the window's
// responsiveness); and the process's peak resident memory before and after. The pair runs idle
// and under a background load (BenchSupport's compareIdleAndLoaded).
// Usage: qormin-bench-anonymize [rows, default 100000] [runs, default 2]
#include "BenchSupport.h"
#include "anonymize/AnonymizeRun.h"
#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QListWidget>
#include <QTextStream>
#include <algorithm>
#include <sql.h>
#include <sqlext.h>

namespace {

using namespace qormin::bench;

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

class YesBoxes : public qormin::platform::MessageBoxService {
public:
    qormin::platform::MessageBoxAnswer MsgBox(const QString&, qormin::platform::MessageBoxButtons buttons,
                                              const QString&) override {
        return buttons == qormin::platform::MessageBoxButtons::YesNo ? qormin::platform::MessageBoxAnswer::Yes
                                                                     : qormin::platform::MessageBoxAnswer::Ok;
    }
    QString saveFileName(const QString&, const QString&, const QString&) override { return {}; }
};

// The same cursor, FETCH and three-column UPDATE per row, straight on one ODBC connection.
double rawSeconds(const QString& connectionString, int* rows) {
    Handle environment = odbcEnvironment();
    Handle connection = connect(environment.get(), connectionString);
    Handle statement = allocate(SQL_HANDLE_STMT, connection.get());
    Handle update = allocate(SQL_HANDLE_STMT, connection.get());
    SQLWCHAR names[3][51] = {};
    SQLLEN lengths[3] = {};
    for (SQLUSMALLINT index = 0; index < 3; ++index)
        SQLBindParameter(update.get(), index + 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0,
                         names[index], sizeof(names[index]), &lengths[index]);
    QElapsedTimer clock;
    clock.start();
    openRawCursor(statement.get(), QStringLiteral("SELECT * FROM Bench..tbNames"));
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
    closeRawCursor(statement.get());
    return secondsSince(clock);
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const int rows = countArgument(argc, argv, 1, 100000);
    const int runs = countArgument(argc, argv, 2, 2);
    QTextStream out(stdout);
    SimProcess simulator(QStringLiteral(QORMIN_SIM_PATH));
    if (!simulator.start(scenarioText(rows), nullptr))
        return 1;
    StubHost host(simulator.server());
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
    const QString odbc = odbcConnectionString(simulator.port());
    QString surnames;
    QString given;
    for (int n = 0; n < 1000; ++n) {
        surnames += QStringLiteral("Surname%1\r\n").arg(n);
        given += QStringLiteral("Given%1\r\n").arg(n);
    }
    const qormin::anonymize::AnonymizeLists lists{
        QStringLiteral("Bench..tbNames LastName FirstName MiddleName"), surnames, given};
    const long before = peakResidentKilobytes();
    int rawRows = 0;
    compareIdleAndLoaded(out,
                         {QStringLiteral("complete anonymise, %1 rows x 3 names").arg(rows),
                          static_cast<double>(rows),
                          [&] { run.runComplete(lists, QStringLiteral("bench secret")); },
                          [&] { rawSeconds(odbc, &rawRows); }},
                         runs);
    LatenessProbe probe(5);
    probe.start();
    run.runComplete(lists, QStringLiteral("bench secret"));
    probe.stop();
    const qint64 latest = probe.largestMilliseconds();
    const long after = peakResidentKilobytes();
    out << "raw loop rows: " << rawRows << Qt::endl;
    out << "largest lateness of a 5 ms timer during a run: " << latest << " ms" << Qt::endl;
    out << "peak RSS: before " << before << " kB, after " << after << " kB" << Qt::endl;
    out << "rows counted by the run: " << recordNumber.text()
        << "; first error line: " << access.errors().text().section(QStringLiteral("\r\n"), 0, 0) << Qt::endl;
    return 0;
}
