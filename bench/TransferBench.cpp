// Moving rows with "Transfer DB": 100,000 rows in runs of 1,000 with delete after transfer, each
// row read through the positioned cursor, inserted whole and deleted through the cursor, against
// the simulated server (a program of its own). The same work as plain ODBC calls in the same run:
// the same cursor statements, one FETCH, one prepared INSERT and one DELETE ... WHERE CURRENT OF
// per row. Also the process's peak resident memory and how late a 5 ms timer on the window's
// thread comes while the tool runs (the window's log shows every row). The simulator keeps its
// rows, so every run reads the same 1,000. The two are alternated and compared idle and under a
// background load (BenchSupport's compareIdleAndLoaded).
// Usage: qormin-bench-transfer [runs of 1,000 per loop, default 20] [alternated rounds, default 3]
#include "BenchSupport.h"
#include "controls/FlexGrid.h"
#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"
#include "transfer/TransferDBTools.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTextStream>
#include <sql.h>
#include <sqlext.h>

namespace {

using namespace qormin::bench;

constexpr int rowsPerRun = 1000;
const QString transferQuery =
    QStringLiteral("SELECT top 1000 * FROM Bench..tbDocs WHERE 1=1  AND 1=1 ORDER BY created ASC");

QByteArray tableRule(const QString& statement, int rows) {
    return generatedTableRule(statement.toUtf8(), rows, "scan{n}.pdf");
}

QByteArray scenarioText() {
    return QByteArray(R"json({"rules": [)json") +
           tableRule(QStringLiteral("SELECT TOP 1 * FROM Bench2..tbDocs"), 1) + "," +
           tableRule(transferQuery, rowsPerRun) +
           // A move counts a row only when its INSERT reports one row written.
           R"json(, {"prefix": "INSERT INTO Bench2..tbDocs", "response": {"rowCount": 1}}]})json";
}

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

// The tool's statements as plain ODBC calls on one connection: the cursor, then per row FETCH,
// the INSERT prepared once with its parameters bound to the fetched columns, and the DELETE.
void rawLoop(const QString& connectionString, int runs, qint64* rows) {
    Handle environment = odbcEnvironment();
    Handle connection = connect(environment.get(), connectionString);
    Handle cursor = allocate(SQL_HANDLE_STMT, connection.get());
    Handle insert = allocate(SQL_HANDLE_STMT, connection.get());
    Handle remove = allocate(SQL_HANDLE_STMT, connection.get());
    BoundRow row;
    auto insertText = wide(
        QStringLiteral("INSERT INTO Bench2..tbDocs ([id], [name], [amount], [created]) VALUES (?, ?, ?, ?)"));
    SQLPrepareW(insert.get(), insertText.data(), SQL_NTS);
    row.bindParameters(insert.get());
    const auto fetch = wide(QStringLiteral("FETCH NEXT FROM raw_cursor"));
    const auto deleteText = wide(QStringLiteral("DELETE FROM Bench..tbDocs WHERE CURRENT OF raw_cursor"));
    *rows = 0;
    for (int pass = 0; pass < runs; ++pass) {
        openRawCursor(cursor.get(), transferQuery);
        for (;;) {
            SQLExecDirectW(cursor.get(), const_cast<SQLWCHAR*>(fetch.data()), SQL_NTS);
            row.bindColumns(cursor.get());
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
        closeRawCursor(cursor.get());
    }
}

} // namespace

int main(int argc, char** argv) {
    useOffscreenWithoutDisplay();
    QApplication application(argc, argv);
    QTextStream out(stdout);
    const int runs = countArgument(argc, argv, 1, 20);

    SimProcess simulator(QStringLiteral(QORMIN_SIM_PATH));
    if (!simulator.start(scenarioText(), &out))
        return 1;

    StubHost host(simulator.server());
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

    const int rounds = countArgument(argc, argv, 2, 3);
    qint64 moved = 0;
    qint64 deleted = 0;
    auto toolLoop = [&] {
        moved = 0;
        deleted = 0;
        for (int pass = 0; pass < runs; ++pass) {
            const qormin::transfer::TransferDBCount count = tools.transfer(job);
            moved += count.written;
            deleted += count.deleted;
        }
    };
    qint64 rawRows = 0;
    const QString odbc = odbcConnectionString(simulator.port());
    const long before = peakResidentKilobytes();
    compareIdleAndLoaded(out,
                         {QStringLiteral("transfer with delete, %1 rows").arg(runs * rowsPerRun),
                          static_cast<double>(runs) * rowsPerRun, toolLoop,
                          [&] { rawLoop(odbc, runs, &rawRows); }},
                         rounds);
    const long after = peakResidentKilobytes();
    LatenessProbe ticker(5);
    ticker.start();
    toolLoop();
    ticker.stop();
    out << "tool: " << moved << " written, " << deleted << " deleted; raw loop: " << rawRows << " rows"
        << Qt::endl;
    out << "peak RSS: before " << before << " kB, after " << after << " kB (window log holds "
        << log->blockCount() << " lines)" << Qt::endl;
    out << "window latency: the 5 ms timer came at most " << ticker.largestMilliseconds() << " ms late"
        << Qt::endl;
    return 0;
}
