#include "sqltools/SpeedTest.h"

#include "db/ConnectionString.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "sqltools/SpeedTestStatements.h"

#include <QStringList>

namespace qormin::sqltools {

namespace {

constexpr int loginTimeoutSeconds = 15;
constexpr int commandTimeoutSeconds = 30; // the provider's default for a new connection

class StepRunner {
public:
    StepRunner(db::SideConnection& connection, SpeedTestOutcome& outcome)
        : m_connection(connection), m_outcome(outcome) {}

    db::StatementOutcome execute(const QString& sql, db::ResultRetention retention) {
        ++m_outcome.statements;
        if (m_connection.withholds(sql)) {
            return {};
        }
        db::StatementOutcome result = m_connection.execute(sql, retention);
        if (!result.succeeded) {
            ++m_outcome.failed;
            if (m_outcome.firstError.isEmpty()) {
                m_outcome.firstError = result.errorDescription;
            }
        }
        return result;
    }

    // The statements Script only does not withhold go to the server in one run.
    void executeAll(const QStringList& statements) {
        QStringList toSend;
        for (const QString& sql : statements) {
            ++m_outcome.statements;
            if (!m_connection.withholds(sql)) {
                toSend.append(sql);
            }
        }
        const db::SeriesOutcome series = m_connection.executeSeries(toSend);
        m_outcome.failed += series.failed;
        if (m_outcome.firstError.isEmpty()) {
            m_outcome.firstError = series.firstError;
        }
    }

private:
    db::SideConnection& m_connection;
    SpeedTestOutcome& m_outcome;
};

// A cursor over the read, one row fetched at a time and its first field read as text: the
// step times the server's row-by-row delivery, not one bulk transfer.
void walkReadCursor(const QString& database, StepRunner& runner, SpeedTestOutcome& outcome) {
    namespace S = SpeedTestStatements;
    if (!runner.execute(S::openReadCursor(database), db::ResultRetention::Nothing).succeeded) {
        return;
    }
    for (;;) {
        const db::StatementOutcome fetched =
            runner.execute(S::fetchReadCursor(), db::ResultRetention::FirstResultSet);
        if (!fetched.succeeded || fetched.resultSets.empty() || fetched.resultSets.front().rows.empty()) {
            break;
        }
        const std::vector<QVariant>& row = fetched.resultSets.front().rows.front();
        outcome.lastValue = row.empty() ? QString() : row.front().toString();
        ++outcome.rowsRead;
    }
    runner.execute(S::closeReadCursor(), db::ResultRetention::Nothing);
}

void runStep(int step, const QString& database, StepRunner& runner, SpeedTestOutcome& outcome) {
    namespace S = SpeedTestStatements;
    switch (step) {
    case SpeedTest::CreateTable:
        runner.execute(S::createTable(database), db::ResultRetention::Nothing);
        return;
    case SpeedTest::AddRows: {
        QStringList inserts;
        QDate date = S::firstDate();
        for (int number = 1; number <= S::insertCount; ++number, date = date.addDays(1)) {
            inserts.append(S::insertRow(database, number, date));
        }
        runner.executeAll(inserts);
        return;
    }
    case SpeedTest::DeleteRows:
        runner.executeAll(QStringList(S::deleteCount, S::deleteOneRow(database)));
        return;
    case SpeedTest::ReadRows:
        walkReadCursor(database, runner, outcome);
        return;
    default:
        return;
    }
}

} // namespace

SpeedTest::SpeedTest(db::ServerAccess& access) : m_access(access) {}

SpeedTest::~SpeedTest() = default;

SpeedTestOutcome SpeedTest::run(int step, const QString& connectionText, const QString& database) {
    SpeedTestOutcome outcome;
    m_connection = std::make_unique<db::SideConnection>(0);
    db::SideConnection& connection = *m_connection;
    connection.setWithholdCheck([this](const QString& sql) { return m_access.side(0).withholds(sql); });
    m_access.tallyStatementsOf(connection);
    const db::OdbcConnectionText odbc = db::translateConnectionString(connectionText, m_access.driverInUse());
    if (!odbc.error.isEmpty()) {
        outcome.connectError = odbc.error;
        m_access.countUnsent();
        return outcome;
    }
    const db::ConnectOutcome opened = connection.open(odbc.text, loginTimeoutSeconds);
    if (!opened.connected) {
        outcome.connectError = opened.errorDescription;
        m_access.countUnsent();
        return outcome;
    }
    outcome.connected = true;
    connection.setCommandTimeout(commandTimeoutSeconds);
    StepRunner runner(connection, outcome);
    runStep(step, database, runner, outcome);
    return outcome;
}

} // namespace qormin::sqltools
