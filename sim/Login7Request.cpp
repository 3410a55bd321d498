#include "sim/Login7Request.h"

#include <QtEndian>

namespace qormin::sim {

namespace {

constexpr int fixedPartSize = 94;

QString textAt(const QByteArray& payload, int descriptorOffset, bool password) {
    const auto* data = reinterpret_cast<const uchar*>(payload.constData());
    const int offset = qFromLittleEndian<quint16>(data + descriptorOffset);
    const int characters = qFromLittleEndian<quint16>(data + descriptorOffset + 2);
    if (offset + 2 * characters > payload.size()) {
        return QString();
    }
    QByteArray bytes = payload.mid(offset, 2 * characters);
    if (password) {
        // Undo the client's scrambling: each byte had its nibbles swapped, then was XORed with 0xA5.
        for (char& byte : bytes) {
            const auto value = static_cast<uchar>(static_cast<uchar>(byte) ^ 0xA5);
            byte = static_cast<char>(((value & 0x0F) << 4) | (value >> 4));
        }
    }
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()), characters);
}

} // namespace

std::optional<Login7Request> Login7Request::parse(const QByteArray& payload) {
    if (payload.size() < fixedPartSize) {
        return std::nullopt;
    }
    const auto* data = reinterpret_cast<const uchar*>(payload.constData());
    Login7Request request;
    request.tdsVersion = qFromLittleEndian<quint32>(data + 4);
    request.packetSize = static_cast<int>(qFromLittleEndian<quint32>(data + 8));
    request.hostName = textAt(payload, 36, false);
    request.userName = textAt(payload, 40, false);
    request.password = textAt(payload, 44, true);
    request.applicationName = textAt(payload, 48, false);
    request.serverName = textAt(payload, 52, false);
    request.language = textAt(payload, 64, false);
    request.database = textAt(payload, 68, false);
    return request;
}

} // namespace qormin::sim
