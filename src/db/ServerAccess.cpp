#include "db/ServerAccess.h"

#include "db/ConnectionSecurity.h"
#include "db/ConnectionString.h"
#include "db/DriverLocator.h"
#include "db/EventLoopYield.h"
#include "db/FreeTdsConfigFile.h"
#include "db/LogBuffer.h"
#include "db/ReadOnlyStatement.h"
#include "db/Recordset.h"
#include "db/ScriptSplitter.h"
#include "db/SecretMask.h"
#include "db/ServerMessageLog.h"
#include "db/SideConnection.h"

#include <QDateTime>
#include <QFileInfo>

namespace qormin::db {

namespace {

constexpr int connectCommandTimeout = 3600;
constexpr int executeCommandTimeout = 10000;
constexpr int loginTimeoutSeconds = 15;

const QString notRunText = QStringLiteral("Not run (script only)");
const QString refusedText = QStringLiteral("Not run (cancelled)");
// An error line quotes this much of its statement: enough to tell which one it was.
constexpr qsizetype quotedStatementLength = 100;

bool isSide(int side) {
    return side == 0 || side == 1;
}

ConnectOutcome refused(const QString& description) {
    ConnectOutcome outcome;
    outcome.errorDescription = description;
    return outcome;
}

// FreeTDS names the section, not the server, for a verified connection: the section goes to its
// file before each connect that uses it.
OdbcConnectionText withSectionWritten(OdbcConnectionText odbc) {
    if (odbc.error.isEmpty() && !odbc.freeTdsSection.isEmpty() &&
        !FreeTdsConfigFile::put(odbc.freeTdsSection)) {
        odbc.error = QStringLiteral("The FreeTDS configuration file %1 could not be written.")
                         .arg(FreeTdsConfigFile::path());
    }
    return odbc;
}

} // namespace

struct ServerAccess::State {
    explicit State(ServerAccessHost& owner) : host(owner) {}

    ServerAccessHost& host;
    std::array<std::unique_ptr<SideConnection>, 2> sides;
    std::array<bool, 2> isConnected{false, false};
    Recordset recordset;
    LogBuffer* log = nullptr;
    LogBuffer* errors = nullptr;
    ServerMessageLog* serverMessages = nullptr;
    std::array<ConnectionSecurity, 2> security;
    QElapsedTimer timer;
    QString driverOverride;
    QString detectedDriver;
    bool scriptOnly = false;
    bool refusing = false;
    std::vector<WithheldStatement> withheld;
    int loginTimeout = loginTimeoutSeconds;
    StatementTally tally;
    int activeSide = -1;
    int headerRowPasses = 0;
    int quietQueries = 0;
    bool failureShown = false;
    QString lastError;
    AuditSink* audit = nullptr;
    bool auditFailureTold = false;
};

// Names the side of the routine under way for the log lines it writes; routines nest
// (ExecuteScript runs ExecuteSQL), so the outer side comes back afterwards.
class ServerAccess::SideInUse {
public:
    SideInUse(State& state, int side) : m_state(state), m_previous(state.activeSide) {
        state.activeSide = side;
    }
    ~SideInUse() { m_state.activeSide = m_previous; }
    SideInUse(const SideInUse&) = delete;
    SideInUse& operator=(const SideInUse&) = delete;

private:
    State& m_state;
    int m_previous;
};

ServerAccess::ServerAccess(ServerAccessHost& host, QObject* parent)
    : QObject(parent), m_state(std::make_unique<State>(host)) {
    FreeTdsConfigFile::install();
    m_state->log = new LogBuffer(this);
    m_state->errors = new LogBuffer(this);
    m_state->serverMessages = new ServerMessageLog(this);
    m_state->timer.start();
    for (int index = 0; index < 2; ++index) {
        auto connection = std::make_unique<SideConnection>(index);
        connect(connection.get(), &SideConnection::serverMessage, m_state->serverMessages,
                &ServerMessageLog::add);
        connect(connection.get(), &SideConnection::statementStarted, this, &ServerAccess::statementStarted);
        connect(connection.get(), &SideConnection::statementFinished, this, [this](int side, bool succeeded) {
            countFinished(succeeded);
            Q_EMIT statementFinished(side);
        });
        // A dead link is not worth keeping: the next statement on the side connects again.
        connect(connection.get(), &SideConnection::connectionLost, this,
                [this](int side) { m_state->isConnected[static_cast<size_t>(side)] = false; });
        connection->setWithholdCheck([this, index](const QString& sql) { return withhold(sql, true, index); },
                                     [this] { return m_state->scriptOnly; });
        m_state->sides[static_cast<size_t>(index)] = std::move(connection);
    }
}

ServerAccess::~ServerAccess() {
    cancelRunningStatement();
}

bool ServerAccess::withhold(const QString& sql, bool logStatement, int side) {
    if (!m_state->scriptOnly || isReadOnlyStatement(sql)) {
        return false;
    }
    if (logStatement) {
        LogMessage(sql);
    }
    LogMessage(notRunText);
    // Script only files are read by others the next morning: they carry no password.
    m_state->withheld.push_back({side, m_state->host.serverText(side),
                                 m_state->sides[static_cast<size_t>(side)]->currentDatabase(),
                                 maskSecrets(sql)});
    ++m_state->tally.withheld;
    auditUnsent(side, sql, AuditRecord::Outcome::Withheld);
    return true;
}

// A statement that never reached the server: the side's connection never saw it, so it is told
// to the audit here.
void ServerAccess::auditUnsent(int side, const QString& sql, AuditRecord::Outcome outcome) {
    if (m_state->audit == nullptr) {
        return;
    }
    AuditRecord record;
    record.side = side;
    record.database = m_state->sides[static_cast<size_t>(side == 1 ? 1 : 0)]->currentDatabase();
    record.statement = sql;
    record.outcome = outcome;
    record.error = outcome == AuditRecord::Outcome::Cancelled ? refusedText : QString();
    m_state->audit->record(record);
}

void ServerAccess::refuseNewStatements(bool on) {
    m_state->refusing = on;
}

void ServerAccess::refuse(int side, const QString& sql) {
    m_state->lastError = refusedText;
    ++m_state->tally.failed;
    if (!isReadOnlyStatement(sql)) {
        auditUnsent(side, sql, AuditRecord::Outcome::Cancelled);
    }
}

void ServerAccess::countFinished(bool succeeded) {
    // The window's own questions are no statement of the run, like the poller's.
    if (m_state->quietQueries > 0)
        return;
    StatementTally& tally = m_state->tally;
    ++tally.sent;
    if (succeeded)
        return;
    if (m_state->headerRowPasses > 0)
        ++tally.headerRowRefusals;
    else
        ++tally.failed;
}

ConnectOutcome ServerAccess::openSide(int side, const QString& providerString) {
    const QString driver = driverInUse();
    const ConnectionSecurity& security = m_state->security[static_cast<size_t>(side)];
    const QString section = freeTdsSectionName(side);
    OdbcConnectionText odbc =
        withSectionWritten(translateConnectionString(providerString, driver, security, section));
    if (!odbc.error.isEmpty()) {
        return refused(odbc.error);
    }
    SideConnection& connection = *m_state->sides[static_cast<size_t>(side)];
    ConnectOutcome outcome = connection.open(odbc.text, m_state->loginTimeout);
    const QString fallback = DriverLocator::fallbackLibrary();
    if (outcome.connected || !outcome.driverNotLoaded || !m_state->driverOverride.isEmpty() ||
        driver == fallback) {
        return outcome;
    }
    // The registered name did not load (a relative library path in odbcinst.ini, say): try the library
    // itself.
    odbc = withSectionWritten(translateConnectionString(providerString, fallback, security, section));
    ConnectOutcome retry = connection.open(odbc.text, m_state->loginTimeout);
    if (!retry.driverNotLoaded) {
        m_state->detectedDriver = fallback;
        return retry;
    }
    return outcome;
}

void ServerAccess::ConnectServer(int side) {
    if (!isSide(side) || m_state->isConnected[static_cast<size_t>(side)]) {
        return;
    }
    const SideInUse inUse(*m_state, side);
    auto& host = m_state->host;
    const QString providerString =
        buildConnectionString(host.serverText(side), host.userText(side), host.passwordText(side));
    m_state->sides[static_cast<size_t>(side)]->setCommandTimeout(connectCommandTimeout);
    const ConnectionSecurity& security = m_state->security[static_cast<size_t>(side)];
    const bool unreadableCaFile = security.encryption == Encryption::Required && !security.caFile.isEmpty() &&
                                  !QFileInfo(security.caFile).isReadable();
    const ConnectOutcome outcome = unreadableCaFile ? refused(QString()) : openSide(side, providerString);
    if (outcome.connected) {
        LogMessage(QStringLiteral("Connected."));
        m_state->isConnected[static_cast<size_t>(side)] = true;
        reportSuccess();
        return;
    }
    ++m_state->tally.connectFailures;
    const QString refusal = unreadableCaFile
                                ? unreadableCaFileText(side, host.serverText(side), security.caFile)
                                : refusedEncryption(side, providerString, outcome);
    if (refusal.isEmpty()) {
        // With two sides, a box that names neither is a guess: its title names them, txtErrs keeps
        // the line once the box is closed, and a server that did not answer in time also leaves
        // one in txtLog.
        reportFailure(side, outcome.errorDescription, QString(), ErrorLine::ErrorsBoxAndStatusBar);
        if (outcome.errorDescription.contains(QLatin1String("timeout expired"), Qt::CaseInsensitive))
            LogMessage(sideServerName(side) + QStringLiteral(": ") + outcome.errorDescription);
        host.showConnectError(outcome.errorDescription, sideServerName(side));
        return;
    }
    LogMessage(refusal);
    reportLine(refusal, ErrorLine::ErrorsBoxAndStatusBar);
    host.showConnectError(refusal, sideServerName(side));
}

// The line for a connect that failed in its encrypted handshake; empty for any other failure.
QString ServerAccess::refusedEncryption(int side, const QString& providerString,
                                        const ConnectOutcome& outcome) {
    const ConnectionSecurity& security = m_state->security[static_cast<size_t>(side)];
    const QString driver = driverInUse();
    const DriverKind kind = driverKindOf(driver);
    if (security.encryption != Encryption::Required || !isRefusedHandshake(kind, outcome.diagnostics)) {
        return {};
    }
    HandshakeProbes probes;
    if (kind == DriverKind::FreeTds) {
        probes = probeHandshake(side, providerString, driver);
    }
    return refusedEncryptionText(side, m_state->host.serverText(side), security, kind,
                                 outcome.errorDescription, probes);
}

// FreeTDS does not say why a handshake failed: ask again, without credentials, with less checked.
HandshakeProbes ServerAccess::probeHandshake(int side, const QString& providerString, const QString& driver) {
    using Answer = HandshakeProbes::Answer;
    const ConnectionSecurity& security = m_state->security[static_cast<size_t>(side)];
    SideConnection probe(side);
    const auto ask = [&](Probe kind) {
        const OdbcConnectionText odbc = withSectionWritten(probeConnectionString(
            providerString, driver, security, freeTdsSectionName(side) + QStringLiteral("-probe"), kind));
        if (!odbc.error.isEmpty()) {
            return Answer::NotRun;
        }
        const ConnectOutcome outcome = probe.open(odbc.text, m_state->loginTimeout);
        probe.close();
        return outcome.connected || serverAnswered(outcome.diagnostics) ? Answer::ServerAnswered
                                                                        : Answer::Refused;
    };
    HandshakeProbes probes;
    probes.withoutHostCheck = ask(Probe::WithoutHostCheck);
    if (probes.withoutHostCheck != Answer::ServerAnswered) {
        probes.withoutVerification = ask(Probe::WithoutVerification);
    }
    return probes;
}

QString ServerAccess::sideServerName(int side) const {
    const QString server = m_state->host.serverText(side);
    return (side == 0 ? QStringLiteral("Left server ") : QStringLiteral("Right server ")) +
           (server.isEmpty() ? QStringLiteral("(none given)") : server);
}

// One line, time-stamped, naming side and server, with the start of the statement: in txtErrs
// unless the caller reports the failure itself (a query's error goes back to the handler that
// sent it, and several put their own line there), and in the status bar either way.
void ServerAccess::reportFailure(int side, const QString& description, const QString& sql, ErrorLine where) {
    QString line = sideServerName(side) + QStringLiteral(": ") + description.simplified();
    if (!sql.isEmpty()) {
        const QString statement = sql.simplified();
        line += QStringLiteral(" -- ") + (statement.size() > quotedStatementLength
                                              ? statement.left(quotedStatementLength) + QStringLiteral("...")
                                              : statement);
    }
    reportLine(line, where);
}

// For a line that names its side and server itself.
void ServerAccess::reportLine(const QString& named, ErrorLine where) {
    const QString line =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss ")) + named;
    m_state->failureShown = true;
    if (where == ErrorLine::ErrorsBoxAndStatusBar)
        LogError(line);
    Q_EMIT lastErrorChanged(line);
}

void ServerAccess::reportSuccess() {
    if (!m_state->failureShown)
        return;
    m_state->failureShown = false;
    Q_EMIT lastErrorChanged(QString());
}

// A loop's pass over a grid's header row fails by design, a quiet question is reported by its
// caller, and a statement on a side that could not connect follows the connect error's own line:
// none is an error the operator has to read about twice.
bool ServerAccess::failureIsExpected(bool connected) const {
    return m_state->quietQueries > 0 || m_state->headerRowPasses > 0 || !connected;
}

void ServerAccess::EnsureConnected(int side) {
    if (isSide(side) && !m_state->isConnected[static_cast<size_t>(side)]) {
        ConnectServer(side);
    }
}

bool ServerAccess::ExecuteSQL(int side, const QString& sql) {
    if (!isSide(side)) {
        return false;
    }
    const SideInUse inUse(*m_state, side);
    auto& host = m_state->host;
    host.setBusyCursor(true);
    m_state->lastError.clear();
    LogMessage(QStringLiteral("Running SQL.."));
    if (m_state->refusing) {
        LogMessage(sql);
        host.setBusyCursor(false);
        refuse(side, sql);
        LogMessage(refusedText);
        return false;
    }
    EnsureConnected(side);
    const bool connected = IsConnected(side);
    LogMessage(sql);
    if (withhold(sql, false, side)) {
        host.setBusyCursor(false);
        return true;
    }
    SideConnection& connection = *m_state->sides[static_cast<size_t>(side)];
    connection.setCommandTimeout(executeCommandTimeout);
    const StatementOutcome outcome = connection.execute(sql, ResultRetention::Nothing);
    host.setBusyCursor(false);
    if (!outcome.succeeded)
        m_state->lastError = outcome.errorDescription;
    LogMessage(outcome.succeeded ? QStringLiteral("Done") : outcome.errorDescription);
    if (outcome.succeeded)
        reportSuccess();
    else if (!failureIsExpected(connected))
        reportFailure(side, outcome.errorDescription, sql, ErrorLine::StatusBarOnly);
    return outcome.succeeded;
}

bool ServerAccess::OpenRecordset(int side, const QString& sql, const QVariant& /*unused*/, QString& result) {
    m_state->recordset.close();
    if (!isSide(side)) {
        return false;
    }
    const SideInUse inUse(*m_state, side);
    auto& host = m_state->host;
    if (m_state->refusing) {
        refuse(side, sql);
        result = refusedText + QLatin1Char(' ') + sql;
        return false;
    }
    host.setBusyCursor(true);
    EnsureConnected(side);
    const bool connected = IsConnected(side);
    if (withhold(sql, true, side)) {
        host.setBusyCursor(false);
        result.clear();
        return true;
    }
    StatementOutcome outcome =
        m_state->sides[static_cast<size_t>(side)]->execute(sql, ResultRetention::FirstResultSet);
    host.setBusyCursor(false);
    if (!outcome.succeeded) {
        result = outcome.errorDescription + QLatin1Char(' ') + sql;
        if (!failureIsExpected(connected))
            reportFailure(side, outcome.errorDescription, sql, ErrorLine::StatusBarOnly);
        return false;
    }
    if (m_state->quietQueries == 0)
        reportSuccess();
    if (!outcome.resultSets.empty()) {
        m_state->recordset.open(std::move(outcome.resultSets.front()));
    }
    result = QString();
    return true;
}

bool ServerAccess::openQuietly(int side, const QString& sql, QString& error) {
    ++m_state->quietQueries;
    QString result;
    const bool succeeded = OpenRecordset(side, sql, QVariant(), result);
    --m_state->quietQueries;
    const QString statement = QLatin1Char(' ') + sql;
    error = result.endsWith(statement) ? result.chopped(statement.size()) : result;
    return succeeded;
}

void ServerAccess::ExecuteScript(int side, const QString& script) {
    const SideInUse inUse(*m_state, isSide(side) ? side : -1);
    const ScriptSplit split = splitScript(script);
    for (const ScriptStep& step : split.steps) {
        if (step.literalSemicolonRemoved) {
            LogMessage(
                QStringLiteral("Warning: a \";\" inside a string literal was removed from the next batch, "
                               "as every \";\" of a script is"));
        }
        if (step.logged) {
            LogMessage(step.text);
        }
        yieldToEventLoop();
        if (!step.text.isEmpty()) {
            ExecuteSQL(side, step.text);
        }
    }
}

void ServerAccess::LogMessage(const QString& text, bool atEnd) {
    if (atEnd) {
        m_state->log->append(text);
    } else {
        m_state->log->prepend(text);
    }
    yieldToEventLoop();
}

void ServerAccess::LogError(const QString& text) {
    m_state->errors->prepend(text);
    yieldToEventLoop();
}

void ServerAccess::reportLoss(const QString& line, int values) {
    m_state->tally.valuesLost += values;
    LogError(line);
}

void ServerAccess::StartTiming() {
    m_state->timer.restart();
}

float ServerAccess::ElapsedSeconds() const {
    return static_cast<float>(static_cast<double>(m_state->timer.elapsed()) / 1000.0);
}

bool ServerAccess::IsConnected(int side) const {
    return isSide(side) && m_state->isConnected[static_cast<size_t>(side)];
}

void ServerAccess::closeConnection(int side) {
    if (!isSide(side)) {
        return;
    }
    m_state->sides[static_cast<size_t>(side)]->close();
    m_state->isConnected[static_cast<size_t>(side)] = false;
}

Recordset& ServerAccess::sharedRecordset() {
    return m_state->recordset;
}

LogBuffer& ServerAccess::log() {
    return *m_state->log;
}

LogBuffer& ServerAccess::errors() {
    return *m_state->errors;
}

ServerMessageLog& ServerAccess::serverMessages() {
    return *m_state->serverMessages;
}

void ServerAccess::cancelRunningStatement() {
    for (auto& connection : m_state->sides) {
        connection->cancel();
    }
}

bool ServerAccess::isStatementRunning() const {
    return m_state->sides[0]->isRunning() || m_state->sides[1]->isRunning();
}

void ServerAccess::setConnectionSecurity(int side, const ConnectionSecurity& security) {
    if (isSide(side)) {
        m_state->security[static_cast<size_t>(side)] = security;
    }
}

ConnectionSecurity ServerAccess::connectionSecurity(int side) const {
    return isSide(side) ? m_state->security[static_cast<size_t>(side)] : ConnectionSecurity();
}

void ServerAccess::setDriverOverride(const QString& driver) {
    m_state->driverOverride = driver;
}

QString ServerAccess::driverInUse() const {
    if (!m_state->driverOverride.isEmpty()) {
        return m_state->driverOverride;
    }
    if (m_state->detectedDriver.isEmpty()) {
        m_state->detectedDriver = DriverLocator::defaultDriver();
    }
    return m_state->detectedDriver;
}

void ServerAccess::setScriptOnly(bool on) {
    m_state->scriptOnly = on;
}

bool ServerAccess::scriptOnly() const {
    return m_state->scriptOnly;
}

QStringList ServerAccess::withheldStatements() const {
    QStringList texts;
    for (const WithheldStatement& statement : m_state->withheld)
        texts.append(statement.sql);
    return texts;
}

std::vector<WithheldStatement> ServerAccess::withheldWithPlaces() const {
    return m_state->withheld;
}

void ServerAccess::clearWithheldStatements() {
    m_state->withheld.clear();
}

void ServerAccess::setLoginTimeout(int seconds) {
    m_state->loginTimeout = seconds;
}

StatementTally ServerAccess::tally() const {
    return m_state->tally;
}

int ServerAccess::activeSide() const {
    return m_state->activeSide;
}

QString ServerAccess::lastError() const {
    return m_state->lastError;
}

bool ServerAccess::inHeaderRowPass() const {
    return m_state->headerRowPasses > 0;
}

void ServerAccess::enterHeaderRowPass() {
    ++m_state->headerRowPasses;
}

void ServerAccess::leaveHeaderRowPass() {
    --m_state->headerRowPasses;
}

void ServerAccess::tallyStatementsOf(SideConnection& connection) {
    connection.setAuditSink(m_state->audit);
    connect(&connection, &SideConnection::statementFinished, this,
            [this](int, bool succeeded) { countFinished(succeeded); });
}

void ServerAccess::setAuditSink(AuditSink* sink) {
    m_state->audit = sink;
    for (auto& connection : m_state->sides) {
        connection->setAuditSink(sink);
    }
}

void ServerAccess::reportAuditFailure(const QString& problem) {
    ++m_state->tally.auditLinesLost;
    if (m_state->auditFailureTold) {
        return;
    }
    m_state->auditFailureTold = true;
    const QString line = QStringLiteral("The audit trail could not be written (%1); statements go on, "
                                        "their lines are lost until it can")
                             .arg(problem);
    LogMessage(line);
    LogError(line);
}

void ServerAccess::countUnsent() {
    countFinished(false);
}

SideConnection& ServerAccess::side(int side) {
    return *m_state->sides[static_cast<size_t>(side == 1 ? 1 : 0)];
}

} // namespace qormin::db
