#include "db/OdbcStatement.h"

#include "db/OdbcConnection.h"
#include "db/OdbcText.h"
#include "db/OdbcValue.h"

#include <algorithm>
#include <sql.h>
#include <sqlext.h>

#include <chrono>
#include <cstring>
#include <mutex>
#include <utility>

namespace qormin::db {

// One parameter's values for every row of a run, side by side, bound once.
struct OdbcStatement::ParameterArray {
    OdbcParameter declaration; // how every row's value is declared; data unused
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
    return readOdbcValue(m_handle, index, column, m_scratch);
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
    bindSlot(number, makeOdbcParameter(target, value));
}

// A parameter bound as before keeps its buffer: only the bytes change. Binding anew would make
// the driver prepare the statement again on the server (sp_prepexec instead of sp_execute).
void OdbcStatement::bindSlot(int number, OdbcParameter parameter) {
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
    parameter.data.resize(parameter.room());
    bound = std::make_unique<OdbcParameter>(std::move(parameter));
    SQLBindParameter(m_handle, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT, bound->cType,
                     bound->sqlType, bound->columnSize, bound->digits, bound->data.data(),
                     static_cast<SQLLEN>(bound->data.size()), &bound->indicator);
}

size_t OdbcStatement::bindParameterRows(const std::vector<ColumnInfo>& targets,
                                        const std::vector<std::vector<QVariant>>& rows, size_t first,
                                        size_t capacity) {
    const size_t available = std::min(rows.size() - first, capacity);
    std::vector<std::vector<OdbcParameter>> made(available);
    for (size_t row = 0; row < available; ++row) {
        const auto& values = rows[first + row];
        for (size_t index = 0; index < values.size(); ++index) {
            made[row].push_back(
                makeOdbcParameter(index < targets.size() ? targets[index] : ColumnInfo{}, values[index]));
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
            const OdbcParameter& value = made[row][index];
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
void OdbcStatement::declareArrays(const std::vector<OdbcParameter>& declarations, size_t capacity) {
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
        array.elementBytes = declarations[index].room();
        array.data.assign(array.elementBytes * capacity, 0);
        array.indicators.assign(capacity, 0);
        SQLBindParameter(m_handle, static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT,
                         array.declaration.cType, array.declaration.sqlType, array.declaration.columnSize,
                         array.declaration.digits, array.data.data(), static_cast<SQLLEN>(array.elementBytes),
                         array.indicators.data());
    }
}

bool OdbcStatement::fitsArrays(const std::vector<OdbcParameter>& row) const {
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
