#include "sim/ValueText.h"

#include "sim/DecimalText.h"

#include <QDate>
#include <QRegularExpression>
#include <QUuid>
#include <cmath>

namespace qormin::sim::ValueText {

namespace {

constexpr qint64 ticksPerSecond = 10'000'000;
constexpr qint64 ticksPerDay = 86'400 * ticksPerSecond;
constexpr qint64 largestExactDouble = qint64(1) << 53;

bool fail(QString* error, const QString& message) {
    if (error != nullptr) {
        *error = message;
    }
    return false;
}

qint64 fractionTicks(const QString& fraction) {
    return fraction.leftJustified(7, QLatin1Char('0')).left(7).toLongLong();
}

QString timeText(qint64 ticks, int scale) {
    const qint64 seconds = ticks / ticksPerSecond;
    QString text = QStringLiteral("%1:%2:%3")
                       .arg(seconds / 3600, 2, 10, QLatin1Char('0'))
                       .arg((seconds / 60) % 60, 2, 10, QLatin1Char('0'))
                       .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    if (scale > 0) {
        const QString fraction = QStringLiteral("%1").arg(ticks % ticksPerSecond, 7, 10, QLatin1Char('0'));
        text += QLatin1Char('.') + fraction.left(scale);
    }
    return text;
}

QString dateText(const DateTimeParts& parts) {
    return QStringLiteral("%1-%2-%3")
        .arg(parts.year, 4, 10, QLatin1Char('0'))
        .arg(parts.month, 2, 10, QLatin1Char('0'))
        .arg(parts.day, 2, 10, QLatin1Char('0'));
}

QString offsetText(int minutes) {
    const QChar sign = minutes < 0 ? QLatin1Char('-') : QLatin1Char('+');
    const int magnitude = std::abs(minutes);
    return QStringLiteral("%1%2:%3")
        .arg(sign)
        .arg(magnitude / 60, 2, 10, QLatin1Char('0'))
        .arg(magnitude % 60, 2, 10, QLatin1Char('0'));
}

std::optional<QVariant> integerFromJson(const QJsonValue& value, const SqlType& type, QString* error) {
    qint64 number = 0;
    bool ok = false;
    if (value.isDouble()) {
        const double d = value.toDouble();
        ok = std::floor(d) == d && std::fabs(d) <= static_cast<double>(largestExactDouble);
        // Only a number that fits is converted; converting 1e50 would be undefined.
        number = ok ? static_cast<qint64>(d) : 0;
    } else if (value.isString()) {
        number = value.toString().trimmed().toLongLong(&ok);
    }
    if (!ok) {
        fail(error, QStringLiteral("not an integer for %1").arg(type.name()));
        return std::nullopt;
    }
    const qint64 limits[][2] = {{0, 255}, {-32768, 32767}, {-2147483648LL, 2147483647LL}};
    const int index = type.kind == SqlType::Kind::TinyInt ? 0 : type.kind == SqlType::Kind::SmallInt ? 1 : 2;
    if (type.kind != SqlType::Kind::BigInt && (number < limits[index][0] || number > limits[index][1])) {
        fail(error, QStringLiteral("%1 is out of range for %2").arg(number).arg(type.name()));
        return std::nullopt;
    }
    return QVariant(number);
}

std::optional<QVariant> bitFromJson(const QJsonValue& value, QString* error) {
    if (value.isBool()) {
        return QVariant(value.toBool());
    }
    if (value.isDouble()) {
        return QVariant(value.toDouble() != 0);
    }
    const QString text = value.toString().trimmed().toLower();
    if (text == QLatin1String("1") || text == QLatin1String("true")) {
        return QVariant(true);
    }
    if (text == QLatin1String("0") || text == QLatin1String("false")) {
        return QVariant(false);
    }
    fail(error, QStringLiteral("not a bit value"));
    return std::nullopt;
}

std::optional<QVariant> decimalFromJson(const QJsonValue& value, const SqlType& type, QString* error) {
    const int scale = type.kind == SqlType::Kind::Money ? 4 : type.scale;
    const QString text = value.isDouble() ? QString::number(value.toDouble(), 'f', scale) : value.toString();
    const auto normalized = DecimalText::normalize(text, scale);
    if (!normalized) {
        fail(error, QStringLiteral("not a decimal number: %1").arg(text));
        return std::nullopt;
    }
    return QVariant(*normalized);
}

std::optional<QVariant> binaryFromJson(const QJsonValue& value, QString* error) {
    QString text = value.toString().trimmed();
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        text = text.mid(2);
    }
    static const QRegularExpression hex(QStringLiteral("^([0-9A-Fa-f]{2})*$"));
    if (!value.isString() || !hex.match(text).hasMatch()) {
        fail(error, QStringLiteral("binary values are written as hex text, e.g. \"0x01AB\""));
        return std::nullopt;
    }
    return QVariant(QByteArray::fromHex(text.toLatin1()));
}

std::optional<QVariant> dateFromJson(const QJsonValue& value, const SqlType& type, QString* error) {
    const auto parts = parseDateTime(value.toString());
    if (!value.isString() || !parts) {
        fail(error, QStringLiteral("not an ISO date or time: %1").arg(value.toString()));
        return std::nullopt;
    }
    return QVariant(formatDateTime(*parts, type));
}

std::optional<QVariant> guidFromJson(const QJsonValue& value, QString* error) {
    const QUuid uuid(value.toString().trimmed());
    if (uuid.isNull() && value.toString().count(QLatin1Char('0')) < 32) {
        fail(error, QStringLiteral("not a uniqueidentifier: %1").arg(value.toString()));
        return std::nullopt;
    }
    return QVariant(uuid.toString(QUuid::WithoutBraces).toUpper());
}

// Reads fixed-width numbers and separators from the front of a text.
class DigitScanner {
public:
    explicit DigitScanner(const QString& text) : m_text(text) {}

    qsizetype position() const { return m_position; }
    bool atEnd() const { return m_position >= m_text.size(); }
    bool peekDigit() const { return !atEnd() && m_text[m_position].isDigit(); }
    // A date starts with four digits and a dash; a time with one or two digits and a colon.
    bool peekDate() const {
        return m_position + 4 < m_text.size() && m_text[m_position + 4] == QLatin1Char('-');
    }

    bool literal(char expected) {
        if (atEnd() || m_text[m_position] != QLatin1Char(expected)) {
            return false;
        }
        ++m_position;
        return true;
    }
    void skipBlanks() {
        while (!atEnd() && m_text[m_position] == QLatin1Char(' ')) {
            ++m_position;
        }
    }
    bool digitsText(int minimum, int maximum, QString& digits) {
        const qsizetype start = m_position;
        while (peekDigit() && m_position - start < maximum) {
            ++m_position;
        }
        digits = m_text.mid(start, m_position - start);
        return digits.size() >= minimum && !peekDigit();
    }
    bool number(int minimum, int maximum, int& value) {
        QString digits;
        if (!digitsText(minimum, maximum, digits)) {
            return false;
        }
        value = digits.toInt();
        return true;
    }

private:
    const QString& m_text;
    qsizetype m_position = 0;
};

} // namespace

std::optional<DateTimeParts> parseDateTime(const QString& text) {
    // Scanned by hand: this runs for every date cell of large results, and QDateTime stops at
    // milliseconds where datetime2 keeps 100 ns.
    const QString trimmed = text.trimmed();
    DigitScanner scanner(trimmed);
    DateTimeParts parts;
    int year = 0;
    const bool hasDate = scanner.peekDate() && scanner.number(4, 4, year) && scanner.literal('-') &&
                         scanner.number(1, 2, parts.month) && scanner.literal('-') &&
                         scanner.number(1, 2, parts.day);
    if (hasDate) {
        parts.year = year;
        if (!QDate(parts.year, parts.month, parts.day).isValid()) {
            return std::nullopt;
        }
        if (!scanner.atEnd() && !scanner.literal('T') && !scanner.literal(' ')) {
            return std::nullopt;
        }
    } else if (scanner.position() != 0) {
        return std::nullopt;
    }
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    QString fraction;
    if (!scanner.atEnd() && scanner.peekDigit()) {
        if (!scanner.number(1, 2, hours) || !scanner.literal(':') || !scanner.number(2, 2, minutes)) {
            return std::nullopt;
        }
        if (scanner.literal(':') && !scanner.number(2, 2, seconds)) {
            return std::nullopt;
        }
        if (scanner.literal('.') && !scanner.digitsText(1, 7, fraction)) {
            return std::nullopt;
        }
    } else if (!hasDate) {
        return std::nullopt;
    }
    if (hours > 23 || minutes > 59 || seconds > 59) {
        return std::nullopt;
    }
    parts.ticks = (hours * 3600LL + minutes * 60LL + seconds) * ticksPerSecond + fractionTicks(fraction);
    scanner.skipBlanks();
    if (scanner.literal('Z') || scanner.atEnd()) {
        return scanner.atEnd() ? std::optional(parts) : std::nullopt;
    }
    const bool negative = scanner.literal('-');
    int offsetHours = 0;
    int offsetMinutes = 0;
    if ((!negative && !scanner.literal('+')) || !scanner.number(2, 2, offsetHours) || !scanner.literal(':') ||
        !scanner.number(2, 2, offsetMinutes) || !scanner.atEnd()) {
        return std::nullopt;
    }
    parts.offsetMinutes = (negative ? -1 : 1) * (offsetHours * 60 + offsetMinutes);
    return parts;
}

qint64 daysSinceEra(const DateTimeParts& parts) {
    return QDate(parts.year, parts.month, parts.day).toJulianDay() - QDate(1, 1, 1).toJulianDay();
}

DateTimeParts fromDaysSinceEra(qint64 days) {
    const QDate date = QDate::fromJulianDay(QDate(1, 1, 1).toJulianDay() + days);
    DateTimeParts parts;
    parts.year = date.year();
    parts.month = date.month();
    parts.day = date.day();
    return parts;
}

QString formatDateTime(const DateTimeParts& parts, const SqlType& type) {
    switch (type.kind) {
    case SqlType::Kind::Date:
        return dateText(parts);
    case SqlType::Kind::Time:
        return timeText(parts.ticks % ticksPerDay, type.scale);
    case SqlType::Kind::SmallDateTime:
        return dateText(parts) + QLatin1Char('T') + timeText(parts.ticks, 0);
    case SqlType::Kind::DateTime:
        return dateText(parts) + QLatin1Char('T') + timeText(parts.ticks, 3);
    case SqlType::Kind::DateTimeOffset:
        return dateText(parts) + QLatin1Char('T') + timeText(parts.ticks, type.scale) +
               offsetText(parts.offsetMinutes);
    default:
        return dateText(parts) + QLatin1Char('T') + timeText(parts.ticks, type.scale);
    }
}

std::optional<QVariant> fromJson(const QJsonValue& value, const SqlType& type, QString* error) {
    if (value.isNull() || value.isUndefined()) {
        return QVariant();
    }
    if (type.isInteger()) {
        return integerFromJson(value, type, error);
    }
    switch (type.kind) {
    case SqlType::Kind::Bit:
        return bitFromJson(value, error);
    case SqlType::Kind::Real:
    case SqlType::Kind::Float:
        if (value.isDouble()) {
            return QVariant(value.toDouble());
        }
        fail(error, QStringLiteral("not a number for %1").arg(type.name()));
        return std::nullopt;
    case SqlType::Kind::Decimal:
    case SqlType::Kind::Numeric:
    case SqlType::Kind::Money:
        return decimalFromJson(value, type, error);
    case SqlType::Kind::SmallDateTime:
    case SqlType::Kind::DateTime:
    case SqlType::Kind::Date:
    case SqlType::Kind::Time:
    case SqlType::Kind::DateTime2:
    case SqlType::Kind::DateTimeOffset:
        return dateFromJson(value, type, error);
    case SqlType::Kind::UniqueIdentifier:
        return guidFromJson(value, error);
    default:
        break;
    }
    if (type.isBinary()) {
        return binaryFromJson(value, error);
    }
    if (value.isDouble()) {
        return QVariant(QString::number(value.toDouble(), 'g', 17));
    }
    if (value.isBool()) {
        return QVariant(value.toBool() ? QStringLiteral("1") : QStringLiteral("0"));
    }
    return QVariant(value.toString());
}

QJsonValue toJson(const QVariant& value) {
    if (!value.isValid() || value.isNull()) {
        return QJsonValue(QJsonValue::Null);
    }
    switch (value.typeId()) {
    case QMetaType::Bool:
        return QJsonValue(value.toBool());
    case QMetaType::LongLong:
    case QMetaType::Int: {
        const qint64 number = value.toLongLong();
        if (number > largestExactDouble || number < -largestExactDouble) {
            return QJsonValue(QString::number(number));
        }
        return QJsonValue(number);
    }
    case QMetaType::Double:
        return QJsonValue(value.toDouble());
    case QMetaType::QByteArray:
        return QJsonValue(QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper()));
    default:
        return QJsonValue(value.toString());
    }
}

} // namespace qormin::sim::ValueText
