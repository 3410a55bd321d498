// 5,000 small statements against the simulated server, once through ExecuteSQL (worker
// thread, waiting loop, log lines, full draining) and once as a plain loop on one raw ODBC
// statement handle, in the same run. Prints both and their ratio.
#include "db/ConnectionString.h"
#include "db/ServerAccess.h"
#include "sim/SimServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>
#include <sql.h>
#include <sqlext.h>

namespace {

constexpr int statementCount = 5000;

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "bench"},
  "rules": [{"prefix": "UPDATE Patients SET Visits", "response": {"rowCount": 1}}]
})json";

class BenchHost : public qormin::db::ServerAccessHost {
public:
    QString address;
    QString serverText(int) const override { return address; }
    QString userText(int) const override { return QStringLiteral("sa"); }
    QString passwordText(int) const override { return QStringLiteral("bench"); }
    void showConnectError(const QString& description) override {
        QTextStream(stderr) << "connect failed: " << description << "\n";
    }
    void setBusyCursor(bool) override {}
};

QString statement(int index) {
    return QStringLiteral("UPDATE Patients SET Visits = Visits + 1 WHERE IDNum = ") + QString::number(index);
}

double throughExecuteSql(const QString& address) {
    BenchHost host;
    host.address = address;
    qormin::db::ServerAccess access(host);
    access.ConnectServer(0);
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < statementCount; ++index) {
        access.ExecuteSQL(0, statement(index));
    }
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

// The baseline: the same statements on one handle, each read to its end, nothing else.
double throughRawHandle(quint16 port) {
    SQLHENV environment = SQL_NULL_HENV;
    SQLHDBC connection = SQL_NULL_HDBC;
    SQLHSTMT handle = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    const QByteArray text =
        QStringLiteral("Driver={FreeTDS};Server=127.0.0.1;Port=%1;UID=sa;PWD=bench;TDS_Version=7.4;"
                       "ClientCharset=UTF-8")
            .arg(port)
            .toUtf8();
    const SQLRETURN rc = SQLDriverConnectA(connection, nullptr,
                                           reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.constData())),
                                           SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    double seconds = -1;
    if (SQL_SUCCEEDED(rc)) {
        SQLAllocHandle(SQL_HANDLE_STMT, connection, &handle);
        QElapsedTimer clock;
        clock.start();
        for (int index = 0; index < statementCount; ++index) {
            const QByteArray sql = statement(index).toUtf8();
            SQLExecDirectA(handle, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.constData())), SQL_NTS);
            while (SQLMoreResults(handle) != SQL_NO_DATA) {
            }
            SQLFreeStmt(handle, SQL_CLOSE);
        }
        seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
        SQLFreeHandle(SQL_HANDLE_STMT, handle);
        SQLDisconnect(connection);
    }
    SQLFreeHandle(SQL_HANDLE_DBC, connection);
    SQLFreeHandle(SQL_HANDLE_ENV, environment);
    return seconds;
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
    // Raw first, then full stack, then raw again: the best raw figure is the baseline.
    const double rawFirst = throughRawHandle(server.port());
    const double full = throughExecuteSql(server.address());
    const double rawSecond = throughRawHandle(server.port());
    const double raw = std::min(rawFirst, rawSecond);
    out << statementCount << " statements, raw ODBC handle: " << raw << " s (" << raw / statementCount * 1e6
        << " us each)\n";
    out << statementCount << " statements, ExecuteSQL: " << full << " s (" << full / statementCount * 1e6
        << " us each)\n";
    out << "ratio ExecuteSQL / raw: " << full / raw << " (target <= 1.3)\n";
    return 0;
}
