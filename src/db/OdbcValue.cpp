#include "db/OdbcValue.h"

#include "db/OdbcText.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <sql.h>
#include <sqlext.h>

namespace qormin::db {

namespace {

// SQL Server's time type, which the generic ODBC headers do not name.
constexpr int sqlServerTime = -154;

constexpr SQLLEN chunkBytes = 64 * 1024;
constexpr quint32 nanosecondsPerMillisecond = 1000000;

enum class Kind { Integer, BigInteger, Bit, Floating, Decimal, Date, Timestamp, Time, Binary, Text };

Kind kindOf(int sqlType) {
    switch (sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT:
        return Kind::Integer;
    case SQL_BIGINT:
        return Kind::BigInteger;
    case SQL_BIT:
        return Kind::Bit;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return Kind::Floating;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return Kind::Decimal;
    case SQL_TYPE_DATE:
        return Kind::Date;
    case SQL_TYPE_TIMESTAMP:
        return Kind::Timestamp;
    case SQL_TYPE_TIME:
    case sqlServerTime:
        return Kind::Time;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return Kind::Binary;
    default:
        return Kind::Text;
    }
}

bool isNull(const QVariant& value) {
    return !value.isValid() || value.isNull();
}

// Nine digits of a fraction of a second, cut to seven (SQL Server's finest) when that loses nothing.
QString fractionDigits(quint32 nanoseconds) {
    QString digits = QString::number(nanoseconds).rightJustified(9, QLatin1Char('0'));
    return digits.endsWith(QLatin1String("00")) ? digits.left(7) : digits;
}

QString textOf(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
    case QMetaType::QTime:
        return value.toTime().toString(QStringLiteral("HH:mm:ss.zzz"));
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 17);
    default:
        return value.toString();
    }
}

std::optional<PreciseMoment> momentOf(const QVariant& value) {
    if (value.typeId() == QMetaType::QDateTime) {
        const QDateTime moment = value.toDateTime();
        return PreciseMoment{moment, static_cast<quint32>(moment.time().msec()) * nanosecondsPerMillisecond};
    }
    if (value.typeId() == QMetaType::QDate) {
        return PreciseMoment{value.toDate().startOfDay(), 0};
    }
    return parseMoment(value.toString());
}

// The declared size of a text or binary parameter: the target column's own size where it has
// one, so every row is declared alike and the prepared statement is reused; the value's length
// where it is longer (it fails on the server) or the column is unbounded.
SQLULEN declaredSize(qsizetype length, const ColumnInfo& target, qint64 limit) {
    if (target.size > 0 && target.size <= limit && length <= target.size) {
        return static_cast<SQLULEN>(target.size);
    }
    if (length <= limit) {
        return static_cast<SQLULEN>(limit);
    }
    return static_cast<SQLULEN>(length);
}

void store(OdbcParameter& parameter, const void* data, size_t size) {
    // At least one byte, so that an empty string is bound to a real buffer, never to null.
    parameter.data.resize(std::max<size_t>(size, 1));
    if (size > 0) {
        std::memcpy(parameter.data.data(), data, size);
    }
    parameter.indicator = static_cast<SQLLEN>(size);
}

template <typename T> void storeValue(OdbcParameter& parameter, const T& value) {
    store(parameter, &value, sizeof value);
}

void declare(OdbcParameter& parameter, SQLSMALLINT cType, int sqlType, SQLULEN columnSize = 1,
             int digits = 0) {
    parameter.cType = cType;
    parameter.sqlType = static_cast<SQLSMALLINT>(sqlType);
    parameter.columnSize = columnSize;
    parameter.digits = static_cast<SQLSMALLINT>(digits);
}

// Text, and any value that does not read as its column's type: the server converts it, or
// reports why it cannot, exactly as for a literal.
void bindAsText(OdbcParameter& parameter, const ColumnInfo& target, const QVariant& value, bool textColumn) {
    const auto wide = toSqlWide(textOf(value));
    const auto characters = wide.size() - 1;
    store(parameter, wide.data(), characters * sizeof(SQLWCHAR));
    declare(parameter, SQL_C_WCHAR, characters > 4000 ? SQL_WLONGVARCHAR : SQL_WVARCHAR,
            textColumn ? declaredSize(static_cast<qsizetype>(characters), target, 4000)
                       : std::max<SQLULEN>(characters, 1));
}

// Qt rounds a double it turns into an integer (3.7 to 4) where the server truncates; a value
// with a fraction is not bound as an integer (it goes as text, which the server refuses).
bool isWhole(const QVariant& value) {
    if (value.typeId() != QMetaType::Double && value.typeId() != QMetaType::Float) {
        return true;
    }
    const double number = value.toDouble();
    return std::isfinite(number) && std::trunc(number) == number;
}

bool bindInteger(OdbcParameter& parameter, const ColumnInfo& target, const QVariant& value) {
    bool converted = false;
    const qlonglong number = value.toLongLong(&converted);
    storeValue(parameter, static_cast<SQLINTEGER>(number));
    declare(parameter, SQL_C_SLONG, target.sqlType);
    return converted && isWhole(value) && number >= INT32_MIN && number <= INT32_MAX;
}

bool bindBigInteger(OdbcParameter& parameter, const ColumnInfo& /*target*/, const QVariant& value) {
    bool converted = false;
    storeValue(parameter, static_cast<SQLBIGINT>(value.toLongLong(&converted)));
    declare(parameter, SQL_C_SBIGINT, SQL_BIGINT);
    return converted && isWhole(value);
}

bool bindBit(OdbcParameter& parameter, const ColumnInfo& /*target*/, const QVariant& value) {
    bool converted = true;
    unsigned char bit = value.toBool() ? 1 : 0;
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed();
        const bool on =
            text == QLatin1String("1") || text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
        converted = on || text == QLatin1String("0") ||
                    text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0;
        bit = on ? 1 : 0;
    }
    storeValue(parameter, bit);
    declare(parameter, SQL_C_BIT, SQL_BIT);
    return converted;
}

bool bindFloating(OdbcParameter& parameter, const ColumnInfo& target, const QVariant& value) {
    bool converted = false;
    storeValue(parameter, value.toDouble(&converted));
    declare(parameter, SQL_C_DOUBLE, target.sqlType, target.sqlType == SQL_REAL ? 24 : 53);
    return converted;
}

bool bindDecimal(OdbcParameter& parameter, const ColumnInfo& target, const QVariant& value) {
    const QByteArray text = textOf(value).trimmed().toLatin1();
    store(parameter, text.constData(), static_cast<size_t>(text.size()));
    declare(parameter, SQL_C_CHAR, target.sqlType, static_cast<SQLULEN>(std::max<qint64>(target.size, 1)),
            target.decimalDigits);
    return true;
}

// FreeTDS counts the days of an early date wrongly when it sends it (0002-03-01 arrives as
// 0002-02-28, a datetime2 in year 1 as year 45935); it reads them right. Such a date goes as
// text, which the server reads exactly; from datetime's first year on the driver is exact.
bool driverSendsExactly(const QDate& day) {
    return day.year() >= 1753;
}

bool bindDate(OdbcParameter& parameter, const ColumnInfo& /*target*/, const QVariant& value) {
    const auto moment = momentOf(value);
    const QDate day = moment ? moment->moment.date() : QDate();
    SQL_DATE_STRUCT date{};
    date.year = static_cast<SQLSMALLINT>(day.year());
    date.month = static_cast<SQLUSMALLINT>(day.month());
    date.day = static_cast<SQLUSMALLINT>(day.day());
    storeValue(parameter, date);
    declare(parameter, SQL_C_TYPE_DATE, SQL_TYPE_DATE, 10);
    return moment.has_value() && driverSendsExactly(day);
}

bool bindTimestamp(OdbcParameter& parameter, const ColumnInfo& target, const QVariant& value) {
    const auto moment = momentOf(value);
    const QDateTime when = moment ? moment->moment : QDateTime();
    SQL_TIMESTAMP_STRUCT stamp{};
    stamp.year = static_cast<SQLSMALLINT>(when.date().year());
    stamp.month = static_cast<SQLUSMALLINT>(when.date().month());
    stamp.day = static_cast<SQLUSMALLINT>(when.date().day());
    stamp.hour = static_cast<SQLUSMALLINT>(when.time().hour());
    stamp.minute = static_cast<SQLUSMALLINT>(when.time().minute());
    stamp.second = static_cast<SQLUSMALLINT>(when.time().second());
    const int digits = std::clamp(target.decimalDigits, 0, 7);
    // The fraction may not be finer than the column's precision, or the driver refuses it.
    SQLUINTEGER granularity = 1000000000;
    for (int digit = 0; digit < digits; ++digit) {
        granularity /= 10;
    }
    const SQLUINTEGER nanoseconds = moment ? moment->nanoseconds : 0;
    stamp.fraction = nanoseconds / granularity * granularity;
    storeValue(parameter, stamp);
    declare(parameter, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP,
            static_cast<SQLULEN>(std::max<qint64>(target.size, digits > 0 ? 20 + digits : 19)), digits);
    return moment.has_value() && driverSendsExactly(when.date());
}

bool bindBinary(OdbcParameter& parameter, const ColumnInfo& target, const QVariant& value) {
    const QByteArray bytes =
        value.typeId() == QMetaType::QByteArray ? value.toByteArray() : value.toString().toUtf8();
    store(parameter, bytes.constData(), static_cast<size_t>(bytes.size()));
    declare(parameter, SQL_C_BINARY, bytes.size() > 8000 ? SQL_LONGVARBINARY : SQL_VARBINARY,
            declaredSize(bytes.size(), target, 8000));
    return true;
}

// A fixed-size C value of the column; empty for NULL or when the driver cannot give it.
template <typename T> std::optional<T> readFixed(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT cType) {
    T value{};
    SQLLEN indicator = 0;
    if (!SQL_SUCCEEDED(SQLGetData(statement, number, cType, &value, sizeof value, &indicator)) ||
        indicator == SQL_NULL_DATA) {
        return std::nullopt;
    }
    return value;
}

// Text or binary in chunks, as long as it is. NULL is an invalid QVariant.
QVariant readChunks(SQLHSTMT statement, SQLUSMALLINT number, bool binary, std::vector<char>& scratch) {
    scratch.resize(chunkBytes);
    const SQLSMALLINT cType = binary ? SQL_C_BINARY : SQL_C_WCHAR;
    // The driver ends each text chunk with a terminating character, which is not data.
    const SQLLEN room = binary ? chunkBytes : chunkBytes - static_cast<SQLLEN>(sizeof(SQLWCHAR));
    QByteArray bytes;
    bool any = false;
    for (;;) {
        SQLLEN indicator = 0;
        const SQLRETURN rc = SQLGetData(statement, number, cType, scratch.data(), chunkBytes, &indicator);
        if (rc == SQL_NO_DATA) {
            break;
        }
        if (!SQL_SUCCEEDED(rc) || indicator == SQL_NULL_DATA) {
            if (!any) {
                return {};
            }
            break;
        }
        any = true;
        const SQLLEN length = (indicator == SQL_NO_TOTAL || indicator > room) ? room : indicator;
        bytes.append(scratch.data(), static_cast<qsizetype>(length));
        if (rc == SQL_SUCCESS) {
            break;
        }
    }
    if (binary) {
        return bytes;
    }
    QString text = fromSqlWide(reinterpret_cast<const SQLWCHAR*>(bytes.constData()),
                               bytes.size() / static_cast<qsizetype>(sizeof(SQLWCHAR)));
    return text.isNull() ? QVariant(QLatin1String("")) : QVariant(text);
}

QVariant readTimestamp(SQLHSTMT statement, SQLUSMALLINT number) {
    const auto stamp = readFixed<SQL_TIMESTAMP_STRUCT>(statement, number, SQL_C_TYPE_TIMESTAMP);
    if (!stamp) {
        return {};
    }
    const QDateTime moment(QDate(stamp->year, stamp->month, stamp->day),
                           QTime(stamp->hour, stamp->minute, stamp->second,
                                 static_cast<int>(stamp->fraction / nanosecondsPerMillisecond)));
    if (stamp->fraction % nanosecondsPerMillisecond == 0) {
        return moment;
    }
    return moment.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.")) + fractionDigits(stamp->fraction);
}

// "hh:mm:ss[.fffffff]": a QTime where milliseconds hold it, else the text itself.
QVariant readTime(SQLHSTMT statement, SQLUSMALLINT number, std::vector<char>& scratch) {
    const QVariant text = readChunks(statement, number, false, scratch);
    if (!text.isValid()) {
        return {};
    }
    static const QRegularExpression time(QStringLiteral(R"(^(\d\d:\d\d:\d\d)(?:\.(\d{1,3})(0*))?$)"));
    const QRegularExpressionMatch match = time.match(text.toString());
    if (!match.hasMatch()) {
        return text;
    }
    const QTime whole = QTime::fromString(match.captured(1), QStringLiteral("HH:mm:ss"));
    const int milliseconds = match.captured(2).leftJustified(3, QLatin1Char('0')).toInt();
    return whole.isValid() ? QVariant(whole.addMSecs(milliseconds)) : text;
}

} // namespace

std::optional<PreciseMoment> parseMoment(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral(R"(^(\d{4}-\d\d-\d\d)(?:[ T](\d\d:\d\d:\d\d)(?:\.(\d{1,9}))?)?$)"));
    const QRegularExpressionMatch match = form.match(text.trimmed());
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const QDate day = QDate::fromString(match.captured(1), QStringLiteral("yyyy-MM-dd"));
    const QTime time = match.captured(2).isEmpty()
                           ? QTime(0, 0)
                           : QTime::fromString(match.captured(2), QStringLiteral("HH:mm:ss"));
    if (!day.isValid() || !time.isValid()) {
        return std::nullopt;
    }
    const quint32 nanoseconds = match.captured(3).leftJustified(9, QLatin1Char('0')).toUInt();
    return PreciseMoment{
        QDateTime(day, time.addMSecs(static_cast<int>(nanoseconds / nanosecondsPerMillisecond))),
        nanoseconds};
}

size_t OdbcParameter::room() const {
    switch (cType) {
    case SQL_C_WCHAR:
        return std::max(data.size(), (columnSize + 1) * sizeof(SQLWCHAR));
    case SQL_C_CHAR:
        return std::max(data.size(), columnSize + 3);
    case SQL_C_BINARY:
        return std::max<size_t>({data.size(), columnSize, 1});
    default:
        return data.size();
    }
}

OdbcParameter makeOdbcParameter(const ColumnInfo& target, const QVariant& value) {
    using Binder = bool (*)(OdbcParameter&, const ColumnInfo&, const QVariant&);
    Binder binder = nullptr;
    switch (kindOf(target.sqlType)) {
    case Kind::Integer:
        binder = bindInteger;
        break;
    case Kind::BigInteger:
        binder = bindBigInteger;
        break;
    case Kind::Bit:
        binder = bindBit;
        break;
    case Kind::Floating:
        binder = bindFloating;
        break;
    case Kind::Decimal:
        binder = bindDecimal;
        break;
    case Kind::Date:
        binder = bindDate;
        break;
    case Kind::Timestamp:
        binder = bindTimestamp;
        break;
    case Kind::Binary:
        binder = bindBinary;
        break;
    case Kind::Time: // as text, which the server reads to the last digit
    case Kind::Text:
        break;
    }
    OdbcParameter parameter;
    const bool null = isNull(value);
    if (binder == nullptr || !(binder(parameter, target, value) || null)) {
        bindAsText(parameter, target, value, binder == nullptr);
    }
    if (null) {
        parameter.indicator = SQL_NULL_DATA;
    }
    return parameter;
}

QVariant readOdbcValue(SQLHSTMT statement, int index, const ColumnInfo& column, std::vector<char>& scratch) {
    const auto number = static_cast<SQLUSMALLINT>(index + 1);
    auto variant = [](const auto& value) { return value ? QVariant(*value) : QVariant(); };
    switch (kindOf(column.sqlType)) {
    case Kind::Integer:
        return variant(readFixed<SQLINTEGER>(statement, number, SQL_C_SLONG));
    case Kind::BigInteger: {
        const auto value = readFixed<SQLBIGINT>(statement, number, SQL_C_SBIGINT);
        return value ? QVariant(static_cast<qlonglong>(*value)) : QVariant();
    }
    case Kind::Bit: {
        const auto value = readFixed<unsigned char>(statement, number, SQL_C_BIT);
        return value ? QVariant(*value != 0) : QVariant();
    }
    case Kind::Floating:
        return variant(readFixed<double>(statement, number, SQL_C_DOUBLE));
    case Kind::Date: {
        const auto value = readFixed<SQL_DATE_STRUCT>(statement, number, SQL_C_TYPE_DATE);
        return value ? QVariant(QDate(value->year, value->month, value->day)) : QVariant();
    }
    case Kind::Timestamp:
        return readTimestamp(statement, number);
    case Kind::Time:
        return readTime(statement, number, scratch);
    case Kind::Binary:
        return readChunks(statement, number, true, scratch);
    case Kind::Decimal:
    case Kind::Text:
        break;
    }
    return readChunks(statement, number, false, scratch);
}

} // namespace qormin::db
