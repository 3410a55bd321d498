#include "sim/ConnectionHandler.h"

#include "sim/Login7Request.h"
#include "sim/Response.h"
#include "sim/ResponsePlayer.h"
#include "sim/RpcRequest.h"
#include "sim/ScenarioData.h"
#include "sim/StatementResolver.h"
#include "sim/TdsChannel.h"
#include "sim/Transcript.h"
#include "sim/TypedValueReader.h"
#include "sim/ValueText.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <algorithm>
#include <map>

namespace qormin::sim {

namespace {

constexpr quint16 firstProcessId = 51;

ServerMessage loginError(int number, int severity, const QString& text) {
    ServerMessage message;
    message.number = number;
    message.severity = severity;
    message.state = 1;
    message.text = text;
    return message;
}

// "@P1 int,@P2 nvarchar(4000) OUTPUT" -> [("@P1", "int"), ("@P2", "nvarchar(4000)")]
std::vector<std::pair<QString, QString>> parseDeclaredParameters(const QString& declarations) {
    static const QRegularExpression item(QStringLiteral(R"((@[\w#$@]+)\s+([\w]+(?:\s*\([^)]*\))?))"));
    std::vector<std::pair<QString, QString>> result;
    auto it = item.globalMatch(declarations);
    while (it.hasNext()) {
        const auto match = it.next();
        result.emplace_back(match.captured(1), match.captured(2).remove(QLatin1Char(' ')));
    }
    return result;
}

// A prepared statement's declarations arrive again with every execution: parsed once.
const std::vector<std::pair<QString, QString>>& declaredParameters(const QString& declarations) {
    thread_local std::map<QString, std::vector<std::pair<QString, QString>>> parsed;
    auto found = parsed.find(declarations);
    if (found == parsed.end()) {
        found = parsed.emplace(declarations, parseDeclaredParameters(declarations)).first;
    }
    return found->second;
}

// What a call asks for: which text to run, where its values start, and any prepared handle.
struct CallPlan {
    QString text;
    QString declarations;
    size_t firstValue = 0;
    bool executes = true;
    std::optional<qint32> handle;
    bool handleIsOutput = false;
    bool unknownHandle = false;
};

QString parameterText(const RpcCall& call, size_t index) {
    return index < call.parameters.size() ? call.parameters[index].value.toString() : QString();
}

} // namespace

ConnectionHandler::ConnectionHandler(qintptr socketDescriptor, int number, const ScenarioData& scenario,
                                     Transcript& transcript, const std::atomic_bool& stopping)
    : m_socketDescriptor(socketDescriptor), m_scenario(scenario), m_transcript(transcript),
      m_stopping(stopping) {
    m_session.connection = number;
}

ConnectionHandler::~ConnectionHandler() = default;

void ConnectionHandler::run() {
    m_socket = std::make_unique<QTcpSocket>();
    if (!m_socket->setSocketDescriptor(m_socketDescriptor)) {
        return;
    }
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_channel = std::make_unique<TdsChannel>(*m_socket, m_stopping);
    m_channel->setProcessId(static_cast<quint16>(firstProcessId + m_session.connection - 1));
    m_player = std::make_unique<ResponsePlayer>(*m_channel, m_session, m_scenario);
    m_resolver = std::make_unique<StatementResolver>(m_scenario, m_session);
    m_player->setCancelObserver([this] {
        QJsonObject json = entry(QStringLiteral("attention"), QString());
        json.insert(QStringLiteral("duringResponse"), true);
        record(json);
    });
    bool serving = true;
    while (serving) {
        const auto message = m_channel->readMessage();
        if (!message) {
            break;
        }
        switch (message->type) {
        case TdsChannel::PreLogin:
            serving = handlePreLogin();
            break;
        case TdsChannel::Login7:
            serving = handleLogin(message->payload);
            break;
        case TdsChannel::SqlBatch:
            serving = m_loggedIn && handleBatch(message->payload);
            break;
        case TdsChannel::Rpc:
            serving = m_loggedIn && handleRpc(message->payload);
            break;
        case TdsChannel::Attention:
            serving = handleAttention();
            break;
        default:
            serving = false;
            break;
        }
    }
    if (m_loggedIn) {
        record(entry(QStringLiteral("disconnect"), QString()));
    }
    m_socket->abort();
}

bool ConnectionHandler::handlePreLogin() {
    // Options: VERSION, ENCRYPTION (not supported, so the client stays unencrypted), INSTOPT,
    // THREADID, MARS; each is token, offset and length (big-endian), then 0xFF.
    const QByteArray data = QByteArray::fromHex("10000FA00000"
                                                "02"
                                                "00"
                                                "00");
    const struct {
        quint8 token;
        quint16 offset;
        quint16 length;
    } options[] = {{0, 0, 6}, {1, 6, 1}, {2, 7, 1}, {3, 8, 0}, {4, 8, 1}};
    const quint16 headerSize = sizeof options / sizeof options[0] * 5 + 1;
    QByteArray reply;
    for (const auto& option : options) {
        const quint16 offset = headerSize + option.offset;
        reply.append(static_cast<char>(option.token));
        reply.append(static_cast<char>(offset >> 8)).append(static_cast<char>(offset & 0xFF));
        reply.append(static_cast<char>(option.length >> 8)).append(static_cast<char>(option.length & 0xFF));
    }
    reply.append('\xFF');
    reply.append(data);
    return m_channel->send(reply) && m_channel->finish();
}

bool ConnectionHandler::handleLogin(const QByteArray& payload) {
    const auto request = Login7Request::parse(payload);
    if (!request) {
        return false;
    }
    m_session.user = request->userName;
    const QString requested = request->database.isEmpty() ? QStringLiteral("master") : request->database;
    const QString database = m_scenario.knownDatabase(requested);
    QJsonObject json = entry(QStringLiteral("login"), QString());
    json.insert(QStringLiteral("database"), database.isEmpty() ? requested : database);
    json.insert(QStringLiteral("requestedDatabase"), request->database);
    json.insert(QStringLiteral("user"), request->userName);
    json.insert(QStringLiteral("application"), request->applicationName);
    json.insert(QStringLiteral("host"), request->hostName);
    json.insert(QStringLiteral("packetSize"), request->packetSize);
    const bool credentialsOk =
        !m_scenario.login || (m_scenario.login->user.compare(request->userName, Qt::CaseInsensitive) == 0 &&
                              m_scenario.login->password == request->password);
    json.insert(QStringLiteral("success"), credentialsOk && !database.isEmpty());
    record(json);
    const ServerMessage loginFailed =
        loginError(18456, 14, QStringLiteral("Login failed for user '%1'.").arg(request->userName));
    if (!credentialsOk) {
        return refuseLogin({loginFailed});
    }
    if (database.isEmpty()) {
        return refuseLogin({loginError(4060, 11,
                                       QStringLiteral("Cannot open database \"%1\" requested by the login. "
                                                      "The login failed.")
                                           .arg(requested)),
                            loginFailed});
    }
    TokenWriter writer;
    writer.environmentChange(TokenWriter::DatabaseChange, database, QStringLiteral("master"));
    ServerMessage changed{5701, 2, 0, QStringLiteral("Changed database context to '%1'.").arg(database),
                          {},   1};
    writer.message(TokenWriter::Info, changed, m_scenario.serverName);
    writer.collationChange();
    writer.environmentChange(TokenWriter::LanguageChange, QStringLiteral("us_english"), QString());
    ServerMessage language{5703, 1, 0, QStringLiteral("Changed language setting to us_english."), {}, 1};
    writer.message(TokenWriter::Info, language, m_scenario.serverName);
    writer.loginAck(QStringLiteral("Microsoft SQL Server"));
    const int packetSize = request->packetSize > 0 ? std::clamp(request->packetSize, 512, 32767) : 4096;
    writer.environmentChange(TokenWriter::PacketSizeChange, QString::number(packetSize),
                             QStringLiteral("4096"));
    writer.done(TokenWriter::Done, TokenWriter::DoneFinal, 0, 0);
    if (m_scenario.loginStallAfterTokens) {
        return stallLogin(writer, *m_scenario.loginStallAfterTokens);
    }
    if (!m_channel->send(writer.take()) || !m_channel->finish()) {
        return false;
    }
    m_channel->setPacketSize(packetSize);
    m_session.database = database;
    m_loggedIn = true;
    return true;
}

// Half a login answer, then silence until the client gives up (or the hang limit runs out).
bool ConnectionHandler::stallLogin(TokenWriter& writer, int tokens) {
    const auto& ends = writer.tokenEnds();
    const qsizetype end =
        tokens <= 0 ? 0 : ends[static_cast<size_t>(std::min<qsizetype>(tokens, ssize(ends)) - 1)];
    if (m_channel->send(writer.take().left(end)) && m_channel->flush()) {
        m_channel->waitForAttention(m_scenario.hangLimitMilliseconds);
    }
    return false;
}

bool ConnectionHandler::refuseLogin(const QList<ServerMessage>& errors) {
    TokenWriter writer;
    for (const auto& error : errors) {
        writer.message(TokenWriter::Error, error, m_scenario.serverName);
    }
    writer.done(TokenWriter::Done, TokenWriter::DoneError, 0, 0);
    m_channel->send(writer.take());
    m_channel->finish();
    return false;
}

bool ConnectionHandler::handleBatch(const QByteArray& payload) {
    ++m_requests;
    TypedValueReader reader(payload);
    const quint32 headers = reader.uint32();
    const qsizetype start = (headers >= 4 && headers <= static_cast<quint32>(payload.size())) ? headers : 0;
    TypedValueReader textReader(payload, start);
    const QString text = textReader.ucs2((payload.size() - start) / 2);
    QJsonObject json = entry(QStringLiteral("batch"), text);
    const Response response = m_resolver->resolve(text);
    record(json, &response);
    return afterPlay(static_cast<int>(m_player->play(response, ResponsePlayer::Mode::Batch)));
}

bool ConnectionHandler::handleRpc(const QByteArray& payload) {
    ++m_requests;
    QString error;
    const auto request = RpcRequest::parse(payload, &error);
    if (!request || request->calls.empty()) {
        QJsonObject json = entry(QStringLiteral("rpc"), QString());
        json.insert(QStringLiteral("error"), error);
        record(json);
        Response response;
        ResponseStep step;
        step.kind = ResponseStep::Kind::Error;
        step.message = ServerMessage{
            8009, 1, 16, QStringLiteral("The simulator could not decode the RPC: %1").arg(error), {}, 1};
        response.steps.push_back(step);
        return afterPlay(static_cast<int>(m_player->play(response, ResponsePlayer::Mode::Procedure)));
    }
    m_batchAborted = false;
    for (size_t i = 0; i < request->calls.size() && !m_batchAborted; ++i) {
        if (!runCall(request->calls[i], i + 1 == request->calls.size())) {
            return false;
        }
    }
    return true;
}

bool ConnectionHandler::runCall(const RpcCall& call, bool last) {
    const QString procedure = call.procedure.toLower();
    CallPlan plan;
    if (procedure == QLatin1String("sp_executesql")) {
        plan.text = parameterText(call, 0);
        plan.declarations = parameterText(call, 1);
        plan.firstValue = 2;
    } else if (procedure == QLatin1String("sp_prepare") || procedure == QLatin1String("sp_prepexec")) {
        plan.declarations = parameterText(call, 1);
        plan.text = parameterText(call, 2);
        plan.firstValue = 3;
        plan.executes = procedure == QLatin1String("sp_prepexec");
        plan.handle = m_session.nextHandle++;
        plan.handleIsOutput = true;
        m_session.prepared[*plan.handle] = PreparedStatement{plan.text, plan.declarations};
    } else if (procedure == QLatin1String("sp_execute") || procedure == QLatin1String("sp_unprepare")) {
        plan.handle =
            static_cast<qint32>(call.parameters.empty() ? 0 : call.parameters[0].value.toLongLong());
        const auto found = m_session.prepared.find(*plan.handle);
        plan.unknownHandle = found == m_session.prepared.end();
        if (!plan.unknownHandle) {
            plan.text = found->second.text;
            plan.declarations = found->second.parameterDeclarations;
        }
        plan.firstValue = 1;
        plan.executes = procedure == QLatin1String("sp_execute");
        if (!plan.executes) {
            m_session.prepared.erase(*plan.handle);
        }
    } else {
        plan.text = call.procedure;
    }

    const auto& declared = declaredParameters(plan.declarations);
    const bool recording = m_transcript.isRecording();
    QJsonArray parameters;
    StatementResolver::Parameters values;
    std::vector<ResponsePlayer::OutputValue> outputs;
    for (size_t i = plan.firstValue; i < call.parameters.size(); ++i) {
        const RpcParameter& parameter = call.parameters[i];
        const size_t position = i - plan.firstValue;
        QString name = parameter.name;
        if (name.isEmpty() && position < declared.size()) {
            name = declared[position].first;
        }
        if (recording) {
            QString declaredType = parameter.type.name();
            for (const auto& [declaredName, type] : declared) {
                if (declaredName.compare(name, Qt::CaseInsensitive) == 0) {
                    declaredType = type;
                }
            }
            parameters.append(QJsonObject{{QStringLiteral("name"), name},
                                          {QStringLiteral("type"), declaredType},
                                          {QStringLiteral("wireType"), parameter.type.name()},
                                          {QStringLiteral("value"), ValueText::toJson(parameter.value)}});
        }
        values[name.toLower()] = parameter.value;
        if (parameter.output) {
            outputs.push_back({static_cast<quint16>(i), parameter.name, parameter.type, parameter.value});
        }
    }
    if (plan.handleIsOutput) {
        SqlType handleType;
        outputs.insert(outputs.begin(), {0, call.parameters.empty() ? QString() : call.parameters[0].name,
                                         handleType, QVariant(static_cast<qint64>(*plan.handle))});
    }

    QJsonObject json = entry(QStringLiteral("rpc"), plan.text);
    json.insert(QStringLiteral("procedure"), call.procedure);
    json.insert(QStringLiteral("parameters"), parameters);
    if (plan.handle) {
        json.insert(QStringLiteral("handle"), *plan.handle);
    }
    Response response;
    if (plan.unknownHandle && plan.executes) {
        ResponseStep step;
        step.kind = ResponseStep::Kind::Error;
        step.message = ServerMessage{
            8179, 4,
            16,   QStringLiteral("Could not find prepared statement with handle %1.").arg(*plan.handle),
            {},   1};
        response.steps.push_back(step);
    } else if (plan.executes) {
        response = m_resolver->resolve(plan.text, values);
    }
    record(json, &response);
    // A batch-aborting error ends the request there: its DONEPROC is the last token and the
    // calls after it are neither run nor recorded, as SQL Server skips them.
    m_batchAborted = std::any_of(response.steps.begin(), response.steps.end(), [](const ResponseStep& step) {
        return step.kind == ResponseStep::Kind::Error && step.message.abortsBatch;
    });
    const auto outcome =
        m_player->play(response, ResponsePlayer::Mode::Procedure, outputs, last || m_batchAborted);
    // The attention's acknowledgement is the request's last token: the calls after it are not run.
    m_batchAborted = m_batchAborted || outcome == ResponsePlayer::Outcome::Cancelled;
    return afterPlay(static_cast<int>(outcome));
}

bool ConnectionHandler::handleAttention() {
    QJsonObject json = entry(QStringLiteral("attention"), QString());
    json.insert(QStringLiteral("duringResponse"), false);
    record(json);
    m_previousResponseComplete = true;
    return m_player->acknowledgeAttention();
}

bool ConnectionHandler::afterPlay(int outcome) {
    switch (static_cast<ResponsePlayer::Outcome>(outcome)) {
    case ResponsePlayer::Outcome::Completed:
        m_previousResponseComplete = true;
        return true;
    case ResponsePlayer::Outcome::Cancelled:
        m_previousResponseComplete = false;
        return true;
    case ResponsePlayer::Outcome::Dropped:
        break;
    }
    return false;
}

QJsonObject ConnectionHandler::entry(const QString& kind, const QString& text) const {
    QJsonObject json{{QStringLiteral("connection"), m_session.connection},
                     {QStringLiteral("kind"), kind},
                     {QStringLiteral("database"), m_session.database}};
    if (kind == QLatin1String("batch") || kind == QLatin1String("rpc")) {
        json.insert(QStringLiteral("text"), text);
        json.insert(QStringLiteral("previousResponseComplete"), m_previousResponseComplete);
        json.insert(QStringLiteral("request"), m_requests);
    }
    return json;
}

void ConnectionHandler::record(QJsonObject json, const Response* response) {
    if (response != nullptr && !response->note.isEmpty()) {
        json.insert(QStringLiteral("effect"), response->note);
    }
    m_transcript.append(std::move(json));
}

} // namespace qormin::sim
