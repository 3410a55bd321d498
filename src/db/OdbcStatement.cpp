#include "db/OdbcStatement.h"

#include "db/OdbcConnection.h"
#include "db/OdbcText.h"

#include <QDateTime>
#include <algorithm>
#include <cmath>
#include <sql.h>
#include <sqlext.h>

#include <chrono>
#include <cstring>
#include <mutex>
#include <utility>

namespace qormin::db {

namespace {

// SQL Server types that the generic ODBC headers do not name.
constexpr int sqlServerTime = -154;

constexpr SQLLEN chunkBytes = 64 * 1024;

enum class ParameterClass { Integer, BigInteger, Bit, Floating, Decimal, Date, Timestamp, Binary, Text };

ParameterClass classify(int sqlType) {
    switch (sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT:
        return ParameterClass::Integer;
    case SQL_BIGINT:
        return ParameterClass::BigInteger;
    case SQL_BIT:
        return ParameterClass::Bit;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return ParameterClass::Floating;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return ParameterClass::Decimal;
    case SQL_TYPE_DATE:
        return ParameterClass::Date;
    case SQL_TYPE_TIMESTAMP:
        return ParameterClass::Timestamp;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return ParameterClass::Binary;
    default:
        return ParameterClass::Text;
    }
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

bool isNull(const QVariant& value) {
    return !value.isValid() || value.isNull();
}

// Qt rounds a double it turns into an integer (3.7 to 4) where the server truncates; a value
// with a fraction goes as text instead, which the server refuses for an integer column.
bool isWhole(const QVariant& value) {
    if (value.typeId() != QMetaType::Double && value.typeId() != QMetaType::Float) {
        return true;
    }
    const double number = value.toDouble();
    return std::isfinite(number) && std::trunc(number) == number;
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

QDateTime dateTimeOf(const QVariant& value, bool& ok) {
    ok = true;
    if (value.typeId() == QMetaType::QDateTime) {
        return value.toDateTime();
    }
    if (value.typeId() == QMetaType::QDate) {
        return value.toDate().startOfDay();
    }
    const QString text = value.toString().trimmed();
    for (const auto* format : {"yyyy-MM-dd HH:mm:ss.zzz", "yyyy-MM-dd HH:mm:ss", "yyyy-MM-ddTHH:mm:ss.zzz",
                               "yyyy-MM-ddTHH:mm:ss", "yyyy-MM-dd"}) {
        QDateTime parsed = QDateTime::fromString(text, QLatin1String(format));
        if (parsed.isValid()) {
            return parsed;
        }
    }
    ok = false;
    return {};
}

} // namespace

// Memory a bound parameter points at; it must outlive the execution.
struct OdbcStatement::BoundParameter {
    std::vector<char> data;
    SQLLEN indicator = 0;
    SQLSMALLINT cType = 0;
    SQLSMALLINT sqlType = 0;
    SQLULEN columnSize = 0;
    SQLSMALLINT digits = 0;

    bool sameBinding(const BoundParameter& other) const {
        return cType == other.cType && sqlType == other.sqlType && columnSize == other.columnSize &&
               digits == other.digits;
    }
};

// One parameter's values for every row of a run, side by side, bound once.
struct OdbcStatement::ParameterArray {
    BoundParameter declaration; // how every row's value is declared; data unused
    size_t elementBytes = 0;
    std::vector<char> data;
    std::vector<SQLLEN> indicators;
};

static_assert(sizeof(SQLULEN) == sizeof(unsigned long) && sizeof(SQLUSMALLINT) == sizeof(unsigned short));

// Whether a call that waits for the server is under way, and whether another thread wants it
// cancelled; the cancel is made under the same lock, so it never outlives that call.
// A call that waits this long is taken to be blocked on the server. Only then does a cancel from
// another thread go to the driver: FreeTDS takes a cancel that meets the end of the answer for
// one still to be sent and sends it with the next request, which it then ends. Until then the
// worker cancels from its own thread between calls, where FreeTDS has no such race.
constexpr std::chrono::milliseconds blockedAfter{100};

struct OdbcStatement::InterruptGate {
    std::mutex mutex;
    bool inCall = false;
    std::chrono::steady_clock::time_point callStarted;
    bool wanted = false;
    bool cancelSent = false; // one cancel per run: a second attention would end the next request
};

OdbcStatement::OdbcStatement(OdbcConnection& connection) : m_interrupts(std::make_unique<InterruptGate>()) {
    SQLHSTMT handle = SQL_NULL_HSTMT;
    if (connection.handle() != nullptr &&
        SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection.handle(), &handle))) {
        m_handle = handle;
    }
}

OdbcStatement::~OdbcStatement() {
    const std::lock_guard lock(m_interrupts->mutex);
    if (m_handle != nullptr) {
        SQLFreeHandle(SQL_HANDLE_STMT, m_handle);
    }
}

void OdbcStatement::setQueryTimeout(int seconds) {
    if (seconds == m_queryTimeout) {
        return;
    }
    m_queryTimeout = seconds;
    SQLSetStmtAttrW(m_handle, SQL_ATTR_QUERY_TIMEOUT,
                    reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(seconds)), 0);
}

template <typename Call> short OdbcStatement::waitingCall(Call call) {
    {
        const std::lock_guard lock(m_interrupts->mutex);
        m_lastCallSkipped = m_interrupts->wanted;
        if (m_lastCallSkipped) {
            return SQL_ERROR;
        }
        m_interrupts->inCall = true;
        m_interrupts->callStarted = std::chrono::steady_clock::now();
    }
    const short rc = call();
    const std::lock_guard lock(m_interrupts->mutex);
    m_interrupts->inCall = false;
    return rc;
}

short OdbcStatement::execDirect(const QString& sql) {
    auto text = toSqlWide(sql);
    return waitingCall(
        [&] { return SQLExecDirectW(m_handle, text.data(), static_cast<SQLINTEGER>(text.size() - 1)); });
}

short OdbcStatement::prepare(const QString& sql) {
    m_lastCallSkipped = false;
    auto text = toSqlWide(sql);
    return SQLPrepareW(m_handle, text.data(), static_cast<SQLINTEGER>(text.size() - 1));
}

short OdbcStatement::execute() {
    return waitingCall([this] { return SQLExecute(m_handle); });
}

short OdbcStatement::moreResults() {
    return waitingCall([this] { return SQLMoreResults(m_handle); });
}

short OdbcStatement::fetch() {
    return waitingCall([this] { return SQLFetch(m_handle); });
}

int OdbcStatement::resultColumnCount() {
    SQLSMALLINT count = 0;
    if (!SQL_SUCCEEDED(SQLNumResultCols(m_handle, &count))) {
        return 0;
    }
    return count;
}

ColumnInfo OdbcStatement::describeColumn(int index) {
    ColumnInfo column;
    SQLWCHAR name[512] = {};
    SQLSMALLINT nameLength = 0;
    SQLSMALLINT dataType = 0;
    SQLULEN size = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
    const SQLRETURN rc = SQLDescribeColW(m_handle, static_cast<SQLUSMALLINT>(index + 1), name, 512,
                                         &nameLength, &dataType, &size, &digits, &nullable);
    if (!SQL_SUCCEEDED(rc)) {
        return column;
    }
    column.name = fromSqlWide(name, std::min<qsizetype>(nameLength, 511));
    column.sqlType = dataType;
    column.size = static_cast<qint64>(size);
    column.decimalDigits = digits;
    column.nullable = nullable != SQL_NO_NULLS;
    SQLLEN autoUnique = SQL_FALSE;
    if (SQL_SUCCEEDED(SQLColAttributeW(m_handle, static_cast<SQLUSMALLINT>(index + 1),
                                       SQL_DESC_AUTO_UNIQUE_VALUE, nullptr, 0, nullptr, &autoUnique))) {
        column.autoIncrement = autoUnique == SQL_TRUE;
    }
    readServerFilledKind(index, column);
    return column;
}

// A rowversion column arrives as binary(8) whose type name is "timestamp"; a computed one is
// described read-only while ordinary columns of a table are not.
void OdbcStatement::readServerFilledKind(int index, ColumnInfo& column) {
    const auto number = static_cast<SQLUSMALLINT>(index + 1);
    SQLWCHAR typeName[64] = {};
    SQLSMALLINT typeNameBytes = 0;
    if (SQL_SUCCEEDED(SQLColAttributeW(m_handle, number, SQL_DESC_TYPE_NAME, typeName, sizeof typeName,
                                       &typeNameBytes, nullptr))) {
        column.typeName = fromSqlWide(
            typeName, std::min<qsizetype>(typeNameBytes / static_cast<SQLSMALLINT>(sizeof(SQLWCHAR)), 63));
        column.rowVersion = column.typeName.compare(QLatin1String("timestamp"), Qt::CaseInsensitive) == 0;
    }
    SQLLEN updatable = SQL_ATTR_READWRITE_UNKNOWN;
    if (SQL_SUCCEEDED(
            SQLColAttributeW(m_handle, number, SQL_DESC_UPDATABLE, nullptr, 0, nullptr, &updatable))) {
        column.computed = updatable == SQL_ATTR_READONLY && !column.rowVersion && !column.autoIncrement;
    }
}

QVariant OdbcStatement::value(int index, const ColumnInfo& column) {
    const auto number = static_cast<SQLUSMALLINT>(index + 1);
    SQLLEN indicator = 0;
    switch (column.sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT: {
        SQLINTEGER value = 0;
        if (!SQL_SUCCEEDED(SQLGetData(m_handle, number, SQL_C_SLONG, &value, 0, &indicator)) ||
            indicator == SQL_NULL_DATA) {
            return {};
        }
        return static_cast<int>(value);
    }
    case SQL_BIGINT: {
        SQLBIGINT value = 0;
        if (!SQL_SUCCEEDED(SQLGetData(m_handle, number, SQL_C_SBIGINT, &value, 0, &indicator)) ||
            indicator == SQL_NULL_DATA) {
            return {};
        }
        return static_cast<qlonglong>(value);
    }
    case SQL_BIT: {
        unsigned char value = 0;
        if (!SQL_SUCCEEDED(SQLGetData(m_handle, number, SQL_C_BIT, &value, 0, &indicator)) ||
            indicator == SQL_NULL_DATA) {
            return {};
        }
        return value != 0;
    }
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE: {
        double value = 0;
        if (!SQL_SUCCEEDED(SQLGetData(m_handle, number, SQL_C_DOUBLE, &value, 0, &indicator)) ||
            indicator == SQL_NULL_DATA) {
            return {};
        }
        return value;
    }
    case SQL_TYPE_DATE: {
        SQL_DATE_STRUCT value{};
        if (!SQL_SUCCEEDED(SQLGetData(m_handle, number, SQL_C_TYPE_DATE, &value, 0, &indicator)) ||
            indicator == SQL_NULL_DATA) {
            return {};
        }
        return QDate(value.year, value.month, value.day);
    }
    case SQL_TYPE_TIMESTAMP: {
        SQL_TIMESTAMP_STRUCT value{};
        if (!SQL_SUCCEEDED(SQLGetData(m_handle, number, SQL_C_TYPE_TIMESTAMP, &value, 0, &indicator)) ||
            indicator == SQL_NULL_DATA) {
            return {};
        }
        const int milliseconds = static_cast<int>(value.fraction / 1000000);
        return QDateTime(QDate(value.year, value.month, value.day),
                         QTime(value.hour, value.minute, value.second, milliseconds));
    }
    case SQL_TYPE_TIME:
    case sqlServerTime:
        return readTime(index);
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return readBinary(index);
    default:
        return readText(index);
    }
}

QVariant OdbcStatement::readText(int column) {
    const auto number = static_cast<SQLUSMALLINT>(column + 1);
    m_scratch.resize(chunkBytes);
    QString text;
    for (;;) {
        SQLLEN indicator = 0;
        const SQLRETURN rc =
            SQLGetData(m_handle, number, SQL_C_WCHAR, m_scratch.data(), chunkBytes, &indicator);
        if (rc == SQL_NO_DATA) {
            return text;
        }
        if (!SQL_SUCCEEDED(rc) || indicator == SQL_NULL_DATA) {
            return text.isNull() ? QVariant() : QVariant(text);
        }
        const SQLLEN room = chunkBytes - static_cast<SQLLEN>(sizeof(SQLWCHAR));
        const SQLLEN bytes = (indicator == SQL_NO_TOTAL || indicator > room) ? room : indicator;
        const auto* characters = reinterpret_cast<const SQLWCHAR*>(m_scratch.data());
        text +=
            fromSqlWide(characters, static_cast<qsizetype>(bytes / static_cast<SQLLEN>(sizeof(SQLWCHAR))));
        if (text.isNull()) {
            text = QLatin1String("");
        }
        if (rc == SQL_SUCCESS) {
            return text;
        }
    }
}

QVariant OdbcStatement::readBinary(int column) {
    const auto number = static_cast<SQLUSMALLINT>(column + 1);
    m_scratch.resize(chunkBytes);
    QByteArray bytes;
    bool any = false;
    for (;;) {
        SQLLEN indicator = 0;
        const SQLRETURN rc =
            SQLGetData(m_handle, number, SQL_C_BINARY, m_scratch.data(), chunkBytes, &indicator);
        if (rc == SQL_NO_DATA) {
            return bytes;
        }
        if (!SQL_SUCCEEDED(rc) || indicator == SQL_NULL_DATA) {
            return any ? QVariant(bytes) : QVariant();
        }
        any = true;
        const SQLLEN length = (indicator == SQL_NO_TOTAL || indicator > chunkBytes) ? chunkBytes : indicator;
        bytes.append(m_scratch.data(), static_cast<qsizetype>(length));
        if (rc == SQL_SUCCESS) {
            return bytes;
        }
    }
}

QVariant OdbcStatement::readTime(int column) {
    const QVariant text = readText(column);
    if (!text.isValid()) {
        return {};
    }
    // "hh:mm:ss[.fffffff]": QTime holds milliseconds, so the fraction is cut to three digits.
    const QString value = text.toString();
    const qsizetype dot = value.indexOf(QLatin1Char('.'));
    const QString whole = dot < 0 ? value : value.left(dot);
    QString fraction = dot < 0 ? QString() : value.mid(dot + 1).left(3);
    while (fraction.size() < 3) {
        fraction += QLatin1Char('0');
    }
    QTime time = QTime::fromString(whole, QStringLiteral("HH:mm:ss"));
    return time.isValid() ? QVariant(time.addMSecs(fraction.toInt())) : text;
}

qint64 OdbcStatement::rowCount() {
    SQLLEN count = -1;
    if (!SQL_SUCCEEDED(SQLRowCount(m_handle, &count))) {
        return -1;
    }
    return count;
}

bool OdbcStatement::cancel() {
    {
        const std::lock_guard lock(m_interrupts->mutex);
        if (std::exchange(m_interrupts->cancelSent, true)) {
            return true;
        }
    }
    return SQL_SUCCEEDED(SQLCancel(m_handle));
}

void OdbcStatement::interrupt() {
    const std::lock_guard lock(m_interrupts->mutex);
    m_interrupts->wanted = true;
    const bool blocked =
        m_interrupts->inCall && std::chrono::steady_clock::now() - m_interrupts->callStarted >= blockedAfter;
    if (blocked && !m_interrupts->cancelSent && m_handle != nullptr) {
        m_interrupts->cancelSent = true;
        SQLCancel(m_handle);
    }
}

void OdbcStatement::clearInterrupt() {
    const std::lock_guard lock(m_interrupts->mutex);
    m_interrupts->wanted = false;
    m_interrupts->cancelSent = false;
}

void OdbcStatement::closeCursor() {
    m_lastCallSkipped = false;
    SQLFreeStmt(m_handle, SQL_CLOSE);
}

std::vector<OdbcDiagnostic> OdbcStatement::diagnostics() const {
    if (m_lastCallSkipped) {
        OdbcDiagnostic skipped;
        skipped.sqlState = QStringLiteral("HY008");
        skipped.text = QStringLiteral("Operation was cancelled");
        return {skipped};
    }
    return readDiagnostics(SQL_HANDLE_STMT, m_handle);
}

void OdbcStatement::resetParameters() {
    if (m_parameters.empty()) {
        return;
    }
    SQLFreeStmt(m_handle, SQL_RESET_PARAMS);
    m_parameters.clear();
}

void OdbcStatement::bindParameter(int number, const ColumnInfo& target, const QVariant& value) {
    bindSlot(number, makeParameter(target, value));
}

OdbcStatement::BoundParameter OdbcStatement::makeParameter(const ColumnInfo& target, const QVariant& value) {
    BoundParameter parameter;
    ParameterClass kind = classify(target.sqlType);
    SQLSMALLINT cType = SQL_C_WCHAR;
    SQLSMALLINT sqlType = SQL_WVARCHAR;
    SQLULEN columnSize = 1;
    SQLSMALLINT digits = 0;
    auto store = [&parameter](const void* data, size_t size) {
        // At least one byte, so that an empty string is bound to a real buffer, never to null.
        parameter.data.resize(std::max<size_t>(size, 1));
        if (size > 0) {
            std::memcpy(parameter.data.data(), data, size);
        }
        parameter.indicator = static_cast<SQLLEN>(size);
    };
    const bool null = isNull(value);
    bool converted = true;
    switch (kind) {
    case ParameterClass::Integer: {
        const qlonglong number64 = value.toLongLong(&converted);
        converted = null || (converted && isWhole(value) && number64 >= INT32_MIN && number64 <= INT32_MAX);
        const SQLINTEGER number32 = static_cast<SQLINTEGER>(number64);
        store(&number32, sizeof number32);
        cType = SQL_C_SLONG;
        sqlType = static_cast<SQLSMALLINT>(target.sqlType);
        break;
    }
    case ParameterClass::BigInteger: {
        const SQLBIGINT number64 = value.toLongLong(&converted);
        converted = (converted && isWhole(value)) || null;
        store(&number64, sizeof number64);
        cType = SQL_C_SBIGINT;
        sqlType = SQL_BIGINT;
        break;
    }
    case ParameterClass::Bit: {
        unsigned char bit = 0;
        if (value.typeId() == QMetaType::QString) {
            const QString text = value.toString().trimmed();
            converted = text == QLatin1String("1") || text == QLatin1String("0") ||
                        text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
                        text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0;
            bit =
                (text == QLatin1String("1") || text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0);
        } else {
            bit = value.toBool() ? 1 : 0;
        }
        converted = converted || null;
        store(&bit, sizeof bit);
        cType = SQL_C_BIT;
        sqlType = SQL_BIT;
        break;
    }
    case ParameterClass::Floating: {
        const double floating = value.toDouble(&converted);
        converted = converted || null;
        store(&floating, sizeof floating);
        cType = SQL_C_DOUBLE;
        sqlType = static_cast<SQLSMALLINT>(target.sqlType);
        columnSize = target.sqlType == SQL_REAL ? 24 : 53;
        break;
    }
    case ParameterClass::Decimal: {
        const QByteArray text = textOf(value).trimmed().toLatin1();
        store(text.constData(), static_cast<size_t>(text.size()));
        cType = SQL_C_CHAR;
        sqlType = static_cast<SQLSMALLINT>(target.sqlType);
        columnSize = static_cast<SQLULEN>(std::max<qint64>(target.size, 1));
        digits = static_cast<SQLSMALLINT>(target.decimalDigits);
        break;
    }
    case ParameterClass::Date:
    case ParameterClass::Timestamp: {
        const QDateTime moment = null ? QDateTime() : dateTimeOf(value, converted);
        if (kind == ParameterClass::Date) {
            SQL_DATE_STRUCT date{};
            date.year = static_cast<SQLSMALLINT>(moment.date().year());
            date.month = static_cast<SQLUSMALLINT>(moment.date().month());
            date.day = static_cast<SQLUSMALLINT>(moment.date().day());
            store(&date, sizeof date);
            cType = SQL_C_TYPE_DATE;
            sqlType = SQL_TYPE_DATE;
            columnSize = 10;
            break;
        }
        SQL_TIMESTAMP_STRUCT stamp{};
        stamp.year = static_cast<SQLSMALLINT>(moment.date().year());
        stamp.month = static_cast<SQLUSMALLINT>(moment.date().month());
        stamp.day = static_cast<SQLUSMALLINT>(moment.date().day());
        stamp.hour = static_cast<SQLUSMALLINT>(moment.time().hour());
        stamp.minute = static_cast<SQLUSMALLINT>(moment.time().minute());
        stamp.second = static_cast<SQLUSMALLINT>(moment.time().second());
        digits = static_cast<SQLSMALLINT>(std::clamp(target.decimalDigits, 0, 7));
        // The fraction may not be finer than the column's precision, or the driver refuses it.
        SQLUINTEGER granularity = 1000000000;
        for (int digit = 0; digit < digits; ++digit) {
            granularity /= 10;
        }
        const SQLUINTEGER nanoseconds = static_cast<SQLUINTEGER>(moment.time().msec()) * 1000000U;
        stamp.fraction = nanoseconds / granularity * granularity;
        store(&stamp, sizeof stamp);
        cType = SQL_C_TYPE_TIMESTAMP;
        sqlType = SQL_TYPE_TIMESTAMP;
        columnSize = static_cast<SQLULEN>(std::max<qint64>(target.size, digits > 0 ? 20 + digits : 19));
        break;
    }
    case ParameterClass::Binary: {
        const QByteArray bytes =
            value.typeId() == QMetaType::QByteArray ? value.toByteArray() : value.toString().toUtf8();
        store(bytes.constData(), static_cast<size_t>(bytes.size()));
        cType = SQL_C_BINARY;
        sqlType = bytes.size() > 8000 ? SQL_LONGVARBINARY : SQL_VARBINARY;
        columnSize = declaredSize(bytes.size(), target, 8000);
        break;
    }
    case ParameterClass::Text:
        break;
    }
    if (kind == ParameterClass::Text || !converted) {
        // Text, and any value that does not fit its column's type: the server converts it, or
        // reports why it cannot, exactly as for a literal.
        const auto wide = toSqlWide(textOf(value));
        const auto characters = wide.size() - 1;
        store(wide.data(), characters * sizeof(SQLWCHAR));
        cType = SQL_C_WCHAR;
        sqlType = characters > 4000 ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
        columnSize = kind == ParameterClass::Text
                         ? declaredSize(static_cast<qsizetype>(characters), target, 4000)
                         : std::max<SQLULEN>(characters, 1);
        digits = 0;
    }
    if (null) {
        parameter.indicator = SQL_NULL_DATA;
    }
    parameter.cType = cType;
    parameter.sqlType = sqlType;
    parameter.columnSize = columnSize;
    parameter.digits = digits;
    return parameter;
}

// Room for the longest value the declaration allows, so later rows fit the same buffer.
size_t OdbcStatement::roomFor(const BoundParameter& parameter) {
    const size_t room = parameter.cType == SQL_C_WCHAR    ? (parameter.columnSize + 1) * sizeof(SQLWCHAR)
                        : parameter.cType == SQL_C_CHAR   ? parameter.columnSize + 3
                        : parameter.cType == SQL_C_BINARY ? parameter.columnSize
                                                          : 0;
    return std::max({parameter.data.size(), room, sizeof(SQLWCHAR)});
}

// A parameter bound as before keeps its buffer: only the bytes change. Binding anew would make
// the driver prepare the statement again on the server (sp_prepexec instead of sp_execute).
void OdbcStatement::bindSlot(int number, BoundParameter parameter) {
    const auto slot = static_cast<size_t>(number - 1);
    if (m_parameters.size() <= slot) {
        m_parameters.resize(slot + 1);
    }
    auto& bound = m_parameters[slot];
    const auto length = static_cast<size_t>(std::max<SQLLEN>(parameter.indicator, 0));
    if (bound && bound->sameBinding(parameter) && bound->data.size() >= std::max<size_t>(length, 1)) {
        std::memcpy(bound->data.data(), parameter.data.data(), std::min(length, parameter.data.size()));
        bound->indicator = parameter.indicator;
        return;
    }
    parameter.data.resize(roomFor(parameter));
    bound = std::make_unique<BoundParameter>(std::move(parameter));
    SQLBindParameter(m_handle, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT, bound->cType,
                     bound->sqlType, bound->columnSize, bound->digits, bound->data.data(),
                     static_cast<SQLLEN>(bound->data.size()), &bound->indicator);
}

size_t OdbcStatement::bindParameterRows(const std::vector<ColumnInfo>& targets,
                                        const std::vector<std::vector<QVariant>>& rows, size_t first,
                                        size_t capacity) {
    const size_t available = std::min(rows.size() - first, capacity);
    std::vector<std::vector<BoundParameter>> made(available);
    for (size_t row = 0; row < available; ++row) {
        const auto& values = rows[first + row];
        for (size_t index = 0; index < values.size(); ++index) {
            made[row].push_back(
                makeParameter(index < targets.size() ? targets[index] : ColumnInfo{}, values[index]));
        }
    }
    if (m_arrays.empty() && !made.empty()) {
        declareArrays(made.front(), capacity);
    }
    size_t fitting = 0;
    while (fitting < available && fitsArrays(made[fitting])) {
        ++fitting;
    }
    for (size_t row = 0; row < fitting; ++row) {
        for (size_t index = 0; index < m_arrays.size(); ++index) {
            ParameterArray& array = m_arrays[index];
            const BoundParameter& value = made[row][index];
            std::memcpy(array.data.data() + row * array.elementBytes, value.data.data(),
                        std::min(value.data.size(), array.elementBytes));
            array.indicators[row] = value.indicator;
        }
    }
    m_rowStatus.assign(m_rowStatus.size(), SQL_PARAM_UNUSED);
    m_rowsProcessed = 0;
    SQLSetStmtAttrW(m_handle, SQL_ATTR_PARAMSET_SIZE,
                    reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(fitting)), 0);
    return fitting;
}

// Bound once per statement: binding anew would make the driver prepare it again.
void OdbcStatement::declareArrays(const std::vector<BoundParameter>& declarations, size_t capacity) {
    m_rowStatus.assign(capacity, SQL_PARAM_UNUSED);
    SQLSetStmtAttrW(m_handle, SQL_ATTR_PARAM_BIND_TYPE,
                    reinterpret_cast<SQLPOINTER>(SQL_PARAM_BIND_BY_COLUMN), 0);
    SQLSetStmtAttrW(m_handle, SQL_ATTR_PARAM_STATUS_PTR, m_rowStatus.data(), 0);
    SQLSetStmtAttrW(m_handle, SQL_ATTR_PARAMS_PROCESSED_PTR, &m_rowsProcessed, 0);
    m_arrays.resize(declarations.size());
    for (size_t index = 0; index < declarations.size(); ++index) {
        ParameterArray& array = m_arrays[index];
        array.declaration = declarations[index];
        array.declaration.data.clear();
        array.elementBytes = roomFor(declarations[index]);
        array.data.assign(array.elementBytes * capacity, 0);
        array.indicators.assign(capacity, 0);
        SQLBindParameter(m_handle, static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT,
                         array.declaration.cType, array.declaration.sqlType, array.declaration.columnSize,
                         array.declaration.digits, array.data.data(), static_cast<SQLLEN>(array.elementBytes),
                         array.indicators.data());
    }
}

bool OdbcStatement::fitsArrays(const std::vector<BoundParameter>& row) const {
    if (row.size() != m_arrays.size()) {
        return false;
    }
    for (size_t index = 0; index < row.size(); ++index) {
        const auto length = static_cast<size_t>(std::max<SQLLEN>(row[index].indicator, 0));
        if (!m_arrays[index].declaration.sameBinding(row[index]) || length > m_arrays[index].elementBytes) {
            return false;
        }
    }
    return true;
}

std::vector<OdbcStatement::RowStatus> OdbcStatement::rowStatuses() const {
    std::vector<RowStatus> statuses;
    const size_t processed = std::min<size_t>(m_rowsProcessed, m_rowStatus.size());
    for (size_t row = 0; row < processed; ++row) {
        const SQLUSMALLINT status = m_rowStatus[row];
        statuses.push_back(status == SQL_PARAM_SUCCESS || status == SQL_PARAM_SUCCESS_WITH_INFO
                               ? RowStatus::Succeeded
                           : status == SQL_PARAM_ERROR ? RowStatus::Failed
                                                       : RowStatus::NotRun);
    }
    return statuses;
}

} // namespace qormin::db
