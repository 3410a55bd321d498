#include "sim/TdsChannel.h"

#include <QDeadlineTimer>
#include <QTcpSocket>
#include <algorithm>

namespace qormin::sim {

namespace {

constexpr int headerSize = 8;
constexpr quint8 endOfMessage = 0x01;
constexpr quint8 ignoreMessage = 0x02;
constexpr int pollSliceMilliseconds = 50;
constexpr qint64 writeHighWater = 1 << 20;
constexpr qint64 writeLowWater = 256 << 10;

} // namespace

TdsChannel::TdsChannel(QTcpSocket& socket, const std::atomic_bool& stopping)
    : m_socket(socket), m_stopping(stopping) {}

bool TdsChannel::isConnected() const {
    return m_socket.state() == QAbstractSocket::ConnectedState;
}

void TdsChannel::abort() {
    m_socket.abort();
}

void TdsChannel::setPacketSize(int size) {
    m_packetSize = std::clamp(size, 512, 32767);
}

bool TdsChannel::readAvailable(int timeoutMilliseconds) {
    if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(timeoutMilliseconds)) {
        return false;
    }
    m_input.append(m_socket.readAll());
    extractPackets();
    return true;
}

void TdsChannel::extractPackets() {
    while (m_input.size() >= headerSize) {
        const auto* header = reinterpret_cast<const unsigned char*>(m_input.constData());
        const int length = (header[2] << 8) | header[3];
        if (length < headerSize) {
            m_input.clear();
            m_socket.abort();
            return;
        }
        if (m_input.size() < length) {
            return;
        }
        const quint8 type = header[0];
        const quint8 status = header[1];
        m_assembling.append(m_input.constData() + headerSize, length - headerSize);
        m_input.remove(0, length);
        if ((status & endOfMessage) == 0) {
            continue;
        }
        if ((status & ignoreMessage) == 0) {
            m_messages.push_back(Message{type, m_assembling});
        }
        m_assembling.clear();
    }
}

std::optional<TdsChannel::Message> TdsChannel::readMessage() {
    while (m_messages.empty()) {
        if (m_stopping.load()) {
            return std::nullopt;
        }
        if (!readAvailable(pollSliceMilliseconds) && !isConnected()) {
            return std::nullopt;
        }
    }
    Message message = std::move(m_messages.front());
    m_messages.pop_front();
    return message;
}

bool TdsChannel::takeAttention() {
    if (m_socket.bytesAvailable() > 0 || m_socket.waitForReadyRead(0)) {
        m_input.append(m_socket.readAll());
        extractPackets();
    }
    const auto found = std::find_if(m_messages.begin(), m_messages.end(),
                                    [](const Message& message) { return message.type == Attention; });
    if (found == m_messages.end()) {
        return false;
    }
    m_messages.erase(found);
    return true;
}

bool TdsChannel::waitForAttention(int milliseconds) {
    QDeadlineTimer deadline(milliseconds);
    while (!m_stopping.load() && isConnected()) {
        if (takeAttention()) {
            return true;
        }
        const auto remaining = deadline.remainingTime();
        if (remaining <= 0) {
            return false;
        }
        m_socket.waitForReadyRead(static_cast<int>(std::min<qint64>(remaining, pollSliceMilliseconds)));
    }
    return false;
}

bool TdsChannel::writePacket(const QByteArray& payload, bool last) {
    const auto length = static_cast<int>(payload.size() + headerSize);
    const char header[headerSize] = {
        static_cast<char>(TabularResult),    static_cast<char>(last ? endOfMessage : 0),
        static_cast<char>(length >> 8),      static_cast<char>(length & 0xFF),
        static_cast<char>(m_processId >> 8), static_cast<char>(m_processId & 0xFF),
        static_cast<char>(m_packetNumber),   0};
    m_packetNumber = last ? 1 : static_cast<quint8>(m_packetNumber + 1);
    if (m_socket.write(header, headerSize) != headerSize || m_socket.write(payload) != payload.size()) {
        return false;
    }
    return m_socket.bytesToWrite() < writeHighWater || waitUntilWritten(writeLowWater);
}

bool TdsChannel::waitUntilWritten(qint64 limit) {
    m_socket.flush();
    while (m_socket.bytesToWrite() > limit) {
        if (m_stopping.load() || !isConnected()) {
            return false;
        }
        m_socket.waitForBytesWritten(pollSliceMilliseconds);
    }
    return isConnected();
}

bool TdsChannel::send(const QByteArray& tokens) {
    m_output.append(tokens);
    const qsizetype payloadSize = m_packetSize - headerSize;
    qsizetype offset = 0;
    // Keep at least one byte back: the final packet must carry the end-of-message flag.
    while (m_output.size() - offset > payloadSize) {
        if (!writePacket(m_output.mid(offset, payloadSize), false)) {
            return false;
        }
        offset += payloadSize;
    }
    m_output.remove(0, offset);
    return true;
}

bool TdsChannel::flush() {
    if (!m_output.isEmpty()) {
        if (!writePacket(m_output, false)) {
            return false;
        }
        m_output.clear();
    }
    return waitUntilWritten(0);
}

bool TdsChannel::finish() {
    const QByteArray last = m_output;
    m_output.clear();
    return writePacket(last, true) && waitUntilWritten(0);
}

} // namespace qormin::sim
