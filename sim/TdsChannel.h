#pragma once

#include <QByteArray>
#include <atomic>
#include <deque>
#include <optional>

class QTcpSocket;

namespace qormin::sim {

// Packet framing over one blocking socket: assembles client messages from packets split over
// any number of reads, and cuts responses into packets of the negotiated size. Attention
// packets that arrive while a response is written are noticed between writes.
class TdsChannel {
public:
    enum PacketType : quint8 {
        SqlBatch = 1,
        Rpc = 3,
        TabularResult = 4,
        Attention = 6,
        Login7 = 16,
        PreLogin = 18,
    };
    struct Message {
        quint8 type = 0;
        QByteArray payload;
    };

    TdsChannel(QTcpSocket& socket, const std::atomic_bool& stopping);

    // Blocks for the next client message; nullopt once the client left or the server stops.
    std::optional<Message> readMessage();
    void setPacketSize(int size);
    int packetSize() const { return m_packetSize; }
    void setProcessId(quint16 id) { m_processId = id; }

    // Appends tokens to the response being written; whole packets go out as they fill.
    bool send(const QByteArray& tokens);
    // Pushes what is buffered out now (a short packet without end-of-message).
    bool flush();
    // Ends the response: the last packet carries end-of-message; waits until the OS has it all.
    bool finish();
    // True (once) when an attention packet has come in; never blocks.
    bool takeAttention();
    // Waits up to `milliseconds` for an attention; false on timeout, disconnect or stop.
    bool waitForAttention(int milliseconds);
    bool isConnected() const;
    void abort();

private:
    bool readAvailable(int timeoutMilliseconds);
    void extractPackets();
    bool writePacket(const QByteArray& payload, bool last);
    bool waitUntilWritten(qint64 limit);

    QTcpSocket& m_socket;
    const std::atomic_bool& m_stopping;
    QByteArray m_input;
    QByteArray m_assembling;
    std::deque<Message> m_messages;
    QByteArray m_output;
    int m_packetSize = 4096;
    quint8 m_packetNumber = 1;
    quint16 m_processId = 0;
};

} // namespace qormin::sim
