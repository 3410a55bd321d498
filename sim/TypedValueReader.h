#pragma once

#include "sim/SqlType.h"

#include <QByteArray>
#include <QStringDecoder>
#include <QVariant>
#include <optional>

namespace qormin::sim {

// Reads little-endian fields and TDS typed values (TYPE_INFO + data, as RPC parameters carry
// them) from a message payload. Every read fails softly at the end of the data.
class TypedValueReader {
public:
    struct TypedValue {
        SqlType type;
        QVariant value;
    };

    explicit TypedValueReader(const QByteArray& data, qsizetype offset = 0);

    qsizetype offset() const { return m_offset; }
    bool atEnd() const { return m_offset >= m_data.size(); }
    bool failed() const { return m_failed; }
    std::optional<quint8> peek() const;

    quint8 byte();
    quint16 uint16();
    quint32 uint32();
    quint64 uint64();
    QByteArray bytes(qsizetype count);
    QString ucs2(qsizetype characters);
    QString byteText(); // B_VARCHAR

    std::optional<TypedValue> typedValue();

private:
    std::optional<TypedValue> fixedValue(quint8 code);
    std::optional<TypedValue> nullableNumber(quint8 code);
    std::optional<TypedValue> decimalValue();
    std::optional<TypedValue> scaledTimeValue(quint8 code);
    std::optional<TypedValue> variableValue(quint8 code);
    std::optional<TypedValue> longValue(quint8 code);
    std::optional<TypedValue> legacyValue(quint8 code);
    QVariant decodeNumber(const SqlType& type, const QByteArray& data);
    QVariant decodeBytes(const SqlType& type, const QByteArray& data);
    std::optional<QByteArray> partiallyLengthPrefixed();

    const QByteArray& m_data;
    qsizetype m_offset = 0;
    bool m_failed = false;
    QStringDecoder m_singleByte;
};

} // namespace qormin::sim
