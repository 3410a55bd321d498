// The TEST page's 8,000 inserts and 5,000 deletes against the simulated server, once through
// the speed test (its own connection on a worker thread, the waiting loop, Script only's
// check) and once as a plain loop on one raw ODBC statement handle, in the same run. Both
// include their connect. Prints the best of interleaved rounds and their ratio.
#include "db/ServerAccess.h"
#include "sim/SimServer.h"
#include "sqltools/SpeedTest.h"
#include "sqltools/SpeedTestStatements.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>
#include <sql.h>
#include <sqlext.h>

namespace {

namespace Statements = qormin::sqltools::SpeedTestStatements;

const QString database = QStringLiteral("Billing");

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "bench"},
  "rules": [{"prefix": "insert into Billing..SpeedTest", "response": {"rowCount": 1}},
            {"prefix": "delete top (1) from Billing..SpeedTest", "response": {"rowCount": 1}}]
})json";

class BenchHost : public qormin::db::ServerAccessHost {
public:
    QString serverText(int) const override { return {}; }
    QString userText(int) const override { return {}; }
    QString passwordText(int) const override { return {}; }
    void showConnectError(const QString&) override {}
    void setBusyCursor(bool) override {}
};

struct Figures {
    double addSeconds = -1;
    double deleteSeconds = -1;
    double total() const { return addSeconds + deleteSeconds; }
};

Figures throughSpeedTest(const QString& address) {
    BenchHost host;
    qormin::db::ServerAccess access(host);
    qormin::sqltools::SpeedTest test(access);
    const QString connection =
        QStringLiteral("Provider=SQLOLEDB;Server=%1;UID=sa;Database=MASTER;Password=bench").arg(address);
    Figures figures;
    QElapsedTimer clock;
    clock.start();
    auto outcome = test.run(qormin::sqltools::SpeedTest::AddRows, connection, database);
    figures.addSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    if (!outcome.connected || outcome.failed > 0) {
        QTextStream(stderr) << "speed test: " << outcome.connectError << outcome.firstError << "\n";
    }
    clock.restart();
    outcome = test.run(qormin::sqltools::SpeedTest::DeleteRows, connection, database);
    figures.deleteSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    return figures;
}

void runRaw(SQLHSTMT handle, const QString& statement) {
    const QByteArray sql = statement.toUtf8();
    SQLExecDirectA(handle, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.constData())), SQL_NTS);
    while (SQLMoreResults(handle) != SQL_NO_DATA) {
    }
    SQLFreeStmt(handle, SQL_CLOSE);
}

// The baseline: a fresh connection and the same statements on one handle, nothing else.
double rawStep(quint16 port, bool add) {
    SQLHENV environment = SQL_NULL_HENV;
    SQLHDBC connection = SQL_NULL_HDBC;
    SQLHSTMT handle = SQL_NULL_HSTMT;
    QElapsedTimer clock;
    clock.start();
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    const QByteArray text =
        QStringLiteral("Driver={FreeTDS};Server=127.0.0.1;Port=%1;UID=sa;PWD=bench;TDS_Version=7.4;"
                       "Database=MASTER;ClientCharset=UTF-8")
            .arg(port)
            .toUtf8();
    const SQLRETURN rc = SQLDriverConnectA(connection, nullptr,
                                           reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.constData())),
                                           SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    double seconds = -1;
    if (SQL_SUCCEEDED(rc)) {
        SQLAllocHandle(SQL_HANDLE_STMT, connection, &handle);
        if (add) {
            QDate date = Statements::firstDate();
            for (int number = 1; number <= Statements::insertCount; ++number, date = date.addDays(1)) {
                runRaw(handle, Statements::insertRow(database, number, date));
            }
        } else {
            for (int number = 1; number <= Statements::deleteCount; ++number) {
                runRaw(handle, Statements::deleteOneRow(database));
            }
        }
        seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
        SQLFreeHandle(SQL_HANDLE_STMT, handle);
        SQLDisconnect(connection);
    }
    SQLFreeHandle(SQL_HANDLE_DBC, connection);
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
    return seconds;
}

Figures throughRawHandle(quint16 port) {
    return {rawStep(port, true), rawStep(port, false)};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QString error;
    auto parsed = qormin::sim::Scenario::fromJson(scenario, &error);
    if (!parsed) {
        out << "scenario: " << error << "\n";
        return 1;
    }
    qormin::sim::SimServer server(std::move(*parsed));
    if (!server.start(0, &error)) {
        out << "simulator: " << error << "\n";
        return 1;
    }
    // Interleaved rounds on a shared machine: the best figure of each is the one compared.
    constexpr int rounds = 3;
    Figures raw = throughRawHandle(server.port());
    Figures tool = throughSpeedTest(server.address());
    for (int round = 1; round < rounds; ++round) {
        const Figures nextRaw = throughRawHandle(server.port());
        const Figures nextTool = throughSpeedTest(server.address());
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
