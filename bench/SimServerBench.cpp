// Prints how fast the simulated server answers through unixODBC + FreeTDS: many small batches
// on one connection, a 100,000-row result, and the same rows walked through a T-SQL cursor.
#include "sim/SimServer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <sql.h>
#include <sqlext.h>
#include <string>

namespace {

const QByteArray scenario = R"json({
  "rules": [
    {"exact": "select 1", "response": {"result": {"columns": ["one:int"], "rows": [[1]]}}},
    {"prefix": "update ", "response": {"rowCount": 1}},
    {"exact": "select big", "response": {"result": {"generate": 100000, "columns": [
        {"name": "id", "type": "int"},
        {"name": "name", "type": "nvarchar(60)", "generate": {"template": "Patient number {n}"}},
        {"name": "amount", "type": "decimal(12,2)", "generate": {"template": "{n}.25"}},
        {"name": "admitted", "type": "datetime", "generate": {"start": "2020-01-01", "step": 1}}]}}}
  ]
})json";

class Connection {
public:
    explicit Connection(const QString& connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_environment);
        SQLSetEnvAttr(m_environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, m_environment, &m_connection);
        std::string text = connectionString.toStdString();
        m_connected =
            SQL_SUCCEEDED(SQLDriverConnectA(m_connection, nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                                            SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
        SQLAllocHandle(SQL_HANDLE_STMT, m_connection, &m_statement);
    }
    ~Connection() {
        SQLFreeHandle(SQL_HANDLE_STMT, m_statement);
        SQLDisconnect(m_connection);
        SQLFreeHandle(SQL_HANDLE_DBC, m_connection);
        SQLFreeHandle(SQL_HANDLE_ENV, m_environment);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool connected() const { return m_connected; }

    // Runs `sql` and reads every row of every result; returns the number of rows read.
    long long run(const std::string& sql) {
        std::string text = sql;
        SQLRETURN result = SQLExecDirectA(m_statement, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS);
        long long rows = 0;
        while (SQL_SUCCEEDED(result)) {
            SQLSMALLINT columns = 0;
            SQLNumResultCols(m_statement, &columns);
            char buffer[256];
            SQLLEN indicator = 0;
            while (columns > 0 && SQL_SUCCEEDED(SQLFetch(m_statement))) {
                for (SQLUSMALLINT column = 1; column <= columns; ++column) {
                    SQLGetData(m_statement, column, SQL_C_CHAR, buffer, sizeof buffer, &indicator);
                }
                ++rows;
            }
            result = SQLMoreResults(m_statement);
        }
        SQLFreeStmt(m_statement, SQL_CLOSE);
        return rows;
    }

private:
    SQLHENV m_environment = SQL_NULL_HENV;
    SQLHDBC m_connection = SQL_NULL_HDBC;
    SQLHSTMT m_statement = SQL_NULL_HSTMT;
    bool m_connected = false;
};

// Wall time depends on what else the machine runs; CPU time (server and client threads together,
// both in this process) is the steadier figure.
void report(const char* what, long long count, const char* unit, qint64 milliseconds, std::clock_t cpuStart) {
    const double seconds = static_cast<double>(std::max<qint64>(milliseconds, 1)) / 1000.0;
    const double cpu = static_cast<double>(std::clock() - cpuStart) / CLOCKS_PER_SEC;
    std::printf("%-44s %8lld %-8s wall %7.3f s  cpu %7.3f s  %10.0f %s per cpu second\n", what, count, unit,
                seconds, cpu, static_cast<double>(count) / std::max(cpu, 0.001), unit);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QString error;
    auto parsed = qormin::sim::Scenario::fromJson(scenario, &error);
    qormin::sim::SimServer server(std::move(*parsed));
    if (!server.start(0, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    Connection connection(
        QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=%1;TDS_Version=7.4;UID=sa;PWD=;"
                       "Database=master;ClientCharset=UTF-8")
            .arg(server.port()));
    if (!connection.connected()) {
        std::fprintf(stderr, "cannot connect to the simulated server\n");
        return 1;
    }
    QElapsedTimer timer;
    constexpr int batches = 5000;
    std::clock_t cpu = std::clock();
    timer.start();
    for (int i = 0; i < batches; ++i) {
        connection.run(i % 2 == 0 ? "select 1" : "update t set a = 1");
    }
    report("small batches, one connection", batches, "batches", timer.elapsed(), cpu);

    cpu = std::clock();
    timer.restart();
    const long long rows = connection.run("select big");
    report("100,000-row result (4 columns)", rows, "rows", timer.elapsed(), cpu);

    cpu = std::clock();
    timer.restart();
    connection.run("DECLARE qormin_cursor_1 CURSOR GLOBAL FORWARD_ONLY STATIC READ_ONLY FOR select big\r\n"
                   "OPEN qormin_cursor_1");
    std::string chunk;
    for (int i = 0; i < 1000; ++i) {
        chunk += i == 0 ? "" : "\r\n";
        chunk += "FETCH NEXT FROM qormin_cursor_1";
    }
    long long cursorRows = 0;
    for (long long read = 1; read > 0; cursorRows += read) {
        read = connection.run(chunk);
    }
    connection.run("CLOSE qormin_cursor_1\r\nDEALLOCATE qormin_cursor_1");
    report("same rows through a cursor, 1,000 per chunk", cursorRows, "rows", timer.elapsed(), cpu);
    std::printf("transcript entries: %zu\n", server.transcript().size());
    return 0;
}
