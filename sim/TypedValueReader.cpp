#include "sim/TypedValueReader.h"

#include "sim/DecimalText.h"
#include "sim/ValueText.h"

#include <QUuid>
#include <algorithm>
#include <cstring>

namespace qormin::sim {

namespace {

using Kind = SqlType::Kind;

constexpr quint16 nullShortLength = 0xFFFF;
constexpr quint32 nullLongLength = 0xFFFFFFFF;
constexpr quint64 plpNull = ~quint64(0);
constexpr int collationSize = 5;

SqlType typeOf(Kind kind, int length = 0, int precision = 0, int scale = 0) {
    SqlType type;
    type.kind = kind;
    type.length = length;
    type.precision = precision;
    type.scale = scale;
    return type;
}

qint64 signedLittleEndian(const QByteArray& data) {
    quint64 value = 0;
    for (qsizetype i = data.size() - 1; i >= 0; --i) {
        value = (value << 8) | static_cast<uchar>(data.at(i));
    }
    const int bits = static_cast<int>(data.size()) * 8;
    if (bits < 64 && (value >> (bits - 1)) != 0) {
        value |= ~quint64(0) << bits;
    }
    return static_cast<qint64>(value);
}

quint64 unsignedLittleEndian(const QByteArray& data) {
    quint64 value = 0;
    for (qsizetype i = data.size() - 1; i >= 0; --i) {
        value = (value << 8) | static_cast<uchar>(data.at(i));
    }
    return value;
}

QString moneyText(qint64 units) {
    const bool negative = units < 0;
    const quint64 magnitude = negative ? 0 - static_cast<quint64>(units) : static_cast<quint64>(units);
    return DecimalText::format(QByteArray::number(magnitude), 4, negative);
}

qint64 powerOfTen(int exponent) {
    qint64 result = 1;
    for (int i = 0; i < exponent; ++i) {
        result *= 10;
    }
    return result;
}

ValueText::DateTimeParts partsFrom(qint64 daysSinceEra, qint64 ticks) {
    ValueText::DateTimeParts parts = ValueText::fromDaysSinceEra(daysSinceEra);
    parts.ticks = ticks;
    return parts;
}

} // namespace

TypedValueReader::TypedValueReader(const QByteArray& data, qsizetype offset)
    : m_data(data), m_offset(offset), m_singleByte("windows-1252") {}

std::optional<quint8> TypedValueReader::peek() const {
    if (atEnd()) {
        return std::nullopt;
    }
    return static_cast<quint8>(m_data.at(m_offset));
}

QByteArray TypedValueReader::bytes(qsizetype count) {
    if (count < 0 || m_offset + count > m_data.size()) {
        m_failed = true;
        m_offset = m_data.size();
        return QByteArray(std::max<qsizetype>(count, 0), '\0');
    }
    QByteArray result = m_data.mid(m_offset, count);
    m_offset += count;
    return result;
}

quint8 TypedValueReader::byte() {
    return static_cast<quint8>(unsignedLittleEndian(bytes(1)));
}

quint16 TypedValueReader::uint16() {
    return static_cast<quint16>(unsignedLittleEndian(bytes(2)));
}

quint32 TypedValueReader::uint32() {
    return static_cast<quint32>(unsignedLittleEndian(bytes(4)));
}

quint64 TypedValueReader::uint64() {
    return unsignedLittleEndian(bytes(8));
}

QString TypedValueReader::ucs2(qsizetype characters) {
    const QByteArray data = bytes(2 * characters);
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(data.constData()), characters);
}

QString TypedValueReader::byteText() {
    return ucs2(byte());
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::typedValue() {
    const quint8 code = byte();
    if (m_failed) {
        return std::nullopt;
    }
    std::optional<TypedValue> result;
    switch (code) {
    case 0x1F: // NULLTYPE
        result = TypedValue{typeOf(Kind::Int), QVariant()};
        break;
    case 0x30:
    case 0x32:
    case 0x34:
    case 0x38:
    case 0x7F:
    case 0x3B:
    case 0x3E:
    case 0x3D:
    case 0x3A:
    case 0x3C:
    case 0x7A:
        result = fixedValue(code);
        break;
    case 0x26:
    case 0x68:
    case 0x6D:
    case 0x6E:
    case 0x6F:
    case 0x24:
        result = nullableNumber(code);
        break;
    case 0x6A:
    case 0x6C:
    case 0x37:
    case 0x3F:
        result = decimalValue();
        break;
    case 0x28:
    case 0x29:
    case 0x2A:
    case 0x2B:
        result = scaledTimeValue(code);
        break;
    case 0xA7:
    case 0xAF:
    case 0xE7:
    case 0xEF:
    case 0xA5:
    case 0xAD:
        result = variableValue(code);
        break;
    case 0x23:
    case 0x63:
    case 0x22:
        result = longValue(code);
        break;
    case 0x27:
    case 0x2F:
    case 0x25:
    case 0x2D:
        result = legacyValue(code);
        break;
    default:
        break;
    }
    if (m_failed) {
        return std::nullopt;
    }
    return result;
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::fixedValue(quint8 code) {
    struct Fixed {
        quint8 code;
        Kind kind;
        int size;
    };
    static constexpr Fixed fixed[] = {
        {0x30, Kind::TinyInt, 1}, {0x32, Kind::Bit, 1},      {0x34, Kind::SmallInt, 2},
        {0x38, Kind::Int, 4},     {0x7F, Kind::BigInt, 8},   {0x3B, Kind::Real, 4},
        {0x3E, Kind::Float, 8},   {0x3D, Kind::DateTime, 8}, {0x3A, Kind::SmallDateTime, 4},
        {0x3C, Kind::Money, 8},   {0x7A, Kind::Money, 4}};
    const auto* entry =
        std::find_if(std::begin(fixed), std::end(fixed), [code](const Fixed& f) { return f.code == code; });
    const SqlType type = typeOf(entry->kind);
    return TypedValue{type, decodeNumber(type, bytes(entry->size))};
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::nullableNumber(quint8 code) {
    const quint8 size = byte();
    SqlType type;
    switch (code) {
    case 0x26:
        type = typeOf(size == 1   ? Kind::TinyInt
                      : size == 2 ? Kind::SmallInt
                      : size == 4 ? Kind::Int
                                  : Kind::BigInt);
        break;
    case 0x68:
        type = typeOf(Kind::Bit);
        break;
    case 0x6D:
        type = typeOf(size == 4 ? Kind::Real : Kind::Float);
        break;
    case 0x6E:
        type = typeOf(Kind::Money);
        break;
    case 0x6F:
        type = typeOf(size == 4 ? Kind::SmallDateTime : Kind::DateTime);
        break;
    default:
        type = typeOf(Kind::UniqueIdentifier);
        break;
    }
    const quint8 length = byte();
    if (length == 0) {
        return TypedValue{type, QVariant()};
    }
    return TypedValue{type, decodeNumber(type, bytes(length))};
}

QVariant TypedValueReader::decodeNumber(const SqlType& type, const QByteArray& data) {
    switch (type.kind) {
    case Kind::TinyInt:
        return QVariant(static_cast<qint64>(unsignedLittleEndian(data)));
    case Kind::Bit:
        return QVariant(unsignedLittleEndian(data) != 0);
    case Kind::Real: {
        float number = 0;
        const quint32 bits = static_cast<quint32>(unsignedLittleEndian(data));
        std::memcpy(&number, &bits, sizeof number);
        return QVariant(static_cast<double>(number));
    }
    case Kind::Float: {
        double number = 0;
        const quint64 bits = unsignedLittleEndian(data);
        std::memcpy(&number, &bits, sizeof number);
        return QVariant(number);
    }
    case Kind::Money: {
        if (data.size() == 4) {
            return QVariant(moneyText(signedLittleEndian(data)));
        }
        const quint64 high = unsignedLittleEndian(data.left(4));
        const quint64 low = unsignedLittleEndian(data.mid(4, 4));
        return QVariant(moneyText(static_cast<qint64>((high << 32) | low)));
    }
    case Kind::DateTime: {
        const qint64 days = signedLittleEndian(data.left(4));
        const qint64 ticks = static_cast<qint64>(unsignedLittleEndian(data.mid(4, 4)));
        const qint64 era1900 = ValueText::daysSinceEra(ValueText::DateTimeParts{});
        return ValueText::formatDateTime(partsFrom(era1900 + days, (ticks * 100'000 + 1) / 3), type);
    }
    case Kind::SmallDateTime: {
        const qint64 days = static_cast<qint64>(unsignedLittleEndian(data.left(2)));
        const qint64 minutes = static_cast<qint64>(unsignedLittleEndian(data.mid(2, 2)));
        const qint64 era1900 = ValueText::daysSinceEra(ValueText::DateTimeParts{});
        return ValueText::formatDateTime(partsFrom(era1900 + days, minutes * 600'000'000), type);
    }
    case Kind::UniqueIdentifier: {
        QByteArray bytes = data;
        std::reverse(bytes.begin(), bytes.begin() + 4);
        std::reverse(bytes.begin() + 4, bytes.begin() + 6);
        std::reverse(bytes.begin() + 6, bytes.begin() + 8);
        return QUuid::fromRfc4122(bytes).toString(QUuid::WithoutBraces).toUpper();
    }
    default:
        return QVariant(signedLittleEndian(data));
    }
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::decimalValue() {
    byte(); // maximum length, implied by the precision
    const quint8 precision = byte();
    const quint8 scale = byte();
    const SqlType type = typeOf(Kind::Decimal, 0, precision, scale);
    const quint8 length = byte();
    if (length == 0) {
        return TypedValue{type, QVariant()};
    }
    const bool positive = byte() != 0;
    const QByteArray digits = DecimalText::fromMagnitude(bytes(length - 1));
    return TypedValue{type, DecimalText::format(digits, scale, !positive)};
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::scaledTimeValue(quint8 code) {
    const int scale = code == 0x28 ? 0 : byte();
    const Kind kind = code == 0x28   ? Kind::Date
                      : code == 0x29 ? Kind::Time
                      : code == 0x2A ? Kind::DateTime2
                                     : Kind::DateTimeOffset;
    const SqlType type = typeOf(kind, 0, 0, scale);
    const quint8 length = byte();
    if (length == 0) {
        return TypedValue{type, QVariant()};
    }
    const QByteArray data = bytes(length);
    if (kind == Kind::Date) {
        return TypedValue{type, ValueText::formatDateTime(partsFrom(signedLittleEndian(data), 0), type)};
    }
    const qsizetype timeBytes =
        length - (kind == Kind::Time ? 0 : 3) - (kind == Kind::DateTimeOffset ? 2 : 0);
    const qint64 ticks =
        static_cast<qint64>(unsignedLittleEndian(data.left(timeBytes))) * powerOfTen(7 - scale);
    const qint64 days =
        kind == Kind::Time ? 0 : static_cast<qint64>(unsignedLittleEndian(data.mid(timeBytes, 3)));
    ValueText::DateTimeParts parts = partsFrom(days, ticks);
    if (kind == Kind::DateTimeOffset) {
        const auto offset = static_cast<qint16>(unsignedLittleEndian(data.mid(timeBytes + 3, 2)));
        constexpr qint64 ticksPerDay = 864'000'000'000LL;
        const qint64 local = days * ticksPerDay + ticks + qint64(offset) * 600'000'000;
        parts = partsFrom(local / ticksPerDay, local % ticksPerDay);
        parts.offsetMinutes = offset;
    }
    return TypedValue{type, ValueText::formatDateTime(parts, type)};
}

std::optional<QByteArray> TypedValueReader::partiallyLengthPrefixed() {
    const quint64 total = uint64();
    if (total == plpNull) {
        return std::nullopt;
    }
    QByteArray data;
    for (quint32 chunk = uint32(); chunk != 0 && !m_failed; chunk = uint32()) {
        data.append(bytes(chunk));
    }
    return data;
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::variableValue(quint8 code) {
    const quint16 maximum = uint16();
    const bool unicode = code == 0xE7 || code == 0xEF;
    const bool binary = code == 0xA5 || code == 0xAD;
    if (!binary) {
        bytes(collationSize);
    }
    const Kind kind = code == 0xA7   ? Kind::VarChar
                      : code == 0xAF ? Kind::Char
                      : code == 0xE7 ? Kind::NVarChar
                      : code == 0xEF ? Kind::NChar
                      : code == 0xA5 ? Kind::VarBinary
                                     : Kind::Binary;
    const bool max = maximum == nullShortLength;
    const SqlType type = typeOf(kind, max ? SqlType::maxLength : (unicode ? maximum / 2 : maximum));
    std::optional<QByteArray> data;
    if (max) {
        data = partiallyLengthPrefixed();
    } else if (const quint16 length = uint16(); length != nullShortLength) {
        data = bytes(length);
    }
    return TypedValue{type, data ? decodeBytes(type, *data) : QVariant()};
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::longValue(quint8 code) {
    uint32(); // maximum length
    if (code != 0x22) {
        bytes(collationSize);
    }
    const SqlType type = typeOf(code == 0x23 ? Kind::Text : code == 0x63 ? Kind::NText : Kind::Image);
    const quint32 length = uint32();
    if (length == nullLongLength) {
        return TypedValue{type, QVariant()};
    }
    return TypedValue{type, decodeBytes(type, bytes(length))};
}

std::optional<TypedValueReader::TypedValue> TypedValueReader::legacyValue(quint8 code) {
    const quint8 maximum = byte();
    const Kind kind = code == 0x27   ? Kind::VarChar
                      : code == 0x2F ? Kind::Char
                      : code == 0x25 ? Kind::VarBinary
                                     : Kind::Binary;
    const SqlType type = typeOf(kind, std::max<int>(maximum, 1));
    const quint8 length = byte();
    if (length == 0) {
        return TypedValue{type, QVariant()};
    }
    return TypedValue{type, decodeBytes(type, bytes(length))};
}

QVariant TypedValueReader::decodeBytes(const SqlType& type, const QByteArray& data) {
    if (type.isBinary()) {
        return QVariant(data);
    }
    if (type.isUnicode()) {
        return QString::fromUtf16(reinterpret_cast<const char16_t*>(data.constData()), data.size() / 2);
    }
    return QString(m_singleByte.decode(data));
}

} // namespace qormin::sim
