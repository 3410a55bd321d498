#include "db/ValueFit.h"

#include "db/OdbcValue.h"

#include <QDateTime>
#include <QRegularExpression>
#include <sql.h>
#include <sqlext.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace qormin::db {

namespace {

// Sizes above this are the (max), text and image types: no length to exceed.
constexpr qint64 largestSizedColumn = 8000;
constexpr int sqlServerTime = -154;
constexpr int sqlServerTimestampOffset = -155;

// A number written out exactly: sign, whole digits without leading zeros, fraction digits
// without trailing zeros.
struct Decimal {
    bool negative = false;
    QString whole;
    QString fraction;

    bool operator==(const Decimal&) const = default;
};

// Beyond this no SQL Server number type reaches; such an exponent is no number for them.
constexpr int largestExponent = 400;

// The digits of text from at on, with at moved past them.
QString digitsFrom(QStringView text, qsizetype& at) {
    QString digits;
    while (at < text.size() && text[at].isDigit() && text[at].unicode() < 0x80) {
        digits.append(text[at++]);
    }
    return digits;
}

// Plain or exponent notation ("12.3400", "-1.5e+19"); nothing else. By hand, as it runs for
// every numeric value a loop writes.
std::optional<Decimal> parseDecimal(QStringView text) {
    text = text.trimmed();
    qsizetype at = 0;
    const bool minus = at < text.size() && text[at] == u'-';
    at += at < text.size() && (text[at] == u'-' || text[at] == u'+') ? 1 : 0;
    QString digits = digitsFrom(text, at);
    qsizetype point = digits.size();
    if (at < text.size() && text[at] == u'.') {
        ++at;
        digits += digitsFrom(text, at);
    }
    if (digits.isEmpty()) {
        return std::nullopt;
    }
    if (at < text.size() && (text[at] == u'e' || text[at] == u'E')) {
        ++at;
        const bool negativeExponent = at < text.size() && text[at] == u'-';
        at += at < text.size() && (text[at] == u'-' || text[at] == u'+') ? 1 : 0;
        bool ok = false;
        const int exponent = digitsFrom(text, at).toInt(&ok);
        if (!ok || exponent > largestExponent) {
            return std::nullopt;
        }
        point += negativeExponent ? -exponent : exponent;
    }
    if (at != text.size()) {
        return std::nullopt;
    }
    if (point < 0) {
        digits.prepend(QString(-point, u'0'));
        point = 0;
    }
    if (point > digits.size()) {
        digits.append(QString(point - digits.size(), u'0'));
    }
    Decimal number;
    number.whole = digits.left(point);
    number.fraction = digits.mid(point);
    while (number.whole.startsWith(u'0')) {
        number.whole.remove(0, 1);
    }
    while (number.fraction.endsWith(u'0')) {
        number.fraction.chop(1);
    }
    number.negative = minus && !(number.whole.isEmpty() && number.fraction.isEmpty());
    return number;
}

template <typename Floating> QString shortestText(Floating number) {
    std::array<char, 64> buffer{};
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return QString::fromLatin1(buffer.data(), written.ptr - buffer.data());
}

bool isFloating(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
}

// The value as the number it stands for; a float as the shortest text that reads back as it.
std::optional<Decimal> decimalOf(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return parseDecimal(value.toBool() ? QStringLiteral("1") : QStringLiteral("0"));
    case QMetaType::Double:
    case QMetaType::Float: {
        const double number = value.toDouble();
        return std::isfinite(number) ? parseDecimal(shortestText(number)) : std::nullopt;
    }
    default:
        return parseDecimal(value.toString());
    }
}

QString lowerName(const ColumnInfo& column) {
    return column.typeName.toLower();
}

bool isIntegral(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return true;
    default:
        return false;
    }
}

std::pair<qlonglong, qlonglong> integerRange(int sqlType) {
    switch (sqlType) {
    case SQL_TINYINT:
        return {0, 255};
    case SQL_SMALLINT:
        return {-32768, 32767};
    case SQL_INTEGER:
        return {std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()};
    default:
        return {std::numeric_limits<qlonglong>::min(), std::numeric_limits<qlonglong>::max()};
    }
}

QString integerChange(const QVariant& value, const ColumnInfo& column) {
    std::optional<qlonglong> integer;
    if (isIntegral(value)) {
        integer = value.toLongLong();
    } else {
        const std::optional<Decimal> number = decimalOf(value);
        if (!number) {
            return QStringLiteral("is not a number");
        }
        if (!number->fraction.isEmpty()) {
            return QStringLiteral("has a fraction that ") + columnTypeText(column) +
                   QStringLiteral(" would drop");
        }
        bool ok = number->whole.isEmpty();
        const qlonglong parsed =
            ok ? 0 : (number->negative ? u'-' + number->whole : number->whole).toLongLong(&ok);
        integer = ok ? std::optional<qlonglong>(parsed) : std::nullopt;
    }
    const auto [low, high] = integerRange(column.sqlType);
    if (!integer || *integer < low || *integer > high) {
        return QStringLiteral("is out of range for ") + columnTypeText(column);
    }
    return QString();
}

QString decimalChange(const QVariant& value, const ColumnInfo& column) {
    const std::optional<Decimal> number = decimalOf(value);
    if (!number) {
        return QStringLiteral("is not a number");
    }
    if (number->fraction.size() > column.decimalDigits) {
        return QStringLiteral("has more decimals than ") + columnTypeText(column) + QStringLiteral(" keeps");
    }
    if (column.size > 0 && number->whole.size() > column.size - column.decimalDigits) {
        return QStringLiteral("is out of range for ") + columnTypeText(column);
    }
    return QString();
}

// A float column keeps a number only when reading it back gives the same number.
QString floatingChange(const QVariant& value, const ColumnInfo& column) {
    const bool real = column.sqlType == SQL_REAL;
    auto outOfRange = [&column] { return QStringLiteral("is out of range for ") + columnTypeText(column); };
    auto moreDigits = [&column] {
        return QStringLiteral("has more digits than ") + columnTypeText(column) + QStringLiteral(" keeps");
    };
    auto inRange = [real](double number) {
        return std::isfinite(number) && (!real || std::fabs(number) <= std::numeric_limits<float>::max());
    };
    // A double keeps its every bit only when it is a float already.
    if (isFloating(value)) {
        const double exact = value.toDouble();
        if (!inRange(exact)) {
            return outOfRange();
        }
        return !real || static_cast<double>(static_cast<float>(exact)) == exact ? QString() : moreDigits();
    }
    // A written number is kept when the nearest float reads back as the same number.
    const std::optional<Decimal> number = decimalOf(value);
    if (!number) {
        return QStringLiteral("is not a number");
    }
    const QString plain = (number->negative ? QStringLiteral("-") : QString()) +
                          (number->whole.isEmpty() ? QStringLiteral("0") : number->whole) + u'.' +
                          number->fraction + u'0';
    const double nearest = plain.toDouble();
    if (!inRange(nearest)) {
        return outOfRange();
    }
    const QString kept = real ? shortestText(static_cast<float>(nearest)) : shortestText(nearest);
    return parseDecimal(kept) == number ? QString() : moreDigits();
}

QString bitChange(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool) {
        return QString();
    }
    const QString text = value.toString().trimmed();
    if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
        text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0) {
        return QString();
    }
    const std::optional<Decimal> number = decimalOf(value);
    if (number && !number->negative && number->fraction.isEmpty() &&
        (number->whole.isEmpty() || number->whole == QLatin1String("1"))) {
        return QString();
    }
    return QStringLiteral("is not 0 or 1");
}

// A date and time taken apart, the fraction of a second as its digits without trailing zeros.
struct Moment {
    std::optional<QDate> date;
    std::optional<QTime> time; // to the second
    QString fraction;
};

std::optional<Moment> momentOf(const QVariant& value) {
    Moment moment;
    auto setTime = [&moment](const QTime& time) {
        moment.time = QTime(time.hour(), time.minute(), time.second());
        moment.fraction = time.msec() == 0 ? QString() : QString::number(time.msec()).rightJustified(3, u'0');
    };
    switch (value.typeId()) {
    case QMetaType::QDateTime: {
        const QDateTime dateTime = value.toDateTime();
        moment.date = dateTime.date();
        setTime(dateTime.time());
        break;
    }
    case QMetaType::QDate:
        moment.date = value.toDate();
        break;
    case QMetaType::QTime:
        setTime(value.toTime());
        break;
    default: {
        static const QRegularExpression form(QStringLiteral(
            R"(^\s*(?:(\d{4})-(\d{2})-(\d{2}))?[ T]?(?:(\d{2}):(\d{2})(?::(\d{2})(?:\.(\d+))?)?)?\s*(?:[+-]\d{2}:\d{2}|Z)?\s*$)"));
        const QRegularExpressionMatch match = form.match(value.toString());
        if (!match.hasMatch() || (match.captured(1).isEmpty() && match.captured(4).isEmpty())) {
            return std::nullopt;
        }
        if (!match.captured(1).isEmpty()) {
            moment.date =
                QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
        }
        if (!match.captured(4).isEmpty()) {
            moment.time =
                QTime(match.captured(4).toInt(), match.captured(5).toInt(), match.captured(6).toInt());
            moment.fraction = match.captured(7);
        }
        if ((moment.date && !moment.date->isValid()) || (moment.time && !moment.time->isValid())) {
            return std::nullopt;
        }
    }
    }
    while (moment.fraction.endsWith(u'0')) {
        moment.fraction.chop(1);
    }
    return moment;
}

// datetime counts in 1/300 s and shows .000, .003 and .007: other milliseconds are rounded.
bool datetimeKeeps(const QString& fraction) {
    if (fraction.size() > 3) {
        return false;
    }
    const int lastDigit = QString(fraction).leftJustified(3, u'0').right(1).toInt();
    return lastDigit == 0 || lastDigit == 3 || lastDigit == 7;
}

QString dateRangeChange(const Moment& moment, const ColumnInfo& column, const QDate& first,
                        const QDate& last) {
    if (moment.date && (*moment.date < first || *moment.date > last)) {
        return QStringLiteral("is outside the dates ") + columnTypeText(column) + QStringLiteral(" holds");
    }
    return QString();
}

QString temporalChange(const QVariant& value, const ColumnInfo& column) {
    const std::optional<Moment> moment = momentOf(value);
    if (!moment) {
        return QStringLiteral("is not a date");
    }
    const QString type = lowerName(column);
    auto finer = [&column] {
        return QStringLiteral("has a time finer than ") + columnTypeText(column) + QStringLiteral(" keeps");
    };
    const bool timeOfDay = moment->time && (*moment->time != QTime(0, 0) || !moment->fraction.isEmpty());
    if (column.sqlType == SQL_TYPE_DATE || type == QLatin1String("date")) {
        return timeOfDay ? QStringLiteral("has a time of day that date would drop") : QString();
    }
    if (column.sqlType == sqlServerTime || type == QLatin1String("time")) {
        if (moment->date && *moment->date != QDate(1900, 1, 1)) {
            return QStringLiteral("has a date that ") + columnTypeText(column) +
                   QStringLiteral(" would drop");
        }
        return moment->fraction.size() > column.decimalDigits ? finer() : QString();
    }
    if (type == QLatin1String("smalldatetime")) {
        if (moment->time && (moment->time->second() != 0 || !moment->fraction.isEmpty())) {
            return finer();
        }
        return dateRangeChange(*moment, column, QDate(1900, 1, 1), QDate(2079, 6, 6));
    }
    if (type == QLatin1String("datetime")) {
        if (!datetimeKeeps(moment->fraction)) {
            return finer();
        }
        return dateRangeChange(*moment, column, QDate(1753, 1, 1), QDate(9999, 12, 31));
    }
    return moment->fraction.size() > column.decimalDigits ? finer() : QString();
}

// The characters a varchar column keeps under the usual Latin-1 code page (Windows 1252).
bool inCodePage1252(char16_t character) {
    static const std::u16string extra = u"€‚ƒ„…†‡ˆ‰Š‹ŒŽ‘’“”•–—˜™š›œžŸ";
    return character < 0x80 || (character >= 0xA0 && character <= 0xFF) ||
           extra.find(character) != std::u16string::npos;
}

QString lengthChange(qint64 length, const ColumnInfo& column) {
    if (column.size <= 0 || column.size > largestSizedColumn || length <= column.size) {
        return QString();
    }
    return QStringLiteral("is longer than ") + columnTypeText(column) + QStringLiteral(" holds");
}

QString textChange(const QVariant& value, const ColumnInfo& column, bool codePage) {
    const QString text = value.toString();
    if (codePage) {
        for (const QChar character : text) {
            if (!inCodePage1252(character.unicode())) {
                return QStringLiteral("has characters the code page of ") + columnTypeText(column) +
                       QStringLiteral(" cannot hold");
            }
        }
    }
    return lengthChange(text.size(), column);
}

QString baseTypeName(const ColumnInfo& column) {
    if (!column.typeName.isEmpty()) {
        return column.typeName;
    }
    switch (column.sqlType) {
    case SQL_TINYINT:
        return QStringLiteral("tinyint");
    case SQL_SMALLINT:
        return QStringLiteral("smallint");
    case SQL_INTEGER:
        return QStringLiteral("int");
    case SQL_BIGINT:
        return QStringLiteral("bigint");
    case SQL_DECIMAL:
        return QStringLiteral("decimal");
    case SQL_NUMERIC:
        return QStringLiteral("numeric");
    case SQL_CHAR:
        return QStringLiteral("char");
    case SQL_VARCHAR:
        return QStringLiteral("varchar");
    case SQL_WCHAR:
        return QStringLiteral("nchar");
    case SQL_WVARCHAR:
        return QStringLiteral("nvarchar");
    default:
        return QStringLiteral("the column");
    }
}

} // namespace

QString columnTypeText(const ColumnInfo& column) {
    const QString name = baseTypeName(column);
    const QString lower = name.toLower();
    if (lower == QLatin1String("decimal") || lower == QLatin1String("numeric")) {
        return name + QStringLiteral("(%1,%2)").arg(column.size).arg(column.decimalDigits);
    }
    if (lower == QLatin1String("datetime2") || lower == QLatin1String("time") ||
        lower == QLatin1String("datetimeoffset")) {
        return name + QStringLiteral("(%1)").arg(column.decimalDigits);
    }
    if (lower.contains(QLatin1String("char")) || lower.contains(QLatin1String("binary"))) {
        return name + (column.size > 0 && column.size <= largestSizedColumn
                           ? QStringLiteral("(%1)").arg(column.size)
                           : QStringLiteral("(max)"));
    }
    return name;
}

QString valueChangeIn(const QVariant& value, const ColumnInfo& column) {
    if (!value.isValid() || value.isNull()) {
        return QString();
    }
    switch (column.sqlType) {
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
        return integerChange(value, column);
    case SQL_BIT:
        return bitChange(value);
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return floatingChange(value, column);
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return decimalChange(value, column);
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
    case sqlServerTime:
    case sqlServerTimestampOffset:
        return temporalChange(value, column);
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return lengthChange(value.typeId() == QMetaType::QByteArray ? value.toByteArray().size()
                                                                    : value.toString().toUtf8().size(),
                            column);
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
        return textChange(value, column, true);
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
        return textChange(value, column, false);
    default:
        return QString();
    }
}

bool valueFitsColumn(const QVariant& value, const ColumnInfo& column) {
    return valueChangeIn(value, column).isEmpty();
}

} // namespace qormin::db
