#pragma once

#include "sim/ServerMessage.h"
#include "sim/Session.h"

#include <QJsonObject>
#include <atomic>
#include <memory>

class QTcpSocket;

namespace qormin::sim {

class ResponsePlayer;
class StatementResolver;
class TdsChannel;
class Transcript;
class TokenWriter;
struct Response;
struct RpcCall;
struct ScenarioData;

// Serves one client connection on its own thread, with blocking socket calls, until the client
// leaves, a response drops the connection, or the server stops.
class ConnectionHandler {
public:
    ConnectionHandler(qintptr socketDescriptor, int number, const ScenarioData& scenario,
                      Transcript& transcript, const std::atomic_bool& stopping);
    ~ConnectionHandler();
    ConnectionHandler(const ConnectionHandler&) = delete;
    ConnectionHandler& operator=(const ConnectionHandler&) = delete;

    void run();

private:
    bool handlePreLogin();
    bool handleLogin(const QByteArray& payload);
    bool refuseLogin(const QList<ServerMessage>& errors);
    bool stallLogin(TokenWriter& writer, int tokens);
    bool handleBatch(const QByteArray& payload);
    bool handleRpc(const QByteArray& payload);
    bool runCall(const RpcCall& call, bool last);
    bool handleAttention();
    bool afterPlay(int outcome);
    QJsonObject entry(const QString& kind, const QString& text) const;
    void record(QJsonObject json, const Response* response = nullptr);

    qintptr m_socketDescriptor;
    const ScenarioData& m_scenario;
    Transcript& m_transcript;
    const std::atomic_bool& m_stopping;
    Session m_session;
    std::unique_ptr<QTcpSocket> m_socket;
    std::unique_ptr<TdsChannel> m_channel;
    std::unique_ptr<ResponsePlayer> m_player;
    std::unique_ptr<StatementResolver> m_resolver;
    bool m_loggedIn = false;
    bool m_previousResponseComplete = true;
    bool m_batchAborted = false; // the request met an error that ends it
    int m_requests = 0;          // requests (batches, RPC messages) received on the connection
};

} // namespace qormin::sim
