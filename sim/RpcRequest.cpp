#include "sim/RpcRequest.h"

#include "sim/TypedValueReader.h"

#include <array>

namespace qormin::sim {

namespace {

constexpr quint16 procedureIdFollows = 0xFFFF;
constexpr quint8 outputParameter = 0x01;

bool isCallSeparator(quint8 value) {
    return value == 0x80 || value == 0xFE || value == 0xFF;
}

// TDS 7.2+ requests start with ALL_HEADERS; its first field is its own total length.
qsizetype skipHeaders(const QByteArray& payload) {
    TypedValueReader reader(payload);
    const quint32 total = reader.uint32();
    return (reader.failed() || total < 4 || total > static_cast<quint32>(payload.size())) ? 0 : total;
}

} // namespace

QString RpcRequest::procedureName(int procedureId) {
    static const std::array<const char*, 16> names{"",
                                                   "sp_cursor",
                                                   "sp_cursoropen",
                                                   "sp_cursorprepare",
                                                   "sp_cursorexecute",
                                                   "sp_cursorprepexec",
                                                   "sp_cursorunprepare",
                                                   "sp_cursorfetch",
                                                   "sp_cursoroption",
                                                   "sp_cursorclose",
                                                   "sp_executesql",
                                                   "sp_prepare",
                                                   "sp_execute",
                                                   "sp_prepexec",
                                                   "sp_prepexecrpc",
                                                   "sp_unprepare"};
    if (procedureId <= 0 || procedureId >= static_cast<int>(names.size())) {
        return QStringLiteral("procedure id %1").arg(procedureId);
    }
    return QLatin1String(names[static_cast<size_t>(procedureId)]);
}

std::optional<RpcRequest> RpcRequest::parse(const QByteArray& payload, QString* error) {
    TypedValueReader reader(payload, skipHeaders(payload));
    RpcRequest request;
    while (!reader.atEnd()) {
        RpcCall call;
        const quint16 nameLength = reader.uint16();
        if (nameLength == procedureIdFollows) {
            call.procedureId = reader.uint16();
            call.procedure = procedureName(call.procedureId);
        } else {
            call.procedure = reader.ucs2(nameLength);
        }
        reader.uint16(); // option flags
        while (!reader.atEnd() && !isCallSeparator(*reader.peek())) {
            RpcParameter parameter;
            parameter.name = reader.byteText();
            parameter.output = (reader.byte() & outputParameter) != 0;
            const auto typed = reader.typedValue();
            if (!typed) {
                if (error != nullptr) {
                    *error = QStringLiteral("cannot decode parameter %1 of %2 at offset %3")
                                 .arg(call.parameters.size() + 1)
                                 .arg(call.procedure)
                                 .arg(reader.offset());
                }
                return std::nullopt;
            }
            parameter.type = typed->type;
            parameter.value = typed->value;
            call.parameters.push_back(std::move(parameter));
        }
        if (reader.failed()) {
            if (error != nullptr) {
                *error = QStringLiteral("truncated RPC request");
            }
            return std::nullopt;
        }
        request.calls.push_back(std::move(call));
        if (!reader.atEnd()) {
            reader.byte(); // separator before the next call
        }
    }
    return request;
}

} // namespace qormin::sim
