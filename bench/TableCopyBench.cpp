// Copying rows by record through the "Copy" page's loop against the simulated server (run as a
// program of its own, so its transcript does not count here): rows per second against the
// fastest plain ODBC loop doing the same per-row work (read on one connection as a plain
// result with bound columns, insert on another through a statement prepared once, the same
// wide API as the tool, one request per row), the two alternated and the best of several runs
// of each kept; the copy sends its rows a hundred to a request, so it is expected to pass the
// per-row loop, and its speed is printed as a multiple of the loop's; then
// the process's peak resident memory after 100,000 and after 400,000 rows (flat memory keeps
// the two close). Each pair runs idle and under a background load (BenchSupport's
// compareIdleAndLoaded). Usage: qormin-bench-table-copy [runs, default 3]
#include "BenchSupport.h"
#include "controls/FlexGrid.h"
#include "db/RecordReader.h"
#include "db/ServerAccess.h"
#include "tablecopy/TableCopyTools.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTextStream>
#include <algorithm>
#include <sql.h>
#include <sqlext.h>

namespace {

using namespace qormin::bench;

constexpr int updateRows = 10000;

// The same four columns, a given number of generated rows.
QByteArray tableRule(const char* statement, int rows) {
    return generatedTableRule(statement, rows, "Patient {n}");
}

QByteArray scenarioText() {
    return QByteArray(R"json({"rules": [)json") + tableRule("SELECT TOP 1 * FROM Bench2..tbCopy", 1) + "," +
           tableRule("SELECT * FROM Bench..tb100000", 100000) + "," +
           tableRule("SELECT * FROM Bench..tb400000", 400000) + "," +
           tableRule("SELECT * FROM Bench..tbUpdate", updateRows) + "]}";
}

// Reads on one connection and inserts each row on another through one prepared statement
// whose parameters point at the bound columns: nothing is copied or converted per row.
double rawOdbcSeconds(const QString& connectionString, const QString& select, int* rows) {
    Handle environment = odbcEnvironment();
    Handle reading = connect(environment.get(), connectionString);
    Handle writing = connect(environment.get(), connectionString);
    Handle source = allocate(SQL_HANDLE_STMT, reading.get());
    Handle target = allocate(SQL_HANDLE_STMT, writing.get());

    BoundRow row;
    row.bindColumns(source.get());
    auto insert = wide(
        QStringLiteral("INSERT INTO Bench2..raw ([id], [name], [amount], [created]) VALUES (?, ?, ?, ?)"));
    SQLPrepareW(target.get(), insert.data(), SQL_NTS);
    row.bindParameters(target.get());

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
    return secondsSince(clock);
}

// The positioned update loop as plain ODBC calls: the same T-SQL cursor statements the tool
// sends, one FETCH and one UPDATE ... WHERE CURRENT OF per row on one connection.
double rawUpdateSeconds(const QString& connectionString, int* rows) {
    Handle environment = odbcEnvironment();
    Handle connection = connect(environment.get(), connectionString);
    Handle statement = allocate(SQL_HANDLE_STMT, connection.get());
    Handle update = allocate(SQL_HANDLE_STMT, connection.get());
    SQLWCHAR name[51] = {};
    SQLLEN length = 0;
    SQLBindParameter(update.get(), 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &length);
    QElapsedTimer clock;
    clock.start();
    openRawCursor(statement.get(), QStringLiteral("SELECT * FROM Bench..tbUpdate"));
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
    closeRawCursor(statement.get());
    return secondsSince(clock);
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
    qormin::tablecopy::TableCopyTools tools({access, grid, database, stop});
    access.ConnectServer(0);

    const int runs = countArgument(argc, argv, 1, 3);
    const QString odbc = odbcConnectionString(simulator.port());
    const long before = peakResidentKilobytes();
    int rawRows = 0;
    compareIdleAndLoaded(
        out,
        {QStringLiteral("copy by record, 100000 rows"), 100000,
         [&tools] { tools.CopyRecords(QStringLiteral("Bench..tb100000"), QStringLiteral("Bench2..tbCopy")); },
         [&] { rawOdbcSeconds(odbc, QStringLiteral("SELECT * FROM Bench..tb100000"), &rawRows); }},
        runs);
    const long after100k = peakResidentKilobytes();
    const double tool400k = secondsOf(
        [&tools] { tools.CopyRecords(QStringLiteral("Bench..tb400000"), QStringLiteral("Bench2..tbCopy")); });
    const long after400k = peakResidentKilobytes();

    out << "copy by record, 400000 rows: " << tool400k << " s (" << 400000 / tool400k << " rows/s)"
        << Qt::endl;
    // The positioned mechanism that in-place loops (anonymisation, date repair) keep.
    int rawUpdated = 0;
    compareIdleAndLoaded(
        out,
        {QStringLiteral("in-place update, %1 rows").arg(updateRows), updateRows,
         [&access] {
             qormin::db::RecordReader reader(access.side(0), QStringLiteral("Bench..tbUpdate"),
                                             qormin::db::RecordReader::Mode::Updatable);
             reader.open();
             while (reader.next()) {
                 reader.updateCurrentRow({QStringLiteral("name")},
                                         {QString(QLatin1Char('X')) + reader.value(1).toString().mid(1)});
             }
         },
         [&] { rawUpdateSeconds(odbc, &rawUpdated); }},
        runs);
    out << "peak RSS: before " << before << " kB, after 100000-row copies " << after100k
        << " kB, after the 400000-row copy " << after400k << " kB (ratio "
        << static_cast<double>(after400k) / static_cast<double>(after100k) << ")" << Qt::endl;
    return 0;
}
