// The data migration and the transaction-date repair against the simulated server (a program of
// its own, so its transcript does not count here), each beside a plain ODBC loop doing the same
// look-ups and writes, the two alternated and the best of several runs of each kept.
//
// Migration: frmMigrateData runs a one-block migrate.txt over 100,000 source rows; every even key
// is already in the destination, so there are 100,000 look-ups and 50,000 inserts. The raw loop
// reads the source on a second connection with bound columns, looks each key up with the same
// literal SELECT and inserts the missing rows through one prepared INSERT.
//
// Repair: frmFixTransDate repairs 20,000 rows through its positioned cursor. By the key's last
// digit the date is in the backup (0 2 4 6 8: one query), found by method 2 (1 3: two queries),
// by method 5 (5 7: five queries) or nowhere (9: all nine, no update): 2.8 look-ups and 0.9
// updates a row. The raw loop sends the same cursor statements, the same query texts and the same
// UPDATE ... WHERE CURRENT OF with bound parameters.
//
// Peak resident memory is taken after all migration runs and again after all repair runs (a fresh
// window each run; the raw loops hold next to nothing).
// Each pair runs idle and under a background load (BenchSupport's compareIdleAndLoaded).
// Usage: qormin-bench-migrate [runs, default 3] [migrate|repair, default both]
// (BENCH_HIDDEN=1 leaves the windows hidden; BENCH_TRANSCRIPT=FILE keeps the simulator's transcript.)
#include "BenchSupport.h"
#include "db/ServerAccess.h"
#include "platform/MessageBoxService.h"
#include "platform/SettingsStore.h"
#include "transfer/FixTransDateStatements.h"
#include "transfer/frmFixTransDate.h"
#include "transfer/frmMigrateData.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>
#include <functional>
#include <memory>
#include <sql.h>
#include <sqlext.h>

namespace {

namespace Fix = qormin::transfer::FixTransDateStatements;

constexpr int migrateRows = 100000;
constexpr int repairRows = 20000;
const QString backupTable = QStringLiteral("Bak..tbBill");
const QString damagedTable = QStringLiteral("Billing..tbBill");
const char* const migrateFile = "#New..tbDest|Old..tbSrc\n"
                                "*PatientID|PatID\n"
                                "*LastName|Name\n"
                                "*City|Town\n"
                                "*Status|=A\n"
                                ".\n";

const QByteArray scenario = R"json({"rules": [
  {"exact": "SELECT COUNT (1) FROM Old..tbSrc AS RECCOUNT", "response": {"result": {"columns": ["c:int"], "rows": [[100000]]}}},
  {"exact": "SELECT * FROM Old..tbSrc", "response": {"result": {
     "columns": [{"name": "PatID", "type": "int"},
                 {"name": "Name", "type": "nvarchar(50)", "generate": {"template": "Patient {n}"}},
                 {"name": "Town", "type": "nvarchar(50)", "generate": {"cycle": ["Cebu", "Iloilo", "Bohol"]}}],
     "generate": 100000}}},
  {"exact": "SELECT TOP 1 * FROM New..tbDest", "response": {"result": {
     "columns": ["PatientID:int", "LastName:nvarchar(50)", "City:nvarchar(50)", "Status:char(1)"], "rows": []}}},
  {"regex": "^SELECT \\* FROM New\\.\\.tbDest WHERE PatientID = '\\d*[02468]'$", "response": {"result": {
     "columns": ["PatientID:int"], "rows": [[2]]}}},
  {"prefix": "SELECT * FROM New..tbDest WHERE ", "response": {"result": {"columns": ["PatientID:int"], "rows": []}}},

  {"prefix": "SELECT * FROM Billing..tbBill WHERE ", "response": {"result": {
     "columns": [{"name": "IDNum", "type": "varchar(10)", "generate": {"template": "I{n}"}},
                 {"name": "RevenueID", "type": "int"},
                 {"name": "itemid", "type": "int"},
                 {"name": "refnum", "type": "varchar(10)", "generate": {"template": "R{n}"}},
                 {"name": "TransDate", "type": "datetime", "generate": {"value": "2020-07-17 09:02:18.000"}},
                 {"name": "TransDateFixed", "type": "int", "generate": {"value": 0, "nullEvery": 1}}],
     "generate": 20000}}},
  {"prefix": "SELECT SUM (ROW_COUNT)", "response": {"result": {"columns": ["X:bigint"], "rows": [[20000]]}}},
  {"regex": "^SELECT  TRANSDATE FROM  Bak\\.\\.tbBill .* IDNUM= 'I\\d*[02468]'", "response": {"result": {
     "columns": ["d:datetime"], "rows": [["2020-07-01 08:00:00"]]}}},
  {"regex": "^select ProcessDate .* IDNUM= 'I\\d*[13]'", "response": {"result": {
     "columns": ["d:datetime"], "rows": [["2020-07-02 08:00:00"]]}}},
  {"regex": "^select Transdate from billing\\.\\.tbcashormaster .* IDNUM= 'I\\d*[57]'", "response": {"result": {
     "columns": ["d:datetime"], "rows": [["2020-07-05 08:00:00"]]}}},
  {"regex": "WITH \\(NOLOCK\\)", "response": {"result": {"columns": ["d:datetime"], "rows": []}}}
]})json";

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

// Neither run asks anything when all goes well: a box is printed and answered No.
class QuietBoxes : public qormin::platform::MessageBoxService {
public:
    qormin::platform::MessageBoxAnswer MsgBox(const QString& text, qormin::platform::MessageBoxButtons,
                                              const QString&) override {
        QTextStream(stderr) << "message box: " << text << Qt::endl;
        return qormin::platform::MessageBoxAnswer::No;
    }
    QString saveFileName(const QString&, const QString&, const QString&) override { return {}; }
};

using qormin::bench::allocate;
using qormin::bench::compareIdleAndLoaded;
using qormin::bench::Handle;
using qormin::bench::peakResidentKilobytes;
using qormin::bench::wide;

Handle environment() {
    return qormin::bench::odbcEnvironment();
}

Handle connect(SQLHANDLE environment, const QString& connectionString) {
    return qormin::bench::connect(environment, connectionString);
}

// Sends a statement and reads whatever it answers to its end.
void run(SQLHSTMT statement, const QString& text) {
    auto sql = wide(text);
    SQLExecDirectW(statement, sql.data(), SQL_NTS);
    while (SQLMoreResults(statement) == SQL_SUCCESS) {
    }
    SQLFreeStmt(statement, SQL_CLOSE);
}

// True when the statement returned a row.
bool anyRow(SQLHSTMT statement, const std::vector<SQLWCHAR>& text) {
    SQLExecDirectW(statement, const_cast<SQLWCHAR*>(text.data()), SQL_NTS);
    const bool found = SQL_SUCCEEDED(SQLFetch(statement));
    SQLFreeStmt(statement, SQL_CLOSE);
    return found;
}

// The migration as plain ODBC calls: the count, the source read as one plain result with bound
// columns on a second connection, the key look-up as a literal SELECT and the INSERT prepared once
// with its parameters bound to the fetched columns.
double rawMigrateSeconds(const QString& connectionString, int* inserted) {
    Handle odbc = environment();
    Handle reading = connect(odbc.get(), connectionString);
    Handle writing = connect(odbc.get(), connectionString);
    Handle source = allocate(SQL_HANDLE_STMT, reading.get());
    Handle lookup = allocate(SQL_HANDLE_STMT, writing.get());
    Handle insert = allocate(SQL_HANDLE_STMT, writing.get());
    SQLINTEGER id = 0;
    SQLWCHAR name[51] = {};
    SQLWCHAR town[51] = {};
    SQLCHAR status[2] = "A";
    SQLLEN lengths[4] = {0, 0, 0, SQL_NTS};
    SQLBindCol(source.get(), 1, SQL_C_SLONG, &id, 0, &lengths[0]);
    SQLBindCol(source.get(), 2, SQL_C_WCHAR, name, sizeof(name), &lengths[1]);
    SQLBindCol(source.get(), 3, SQL_C_WCHAR, town, sizeof(town), &lengths[2]);
    auto insertText = wide(QStringLiteral(
        "INSERT INTO New..tbDest ([PatientID], [LastName], [City], [Status]) VALUES (?, ?, ?, ?)"));
    SQLPrepareW(insert.get(), insertText.data(), SQL_NTS);
    SQLBindParameter(insert.get(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, &lengths[0]);
    SQLBindParameter(insert.get(), 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, name, sizeof(name),
                     &lengths[1]);
    SQLBindParameter(insert.get(), 3, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 50, 0, town, sizeof(town),
                     &lengths[2]);
    SQLBindParameter(insert.get(), 4, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_CHAR, 1, 0, status, sizeof(status),
                     &lengths[3]);
    const std::string lookupHead = "SELECT * FROM New..tbDest WHERE PatientID = '";
    std::vector<SQLWCHAR> lookupText(lookupHead.begin(), lookupHead.end());

    QElapsedTimer clock;
    clock.start();
    run(source.get(), QStringLiteral("SELECT COUNT (1) FROM Old..tbSrc AS RECCOUNT"));
    auto select = wide(QStringLiteral("SELECT * FROM Old..tbSrc"));
    SQLExecDirectW(source.get(), select.data(), SQL_NTS);
    *inserted = 0;
    while (SQL_SUCCEEDED(SQLFetch(source.get()))) {
        const std::string key = std::to_string(id) + "'";
        lookupText.resize(lookupHead.size());
        lookupText.insert(lookupText.end(), key.begin(), key.end());
        lookupText.push_back(0);
        if (anyRow(lookup.get(), lookupText)) {
            continue;
        }
        SQLExecute(insert.get());
        SQLFreeStmt(insert.get(), SQL_CLOSE);
        ++*inserted;
    }
    SQLFreeStmt(source.get(), SQL_CLOSE);
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

struct BadRow {
    SQLCHAR idNum[11] = {};
    SQLINTEGER revenueId = 0;
    SQLINTEGER itemId = 0;
    SQLCHAR refNum[11] = {};
    SQLLEN lengths[4] = {};

    QVariant text(const SQLCHAR* value, SQLLEN length) const {
        return length == SQL_NULL_DATA ? QVariant()
                                       : QVariant(QString::fromLatin1(reinterpret_cast<const char*>(value)));
    }
    QVariant number(SQLINTEGER value, SQLLEN length) const {
        return length == SQL_NULL_DATA ? QVariant() : QVariant(static_cast<int>(value));
    }
    qormin::transfer::TransDateKeys keys() const {
        return qormin::transfer::TransDateKeys::of(text(idNum, lengths[0]), text(refNum, lengths[3]),
                                                   number(revenueId, lengths[1]), number(itemId, lengths[2]));
    }
};

// The repair as plain ODBC calls on one connection: the set-up statements, the cursor, per row a
// FETCH, the method queries in order up to the first hit and the positioned UPDATE with the date
// and the method bound as parameters. The query texts come from the same pure builders.
double rawRepairSeconds(const QString& connectionString, int* updated) {
    Handle odbc = environment();
    Handle connection = connect(odbc.get(), connectionString);
    Handle cursor = allocate(SQL_HANDLE_STMT, connection.get());
    Handle lookup = allocate(SQL_HANDLE_STMT, connection.get());
    Handle update = allocate(SQL_HANDLE_STMT, connection.get());
    SQL_TIMESTAMP_STRUCT date{};
    SQLINTEGER method = 0;
    SQLLEN dateLength = 0;
    SQLLEN methodLength = 0;
    SQLBindCol(lookup.get(), 1, SQL_C_TYPE_TIMESTAMP, &date, 0, &dateLength);
    SQLBindParameter(update.get(), 1, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3, &date,
                     0, &dateLength);
    SQLBindParameter(update.get(), 2, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &method, 0,
                     &methodLength);
    const auto fetch = wide(QStringLiteral("FETCH NEXT FROM raw_cursor"));
    const auto change =
        wide(QStringLiteral("UPDATE ") + damagedTable +
             QStringLiteral(" SET [TransDate] = ?, [TransDateFixed] = ? WHERE CURRENT OF raw_cursor"));
    const int methods[] = {Fix::backupMethod, 2, 3, 4, 5, 6, 7, 8, 9};
    BadRow row;

    QElapsedTimer clock;
    clock.start();
    run(cursor.get(), Fix::addFixedColumn(backupTable));
    run(cursor.get(), Fix::addFixedColumn(damagedTable));
    run(cursor.get(), QStringLiteral("USE ") + Fix::defaultDatabase());
    run(cursor.get(), Fix::rowCountQuery());
    run(cursor.get(), QStringLiteral("DECLARE raw_cursor CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR ") +
                          Fix::badRowsQuery(damagedTable, Fix::defaultWhere) +
                          QStringLiteral("\r\nOPEN raw_cursor"));
    *updated = 0;
    for (;;) {
        SQLExecDirectW(cursor.get(), const_cast<SQLWCHAR*>(fetch.data()), SQL_NTS);
        SQLBindCol(cursor.get(), 1, SQL_C_CHAR, row.idNum, sizeof(row.idNum), &row.lengths[0]);
        SQLBindCol(cursor.get(), 2, SQL_C_SLONG, &row.revenueId, 0, &row.lengths[1]);
        SQLBindCol(cursor.get(), 3, SQL_C_SLONG, &row.itemId, 0, &row.lengths[2]);
        SQLBindCol(cursor.get(), 4, SQL_C_CHAR, row.refNum, sizeof(row.refNum), &row.lengths[3]);
        const bool fetched = SQL_SUCCEEDED(SQLFetch(cursor.get()));
        SQLFreeStmt(cursor.get(), SQL_CLOSE);
        SQLFreeStmt(cursor.get(), SQL_UNBIND);
        if (!fetched) {
            break;
        }
        const qormin::transfer::TransDateKeys keys = row.keys();
        for (const int candidate : methods) {
            if (!anyRow(lookup.get(), wide(Fix::methodQuery(candidate, backupTable, keys)))) {
                continue;
            }
            method = candidate;
            SQLExecDirectW(update.get(), const_cast<SQLWCHAR*>(change.data()), SQL_NTS);
            SQLFreeStmt(update.get(), SQL_CLOSE);
            ++*updated;
            break;
        }
    }
    run(cursor.get(), QStringLiteral("CLOSE raw_cursor\r\nDEALLOCATE raw_cursor"));
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

struct Bench {
    qormin::db::ServerAccess& access;
    QuietBoxes& boxes;
    QString folder;
    QString odbc;
    int runs;
    QTextStream& out;

    void showWindow(QWidget& window) const {
        if (qEnvironmentVariableIsEmpty("BENCH_HIDDEN")) {
            window.show();
        }
    }

    void migrate() const {
        QString status;
        int rawInserted = 0;
        auto tool = [&] {
            qormin::transfer::frmMigrateData window(access, boxes, folder);
            showWindow(window);
            window.cmdStart_Click();
            status = window.findChild<QLabel*>(QStringLiteral("lblStatus"))->text() +
                     QStringLiteral(" rows read, ") +
                     window.findChild<QLabel*>(QStringLiteral("lblCurrent"))->text();
            const QString logged = window.findChild<QPlainTextEdit*>(QStringLiteral("txtLog"))->toPlainText();
            if (!logged.isEmpty()) {
                out << "migration log: " << logged.left(500) << Qt::endl;
            }
        };
        compareIdleAndLoaded(out,
                             {QStringLiteral("migration, %1 rows (half present)").arg(migrateRows),
                              migrateRows, tool, [&] { rawMigrateSeconds(odbc, &rawInserted); }},
                             runs);
        out << "migration: " << status << "; raw loop inserted " << rawInserted << Qt::endl;
        out << "peak RSS after the migration runs: " << peakResidentKilobytes() << " kB" << Qt::endl;
    }

    void repair() const {
        qsizetype logLines = 0;
        int rawUpdated = 0;
        auto tool = [&] {
            const std::unique_ptr<qormin::platform::SettingsStore> settings =
                qormin::platform::SettingsStore::openFile(folder + QStringLiteral("/settings.ini"));
            qormin::transfer::frmFixTransDate window(access, boxes, *settings);
            window.findChild<QLineEdit*>(QStringLiteral("txtSrc"))->setText(backupTable);
            window.findChild<QLineEdit*>(QStringLiteral("txtDest"))->setText(damagedTable);
            window.findChild<QLineEdit*>(QStringLiteral("txtWhere"))->setText(Fix::defaultWhere);
            showWindow(window);
            window.Command1_Click();
            logLines = window.findChild<QPlainTextEdit*>(QStringLiteral("txtLog"))->blockCount();
        };
        compareIdleAndLoaded(out,
                             {QStringLiteral("date repair, %1 rows").arg(repairRows), repairRows, tool,
                              [&] { rawRepairSeconds(odbc, &rawUpdated); }},
                             runs);
        out << "date repair: log " << logLines << " lines; raw loop updated " << rawUpdated << Qt::endl;
        out << "peak RSS after the repair runs: " << peakResidentKilobytes() << " kB" << Qt::endl;
    }
};

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTextStream out(stdout);
    const int runs = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 3;
    const QString only = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();

    QTemporaryDir folder;
    QFile scenarioFile(folder.filePath(QStringLiteral("bench.json")));
    QFile migrate(folder.filePath(qormin::transfer::frmMigrateData::fileName()));
    if (!scenarioFile.open(QIODevice::WriteOnly) || scenarioFile.write(scenario) < 0 ||
        !migrate.open(QIODevice::WriteOnly) || migrate.write(migrateFile) < 0) {
        out << "cannot write the scenario or migrate.txt" << Qt::endl;
        return 1;
    }
    scenarioFile.close();
    migrate.close();
    QProcess simulator;
    // A transcript shows whether both loops sent the same work.
    QStringList arguments{QStringLiteral("--scenario"), scenarioFile.fileName()};
    if (!qEnvironmentVariableIsEmpty("BENCH_TRANSCRIPT")) {
        arguments << QStringLiteral("--transcript") << qEnvironmentVariable("BENCH_TRANSCRIPT");
    }
    simulator.start(QStringLiteral(QORMIN_SIM_PATH), arguments);
    if (!simulator.waitForReadyRead(30000)) {
        out << "the simulator did not start: " << simulator.readAllStandardError() << Qt::endl;
        return 1;
    }
    const QString port = QString::fromUtf8(simulator.readLine()).trimmed().section(QLatin1Char(':'), -1);

    StubHost host;
    host.server = QStringLiteral("127.0.0.1,") + port;
    qormin::db::ServerAccess access(host);
    access.ConnectServer(0);
    access.ConnectServer(1);
    QuietBoxes boxes;
    const QString odbc =
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=") + port +
        QStringLiteral(";TDS_Version=7.4;UID=sa;PWD=demo;Database=MASTER;ClientCharset=UTF-8");
    out << "peak RSS before: " << peakResidentKilobytes() << " kB" << Qt::endl;
    const Bench bench{access, boxes, folder.path(), odbc, runs, out};
    if (only != QLatin1String("repair")) {
        bench.migrate();
    }
    if (only != QLatin1String("migrate")) {
        bench.repair();
    }
    simulator.kill();
    simulator.waitForFinished();
    return 0;
}
