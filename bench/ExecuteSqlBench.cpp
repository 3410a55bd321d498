// 5,000 small statements against the simulated server, once through ExecuteSQL (worker
// thread, waiting loop, log lines, full draining) and once as a plain loop on one raw ODBC
// statement handle, in the same run. Prints both and their ratio.
#include "BenchSupport.h"
#include "db/ServerAccess.h"
#include "sim/SimServer.h"

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

double throughExecuteSql(const QString& address) {
    StubHost host(address, QStringLiteral("bench"));
    qormin::db::ServerAccess access(host);
    access.ConnectServer(0);
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < statementCount; ++index) {
        access.ExecuteSQL(0, statement(index));
    }
    return secondsSince(clock);
}

// The baseline: the same statements on one handle, each read to its end, nothing else.
double throughRawHandle(quint16 port) {
    const RawConnection raw =
        connectStatement(odbcConnectionString(QString::number(port), QStringLiteral("bench")));
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
    const auto server = startSimServer(scenario, out);
    if (!server)
        return 1;
    // Raw first, then full stack, then raw again: the best raw figure is the baseline.
    const double rawFirst = throughRawHandle(server->port());
    const double full = throughExecuteSql(server->address());
    const double rawSecond = throughRawHandle(server->port());
    const double raw = std::min(rawFirst, rawSecond);
    out << statementCount << " statements, raw ODBC handle: " << raw << " s (" << raw / statementCount * 1e6
        << " us each)\n";
    out << statementCount << " statements, ExecuteSQL: " << full << " s (" << full / statementCount * 1e6
        << " us each)\n";
    out << "ratio ExecuteSQL / raw: " << full / raw << " (target <= 1.3)\n";
    return 0;
}
