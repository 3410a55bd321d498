// Copy by ID and copy by record through the window against two real T-SQL servers (the engines
// scripts/engines.sh starts, or the servers QORMIN_TEST_SERVER_LEFT/RIGHT, QORMIN_TEST_USER and
// QORMIN_TEST_PASSWORD name), each beside the plain ODBC loop doing the same work on the same
// servers in the same run, the two alternated and the best of several runs kept:
// - copy by ID: 4,000 records in range on the right, every other one already on the left; the
//   raw loop reads the range with bound columns, looks each record up with the same text on
//   the left and inserts a missing one through an INSERT prepared once;
// - copy by record: 20,000 rows into the sister database; the raw loop reads them with bound
//   columns and inserts each through an INSERT prepared once on a second connection.
// Without servers it says so and exits 0. Usage: qormin-bench-engine-copy [runs, default 3]
#include "BenchSupport.h"
#include "WindowHarness.h"

#include "controls/FlexGrid.h"
#include "db/ConnectionString.h"
#include "db/LogBuffer.h"
#include "platform/SettingsStore.h"

#include <QApplication>
#include <QLineEdit>
#include <QProcessEnvironment>
#include <QTextStream>

namespace {

using namespace qormin::bench;

constexpr int idRecords = 4000;
constexpr int tableRows = 20000;

struct Servers {
    QString server[2];
    QString user;
    QString password;
    QString odbc(int side) const {
        const QString provider = qormin::db::buildConnectionString(server[side], user, password);
        return qormin::db::translateConnectionString(provider, QStringLiteral("FreeTDS")).text;
    }
};

// Statements of the set-up, each on the side's own connection, results drained.
class Admin {
public:
    explicit Admin(const QString& connectionString) : m_raw(connectStatement(connectionString)) {}
    bool connected() const { return m_raw.statement != nullptr; }
    void run(const QString& sql) { executeDrained(m_raw.statement.get(), sql); }
    // The table the raw loops bind (BoundRow): id, name, amount, created.
    void createTable(const QString& database, int rows, int step) {
        run(QStringLiteral("IF DB_ID('%1') IS NOT NULL DROP DATABASE %1").arg(database));
        run(QStringLiteral("CREATE DATABASE ") + database);
        run(QStringLiteral("USE ") + database);
        run(QStringLiteral("CREATE TABLE dbo.tbIds (idnum int NOT NULL PRIMARY KEY, name nvarchar(50), "
                           "amount decimal(12,2), created datetime)"));
        if (rows > 0) {
            run(QStringLiteral("DECLARE @i int = %2; WHILE @i <= %1 BEGIN INSERT INTO dbo.tbIds VALUES (@i, "
                               "CONCAT(N'Patient ', @i), @i + 0.25, DATEADD(day, @i % 3000, '2000-01-01')); "
                               "SET @i = @i + %3 END")
                    .arg(rows)
                    .arg(step == 2 ? 2 : 1)
                    .arg(step));
        }
        run(QStringLiteral("USE master"));
    }
    void empty(const QString& database, const QString& where = QString()) {
        run(QStringLiteral("USE ") + database);
        run(QStringLiteral("DELETE FROM dbo.tbIds") + where);
        run(QStringLiteral("USE master"));
    }

private:
    RawConnection m_raw;
};

double rawCopyByRecordSeconds(const Servers& servers) {
    Handle environment = odbcEnvironment();
    Handle reading = connect(environment.get(), servers.odbc(0));
    Handle writing = connect(environment.get(), servers.odbc(0));
    Handle source = allocate(SQL_HANDLE_STMT, reading.get());
    Handle target = allocate(SQL_HANDLE_STMT, writing.get());
    BoundRow row;
    row.bindColumns(source.get());
    auto insert = wide(QStringLiteral(
        "INSERT INTO qbench2..tbIds ([idnum], [name], [amount], [created]) VALUES (?, ?, ?, ?)"));
    SQLPrepareW(target.get(), insert.data(), SQL_NTS);
    row.bindParameters(target.get());
    QElapsedTimer clock;
    clock.start();
    auto select = wide(QStringLiteral("SELECT * FROM qbench..tbIds"));
    SQLExecDirectW(source.get(), select.data(), SQL_NTS);
    while (SQL_SUCCEEDED(SQLFetch(source.get()))) {
        SQLExecute(target.get());
        SQLFreeStmt(target.get(), SQL_CLOSE);
    }
    return secondsSince(clock);
}

// The table list's own query needs sys.allocation_units, which the engine lacks: the grid is
// filled as that query would fill it.
void showTable(qormin::test::WindowHarness& harness) {
    auto* grid = harness.window().findChildren<qormin::controls::FlexGrid*>(QStringLiteral("Grid2")).front();
    grid->setCols(2);
    grid->setRows(2);
    grid->setTextMatrix(0, 0, QStringLiteral("TableName"));
    grid->setTextMatrix(1, 0, QStringLiteral("tbIds"));
    grid->setRow(1);
    harness.window().txtDB()->setText(QStringLiteral("qbench"));
}

} // namespace

int main(int argc, char** argv) {
    useOffscreenWithoutDisplay();
    QApplication application(argc, argv);
    QTextStream out(stdout);
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    Servers servers{{environment.value(QStringLiteral("QORMIN_TEST_SERVER_LEFT")),
                     environment.value(QStringLiteral("QORMIN_TEST_SERVER_RIGHT"))},
                    environment.value(QStringLiteral("QORMIN_TEST_USER"), QStringLiteral("sa")),
                    environment.value(QStringLiteral("QORMIN_TEST_PASSWORD"))};
    if (servers.server[0].isEmpty() || servers.server[1].isEmpty()) {
        out << "skipped: no T-SQL servers (QORMIN_TEST_SERVER_LEFT and QORMIN_TEST_SERVER_RIGHT are not set; "
               "eval \"$(bash scripts/engines.sh start DIR)\" starts two engines)"
            << Qt::endl;
        return 0;
    }
    Admin left(servers.odbc(0));
    Admin right(servers.odbc(1));
    if (!left.connected() || !right.connected()) {
        out << "cannot connect to " << servers.server[0] << " and " << servers.server[1] << Qt::endl;
        return 1;
    }
    right.createTable(QStringLiteral("qbench"), idRecords, 1);
    left.createTable(QStringLiteral("qbench"), idRecords, 2); // the even records
    left.createTable(QStringLiteral("qbench2"), 0, 1);

    qormin::test::WindowHarness harness;
    for (int side = 0; side < 2; ++side) {
        harness.storeConnection(side, servers.server[side], servers.password);
    }
    harness.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID"), servers.user);
    harness.load();
    showTable(harness);

    const int runs = countArgument(argc, argv, 1, 3);
    const QString oddRecords = QStringLiteral(" WHERE idnum % 2 = 1");
    RawCopyCounts counts;
    LoopPair byId{QStringLiteral("copy by ID on the engine, %1 records").arg(idRecords), idRecords,
                  [&harness] {
                      harness.runBatch(
                          QStringLiteral("set txtStartIDNum 1\nset txtENDIDNum %1\nclick cmdCopybyRecID\n")
                              .arg(idRecords));
                  },
                  [&] {
                      rawCopyByIdSeconds(servers.odbc(1), servers.odbc(0), QStringLiteral("qbench..tbIds"),
                                         idRecords, counts);
                  }};
    byId.reset = [&left, &oddRecords] { left.empty(QStringLiteral("qbench"), oddRecords); };
    compareIdleAndLoaded(out, byId, runs);
    out << "raw loop: added " << counts.added << ", existing " << counts.existing << Qt::endl;
    out << "copy by ID closing line: "
        << harness.window().serverAccess().log().text().section(QStringLiteral("\r\n"), 0, 0) << Qt::endl;

    left.run(QStringLiteral("USE qbench"));
    left.run(QStringLiteral("DECLARE @i int = %1; WHILE @i <= %2 BEGIN INSERT INTO dbo.tbIds VALUES (@i, "
                            "CONCAT(N'Patient ', @i), @i + 0.25, '2001-01-01'); SET @i = @i + 1 END")
                 .arg(idRecords + 1)
                 .arg(tableRows));
    left.run(QStringLiteral("USE master"));
    LoopPair byRecord{QStringLiteral("copy by record on the engine, %1 rows").arg(tableRows), tableRows,
                      [&harness] { harness.runBatch(QStringLiteral("click cmdCopyTables\n")); },
                      [&servers] { rawCopyByRecordSeconds(servers); }};
    byRecord.reset = [&left] { left.empty(QStringLiteral("qbench2")); };
    compareIdleAndLoaded(out, byRecord, runs);
    const QStringList lastLines = harness.window().serverAccess().log().text().split(QStringLiteral("\r\n"));
    out << "copy by record closing lines: " << lastLines.mid(0, 3).join(QStringLiteral(" | ")) << Qt::endl;
    return 0;
}
