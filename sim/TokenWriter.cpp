#include "sim/TokenWriter.h"

#include "sim/DecimalText.h"
#include "sim/ServerMessage.h"
#include "sim/ValueText.h"

#include <QUuid>
#include <algorithm>
#include <cstring>

namespace qormin::sim {

namespace {

constexpr qint64 ticksPerDay = 864'000'000'000LL;
constexpr quint16 nullLength = 0xFFFF;
constexpr quint64 plpNull = ~quint64(0);
// SQL_Latin1_General_CP1_CI_AS: LCID 0x0409, ignore case/kana/width, sort id 52 (code page 1252).
constexpr char collationBytes[5] = {0x09, 0x04, static_cast<char>(0xD0), 0x00, 0x34};
constexpr quint16 nullableUnknownUpdatable = 0x0009;
// COLMETADATA flags: fNullable 0x01, usUpdateable in 0x0C (0 read-only, 2 unknown), fIdentity
// 0x10, fComputed 0x20; a rowversion column carries user type 0x50 (timestamp).
constexpr quint16 identityFlags = 0x0018;
constexpr quint16 computedFlags = 0x0021;
constexpr quint16 rowVersionFlags = 0x0000;
constexpr quint32 timestampUserType = 0x50;

quint16 columnFlags(const ResultColumn& column) {
    if (column.rowVersion) {
        return rowVersionFlags;
    }
    if (column.identity) {
        return identityFlags;
    }
    return column.computed ? computedFlags : nullableUnknownUpdatable;
}

int decimalLength(int precision) {
    if (precision <= 9) {
        return 5;
    }
    if (precision <= 19) {
        return 9;
    }
    return precision <= 28 ? 13 : 17;
}

int timeLength(int scale) {
    if (scale <= 2) {
        return 3;
    }
    return scale <= 4 ? 4 : 5;
}

qint64 powerOfTen(int exponent) {
    qint64 result = 1;
    for (int i = 0; i < exponent; ++i) {
        result *= 10;
    }
    return result;
}

bool isNull(const QVariant& value) {
    return !value.isValid() || value.isNull();
}

bool isTextPointerType(const SqlType& type) {
    return type.kind == SqlType::Kind::Text || type.kind == SqlType::Kind::NText ||
           type.kind == SqlType::Kind::Image;
}

bool isFixedLength(const SqlType& type) {
    return type.kind == SqlType::Kind::Char || type.kind == SqlType::Kind::NChar ||
           type.kind == SqlType::Kind::Binary;
}

QByteArray littleEndian(quint64 value, int bytes) {
    QByteArray result(bytes, '\0');
    for (int i = 0; i < bytes; ++i) {
        result[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    return result;
}

} // namespace

TokenWriter::TokenWriter() : m_singleByte("windows-1252") {}

QByteArray TokenWriter::take() {
    QByteArray result;
    result.swap(m_buffer);
    m_tokenEnds.clear();
    return result;
}

void TokenWriter::uint16(quint16 value) {
    byte(value & 0xFF);
    byte(value >> 8);
}

void TokenWriter::uint32(quint32 value) {
    m_buffer.append(littleEndian(value, 4));
}

void TokenWriter::uint64(quint64 value) {
    m_buffer.append(littleEndian(value, 8));
}

void TokenWriter::ucs2(const QString& text) {
    for (const QChar character : text) {
        uint16(character.unicode());
    }
}

void TokenWriter::byteText(const QString& text) {
    const QString limited = text.left(255);
    byte(static_cast<quint8>(limited.size()));
    ucs2(limited);
}

void TokenWriter::shortText(const QString& text) {
    const QString limited = text.left(65535);
    uint16(static_cast<quint16>(limited.size()));
    ucs2(limited);
}

void TokenWriter::collation() {
    m_buffer.append(collationBytes, sizeof collationBytes);
}

QByteArray TokenWriter::encodeSingleByte(const QString& text) {
    return m_singleByte.encode(text);
}

void TokenWriter::environmentChange(EnvironmentType type, const QString& newValue, const QString& oldValue) {
    byte(EnvironmentChange);
    uint16(static_cast<quint16>(1 + 1 + 2 * newValue.size() + 1 + 2 * oldValue.size()));
    byte(type);
    byteText(newValue);
    byteText(oldValue);
    endToken();
}

void TokenWriter::collationChange() {
    byte(EnvironmentChange);
    uint16(1 + 1 + sizeof collationBytes + 1);
    byte(CollationChange);
    byte(sizeof collationBytes);
    collation();
    byte(0);
    endToken();
}

void TokenWriter::message(Token token, const ServerMessage& message, const QString& serverName) {
    const QString text = message.text.left(65535);
    const QString server = serverName.left(255);
    const QString procedure = message.procedure.left(255);
    byte(token);
    uint16(static_cast<quint16>(4 + 1 + 1 + 2 + 2 * text.size() + 1 + 2 * server.size() + 1 +
                                2 * procedure.size() + 4));
    uint32(static_cast<quint32>(message.number));
    byte(static_cast<quint8>(message.state));
    byte(static_cast<quint8>(message.severity));
    shortText(text);
    byteText(server);
    byteText(procedure);
    uint32(static_cast<quint32>(message.line));
    endToken();
}

void TokenWriter::loginAck(const QString& programName) {
    byte(LoginAck);
    uint16(static_cast<quint16>(1 + 4 + 1 + 2 * programName.size() + 4));
    byte(1); // T-SQL interface
    // The TDS version goes out big-endian here, unlike in LOGIN7.
    for (const quint8 part : {0x74, 0x00, 0x00, 0x04}) {
        byte(part);
    }
    byteText(programName);
    for (const quint8 part : {16, 0, 0x0F, 0xA0}) {
        byte(part);
    }
    endToken();
}

void TokenWriter::done(Token token, quint16 status, quint16 command, quint64 count) {
    byte(token);
    uint16(status);
    uint16(command);
    uint64(count);
    endToken();
}

void TokenWriter::columnMetadata(const std::vector<ResultColumn>& columns) {
    byte(ColumnMetadata);
    uint16(static_cast<quint16>(columns.size()));
    for (const auto& column : columns) {
        uint32(column.rowVersion ? timestampUserType : 0);
        uint16(columnFlags(column));
        typeInfo(column.type);
        if (isTextPointerType(column.type)) {
            byte(1);
            shortText(QStringLiteral("sim"));
        }
        byteText(column.name);
    }
    endToken();
}

void TokenWriter::row(const std::vector<ResultColumn>& columns, const QVariantList& values) {
    byte(Row);
    for (size_t i = 0; i < columns.size(); ++i) {
        value(columns[i].type,
              static_cast<qsizetype>(i) < values.size() ? values[static_cast<qsizetype>(i)] : QVariant());
    }
    endToken();
}

void TokenWriter::returnStatus(qint32 status) {
    byte(ReturnStatus);
    uint32(static_cast<quint32>(status));
    endToken();
}

void TokenWriter::returnValue(quint16 ordinal, const QString& name, const SqlType& type,
                              const QVariant& data) {
    byte(ReturnValue);
    uint16(ordinal);
    byteText(name);
    byte(0x01); // output parameter
    uint32(0);
    uint16(nullableUnknownUpdatable);
    typeInfo(type);
    value(type, data);
    endToken();
}

void TokenWriter::typeInfo(const SqlType& type) {
    using Kind = SqlType::Kind;
    switch (type.kind) {
    case Kind::TinyInt:
        return twoBytes(0x26, 0x01);
    case Kind::SmallInt:
        return twoBytes(0x26, 0x02);
    case Kind::Int:
        return twoBytes(0x26, 0x04);
    case Kind::BigInt:
        return twoBytes(0x26, 0x08);
    case Kind::Bit:
        return twoBytes(0x68, 0x01);
    case Kind::Real:
        return twoBytes(0x6D, 0x04);
    case Kind::Float:
        return twoBytes(0x6D, 0x08);
    case Kind::Money:
        return twoBytes(0x6E, 0x08);
    case Kind::SmallDateTime:
        return twoBytes(0x6F, 0x04);
    case Kind::DateTime:
        return twoBytes(0x6F, 0x08);
    case Kind::UniqueIdentifier:
        return twoBytes(0x24, 0x10);
    case Kind::Date:
        return byte(0x28);
    case Kind::Decimal:
    case Kind::Numeric:
        byte(type.kind == Kind::Decimal ? 0x6A : 0x6C);
        byte(static_cast<quint8>(decimalLength(type.precision)));
        byte(static_cast<quint8>(type.precision));
        byte(static_cast<quint8>(type.scale));
        return;
    case Kind::Time:
    case Kind::DateTime2:
    case Kind::DateTimeOffset:
        byte(type.kind == Kind::Time ? 0x29 : type.kind == Kind::DateTime2 ? 0x2A : 0x2B);
        byte(static_cast<quint8>(type.scale));
        return;
    case Kind::Char:
    case Kind::VarChar:
        byte(type.kind == Kind::Char ? 0xAF : 0xA7);
        uint16(type.isMax() ? nullLength : static_cast<quint16>(type.length));
        collation();
        return;
    case Kind::NChar:
    case Kind::NVarChar:
        byte(type.kind == Kind::NChar ? 0xEF : 0xE7);
        uint16(type.isMax() ? nullLength : static_cast<quint16>(2 * type.length));
        collation();
        return;
    case Kind::Binary:
    case Kind::VarBinary:
        byte(type.kind == Kind::Binary ? 0xAD : 0xA5);
        uint16(type.isMax() ? nullLength : static_cast<quint16>(type.length));
        return;
    case Kind::Text:
    case Kind::NText:
        byte(type.kind == Kind::Text ? 0x23 : 0x63);
        uint32(type.kind == Kind::Text ? 0x7FFFFFFF : 0x7FFFFFFE);
        collation();
        return;
    case Kind::Image:
        byte(0x22);
        uint32(0x7FFFFFFF);
        return;
    }
}

void TokenWriter::value(const SqlType& type, const QVariant& data) {
    using Kind = SqlType::Kind;
    if (type.isInteger()) {
        return integerValue(type, data);
    }
    switch (type.kind) {
    case Kind::Bit:
        if (isNull(data)) {
            return byte(0);
        }
        byte(1);
        return byte(data.toBool() ? 1 : 0);
    case Kind::Real: {
        if (isNull(data)) {
            return byte(0);
        }
        const float number = data.toFloat();
        quint32 bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        byte(4);
        return uint32(bits);
    }
    case Kind::Float: {
        if (isNull(data)) {
            return byte(0);
        }
        const double number = data.toDouble();
        quint64 bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        byte(8);
        return uint64(bits);
    }
    case Kind::Decimal:
    case Kind::Numeric:
        return decimalValue(type, data);
    case Kind::Money:
        return moneyValue(data);
    case Kind::SmallDateTime:
    case Kind::DateTime:
    case Kind::Date:
    case Kind::Time:
    case Kind::DateTime2:
    case Kind::DateTimeOffset:
        return dateTimeValue(type, data);
    case Kind::UniqueIdentifier: {
        if (isNull(data)) {
            return byte(0);
        }
        byte(16);
        m_buffer.append(valueBytes(type, data));
        return;
    }
    default:
        break;
    }
    if (isNull(data)) {
        if (isTextPointerType(type)) {
            return byte(0);
        }
        return type.isMax() ? uint64(plpNull) : uint16(nullLength);
    }
    bytesValue(type, valueBytes(type, data));
}

QByteArray TokenWriter::valueBytes(const SqlType& type, const QVariant& data) {
    if (type.kind == SqlType::Kind::UniqueIdentifier) {
        // SQL Server stores the first three groups little-endian.
        QByteArray bytes = QUuid(data.toString()).toRfc4122();
        std::reverse(bytes.begin(), bytes.begin() + 4);
        std::reverse(bytes.begin() + 4, bytes.begin() + 6);
        std::reverse(bytes.begin() + 6, bytes.begin() + 8);
        return bytes;
    }
    if (type.isBinary()) {
        QByteArray bytes =
            data.typeId() == QMetaType::QByteArray ? data.toByteArray() : data.toString().toUtf8();
        return isFixedLength(type) ? bytes.leftJustified(type.length, '\0', true) : bytes;
    }
    QString text = data.toString();
    if (isFixedLength(type)) {
        text = text.leftJustified(type.length, QLatin1Char(' '), true);
    }
    if (type.isUnicode()) {
        QByteArray bytes(2 * text.size(), '\0');
        for (qsizetype i = 0; i < text.size(); ++i) {
            bytes[2 * i] = static_cast<char>(text.at(i).unicode() & 0xFF);
            bytes[2 * i + 1] = static_cast<char>(text.at(i).unicode() >> 8);
        }
        return bytes;
    }
    return encodeSingleByte(text);
}

void TokenWriter::integerValue(const SqlType& type, const QVariant& data) {
    if (isNull(data)) {
        return byte(0);
    }
    const int bytes = type.kind == SqlType::Kind::TinyInt    ? 1
                      : type.kind == SqlType::Kind::SmallInt ? 2
                      : type.kind == SqlType::Kind::Int      ? 4
                                                             : 8;
    byte(static_cast<quint8>(bytes));
    m_buffer.append(littleEndian(static_cast<quint64>(data.toLongLong()), bytes));
}

void TokenWriter::decimalValue(const SqlType& type, const QVariant& data) {
    const auto scaled = isNull(data) ? std::nullopt : DecimalText::scale(data.toString(), type.scale);
    const int length = decimalLength(type.precision);
    const auto magnitude = scaled ? DecimalText::toMagnitude(scaled->digits, length - 1) : std::nullopt;
    if (!magnitude) {
        return byte(0);
    }
    byte(static_cast<quint8>(length));
    byte(scaled->negative ? 0 : 1);
    m_buffer.append(*magnitude);
}

void TokenWriter::moneyValue(const QVariant& data) {
    const auto scaled = isNull(data) ? std::nullopt : DecimalText::scale(data.toString(), 4);
    if (!scaled) {
        return byte(0);
    }
    // The lowest money value's magnitude is one more than the largest signed one: negated as unsigned.
    const quint64 magnitude = scaled->digits.toULongLong();
    const quint64 bits = scaled->negative ? ~magnitude + 1 : magnitude;
    byte(8);
    uint32(static_cast<quint32>(bits >> 32));
    uint32(static_cast<quint32>(bits & 0xFFFFFFFF));
}

void TokenWriter::dateTimeValue(const SqlType& type, const QVariant& data) {
    using Kind = SqlType::Kind;
    const auto parts = isNull(data) ? std::nullopt : ValueText::parseDateTime(data.toString());
    if (!parts) {
        return byte(0);
    }
    qint64 days = ValueText::daysSinceEra(*parts);
    qint64 ticks = parts->ticks;
    if (type.kind == Kind::DateTime || type.kind == Kind::SmallDateTime) {
        const qint64 daysFrom1900 = days - ValueText::daysSinceEra(ValueText::DateTimeParts{});
        if (type.kind == Kind::SmallDateTime) {
            byte(4);
            uint16(static_cast<quint16>(daysFrom1900));
            return uint16(static_cast<quint16>(ticks / 600'000'000));
        }
        byte(8);
        uint32(static_cast<quint32>(daysFrom1900));
        return uint32(static_cast<quint32>((ticks * 3 + 50'000) / 100'000));
    }
    if (type.kind == Kind::DateTimeOffset) {
        const qint64 utc = days * ticksPerDay + ticks - qint64(parts->offsetMinutes) * 600'000'000;
        days = utc / ticksPerDay;
        ticks = utc % ticksPerDay;
    }
    const int timeBytes = timeLength(type.scale);
    const qint64 units = ticks / powerOfTen(7 - type.scale);
    switch (type.kind) {
    case Kind::Date:
        byte(3);
        m_buffer.append(littleEndian(static_cast<quint64>(days), 3));
        return;
    case Kind::Time:
        byte(static_cast<quint8>(timeBytes));
        m_buffer.append(littleEndian(static_cast<quint64>(units), timeBytes));
        return;
    default:
        break;
    }
    const bool offset = type.kind == Kind::DateTimeOffset;
    byte(static_cast<quint8>(timeBytes + 3 + (offset ? 2 : 0)));
    m_buffer.append(littleEndian(static_cast<quint64>(units), timeBytes));
    m_buffer.append(littleEndian(static_cast<quint64>(days), 3));
    if (offset) {
        uint16(static_cast<quint16>(static_cast<qint16>(parts->offsetMinutes)));
    }
}

void TokenWriter::bytesValue(const SqlType& type, const QByteArray& bytes) {
    if (isTextPointerType(type)) {
        return textPointerValue(bytes);
    }
    if (type.isMax()) {
        return partiallyLengthPrefixed(bytes);
    }
    const QByteArray limited = bytes.left(8000);
    uint16(static_cast<quint16>(limited.size()));
    m_buffer.append(limited);
}

void TokenWriter::partiallyLengthPrefixed(const QByteArray& bytes) {
    constexpr qsizetype chunk = 8000;
    uint64(static_cast<quint64>(bytes.size()));
    for (qsizetype offset = 0; offset < bytes.size(); offset += chunk) {
        const qsizetype length = std::min(chunk, bytes.size() - offset);
        uint32(static_cast<quint32>(length));
        m_buffer.append(bytes.constData() + offset, length);
    }
    uint32(0);
}

void TokenWriter::textPointerValue(const QByteArray& bytes) {
    byte(16);
    m_buffer.append(QByteArray(16, '\x01'));
    m_buffer.append(QByteArray(8, '\0'));
    uint32(static_cast<quint32>(bytes.size()));
    m_buffer.append(bytes);
}

} // namespace qormin::sim
