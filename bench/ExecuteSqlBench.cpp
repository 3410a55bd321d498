// 5,000 small statements against the simulated server (a program of its own, so its work does
// not count here), through ExecuteSQL (worker thread, waiting loop, log lines, full draining)
// and as the fastest plain loop for the same work: one raw ODBC statement handle, the same wide
// API, each statement read to its end. The two alternate, run by run, and the best of each
// counts. Usage: qormin-bench-execute-sql [runs, default 5]
#include "BenchSupport.h"
#include "db/ServerAccess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>

namespace {

constexpr int statementCount = 5000;

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "bench"},
  "rules": [{"prefix": "UPDATE Patients SET Visits", "response": {"rowCount": 1}}]
})json";

using namespace qormin::bench;

QString statement(int index) {
    return QStringLiteral("UPDATE Patients SET Visits = Visits + 1 WHERE IDNum = ") + QString::number(index);
}

double throughExecuteSql(qormin::db::ServerAccess& access) {
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < statementCount; ++index) {
        access.ExecuteSQL(0, statement(index));
    }
    return secondsSince(clock);
}

// The baseline: the same statements on one handle, each read to its end, nothing else.
double throughRawHandle(const QString& port) {
    const RawConnection raw = connectStatement(odbcConnectionString(port, QStringLiteral("bench")));
    if (!raw.statement)
        return -1;
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < statementCount; ++index) {
        executeDrained(raw.statement.get(), statement(index));
    }
    return secondsSince(clock);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    SimProcess simulator(QStringLiteral(QORMIN_SIM_PATH));
    if (!simulator.start(scenario, &out))
        return 1;
    StubHost host(simulator.server(), QStringLiteral("bench"));
    qormin::db::ServerAccess access(host);
    access.ConnectServer(0);
    const int runs = countArgument(argc, argv, 1, 5);
    BestTimes best;
    for (int run = 0; run < runs; ++run) {
        const double raw = throughRawHandle(simulator.port());
        const double full = throughExecuteSql(access);
        out << "run " << run + 1 << ": raw " << raw / statementCount * 1e6 << " us, ExecuteSQL "
            << full / statementCount * 1e6 << " us each, ratio " << full / raw << "\n";
        best.keep(full, raw);
    }
    out << "best of " << runs << ", " << statementCount << " statements, raw ODBC handle: " << best.raw
        << " s (" << best.raw / statementCount * 1e6 << " us each)\n";
    out << statementCount << " statements, ExecuteSQL: " << best.tool << " s ("
        << best.tool / statementCount * 1e6 << " us each)\n";
    out << "ratio ExecuteSQL / raw: " << best.ratio() << " (target <= 1.3)\n";
    return 0;
}
