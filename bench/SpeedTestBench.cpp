// The TEST page's 8,000 inserts and 5,000 deletes against the simulated server, once through
// the speed test (its own connection on a worker thread, the waiting loop, Script only's
// check) and once as a plain loop on one raw ODBC statement handle, in the same run. Both
// include their connect. Prints the best of interleaved rounds and their ratio.
#include "BenchSupport.h"
#include "db/ServerAccess.h"
#include "sim/SimServer.h"
#include "sqltools/SpeedTest.h"
#include "sqltools/SpeedTestStatements.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>

namespace {

using namespace qormin::bench;

namespace Statements = qormin::sqltools::SpeedTestStatements;

const QString database = QStringLiteral("Billing");

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "bench"},
  "rules": [{"prefix": "insert into Billing..SpeedTest", "response": {"rowCount": 1}},
            {"prefix": "delete top (1) from Billing..SpeedTest", "response": {"rowCount": 1}}]
})json";

struct Figures {
    double addSeconds = -1;
    double deleteSeconds = -1;
    double total() const { return addSeconds + deleteSeconds; }
};

Figures throughSpeedTest(const QString& address) {
    StubHost host;
    qormin::db::ServerAccess access(host);
    qormin::sqltools::SpeedTest test(access);
    const QString connection =
        QStringLiteral("Provider=SQLOLEDB;Server=%1;UID=sa;Database=MASTER;Password=bench").arg(address);
    Figures figures;
    QElapsedTimer clock;
    clock.start();
    auto outcome = test.run(qormin::sqltools::SpeedTest::AddRows, connection, database);
    figures.addSeconds = secondsSince(clock);
    if (!outcome.connected || outcome.failed > 0) {
        QTextStream(stderr) << "speed test: " << outcome.connectError << outcome.firstError << "\n";
    }
    clock.restart();
    outcome = test.run(qormin::sqltools::SpeedTest::DeleteRows, connection, database);
    figures.deleteSeconds = secondsSince(clock);
    return figures;
}

// The baseline: a fresh connection and the same statements on one handle, nothing else.
double rawStep(quint16 port, bool add) {
    QElapsedTimer clock;
    clock.start();
    const RawConnection raw =
        connectStatement(odbcConnectionString(QString::number(port), QStringLiteral("bench")));
    if (!raw.statement)
        return -1;
    if (add) {
        QDate date = Statements::firstDate();
        for (int number = 1; number <= Statements::insertCount; ++number, date = date.addDays(1)) {
            executeDrained(raw.statement.get(), Statements::insertRow(database, number, date));
        }
    } else {
        for (int number = 1; number <= Statements::deleteCount; ++number) {
            executeDrained(raw.statement.get(), Statements::deleteOneRow(database));
        }
    }
    return secondsSince(clock);
}

Figures throughRawHandle(quint16 port) {
    return {rawStep(port, true), rawStep(port, false)};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    const auto server = startSimServer(scenario, out);
    if (!server)
        return 1;
    // Interleaved rounds on a shared machine: the best figure of each is the one compared.
    constexpr int rounds = 3;
    Figures raw = throughRawHandle(server->port());
    Figures tool = throughSpeedTest(server->address());
    for (int round = 1; round < rounds; ++round) {
        const Figures nextRaw = throughRawHandle(server->port());
        const Figures nextTool = throughSpeedTest(server->address());
        raw = nextRaw.total() < raw.total() ? nextRaw : raw;
        tool = nextTool.total() < tool.total() ? nextTool : tool;
    }
    out << "best of " << rounds << " rounds\n";
    out << "8000 inserts: raw ODBC " << raw.addSeconds << " s, speed test " << tool.addSeconds << " s\n";
    out << "5000 deletes: raw ODBC " << raw.deleteSeconds << " s, speed test " << tool.deleteSeconds
        << " s\n";
    out << "ratio speed test / raw: " << tool.total() / raw.total() << " (target <= 1.1)\n";
    return 0;
}
