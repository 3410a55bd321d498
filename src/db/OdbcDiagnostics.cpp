#include "db/OdbcDiagnostics.h"

#include "db/OdbcText.h"

#include <sql.h>
#include <sqlext.h>

#include <optional>

namespace qormin::db {

namespace {

// SQL Server driver-specific diagnostic fields (msodbcsql.h values; FreeTDS answers them too).
constexpr SQLSMALLINT diagMessageState = -1150;
constexpr SQLSMALLINT diagSeverity = -1151;
constexpr SQLSMALLINT diagProcedureName = -1153;
constexpr SQLSMALLINT diagLineNumber = -1154;

int integerField(short handleType, void* handle, SQLSMALLINT record, SQLSMALLINT field, int fallback) {
    SQLINTEGER value = 0;
    SQLSMALLINT length = 0;
    const SQLRETURN rc = SQLGetDiagFieldW(handleType, handle, record, field, &value, SQL_IS_INTEGER, &length);
    return SQL_SUCCEEDED(rc) ? static_cast<int>(value) : fallback;
}

QString textField(short handleType, void* handle, SQLSMALLINT record, SQLSMALLINT field) {
    SQLWCHAR buffer[256] = {};
    SQLSMALLINT length = 0;
    const SQLRETURN rc = SQLGetDiagFieldW(handleType, handle, record, field, buffer, sizeof(buffer), &length);
    if (!SQL_SUCCEEDED(rc)) {
        return {};
    }
    const auto characters = std::min<qsizetype>(length / static_cast<qsizetype>(sizeof(SQLWCHAR)), 255);
    return fromSqlWide(buffer, characters);
}

// The narrow call: unixODBC's wide one refuses this field.
qint64 rowNumberField(void* handle, SQLSMALLINT record) {
    SQLLEN value = 0;
    SQLSMALLINT length = 0;
    const SQLRETURN rc =
        SQLGetDiagField(SQL_HANDLE_STMT, handle, record, SQL_DIAG_ROW_NUMBER, &value, 0, &length);
    return SQL_SUCCEEDED(rc) && value > 0 ? static_cast<qint64>(value) : 0;
}

struct RawRecord {
    QString sqlState;
    int nativeError = 0;
    QString message;
};

std::optional<RawRecord> rawRecord(short handleType, void* handle, SQLSMALLINT record) {
    SQLWCHAR state[6] = {};
    SQLINTEGER native = 0;
    std::vector<SQLWCHAR> buffer(1024);
    SQLSMALLINT length = 0;
    SQLRETURN rc = SQLGetDiagRecW(handleType, handle, record, state, &native, buffer.data(),
                                  static_cast<SQLSMALLINT>(buffer.size()), &length);
    if (rc == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(buffer.size())) {
        buffer.resize(static_cast<size_t>(length) + 1);
        rc = SQLGetDiagRecW(handleType, handle, record, state, &native, buffer.data(),
                            static_cast<SQLSMALLINT>(buffer.size()), &length);
    }
    if (!SQL_SUCCEEDED(rc)) {
        return std::nullopt;
    }
    const auto characters = std::min<qsizetype>(length, static_cast<qsizetype>(buffer.size()) - 1);
    return RawRecord{fromSqlWide(state, 5), static_cast<int>(native), fromSqlWide(buffer.data(), characters)};
}

} // namespace

bool OdbcDiagnostic::isCommunicationFailure() const {
    if (sqlState == QLatin1String("08S01") || sqlState == QLatin1String("08003") ||
        sqlState == QLatin1String("08007")) {
        return true;
    }
    // FreeTDS reports a connection the server closed as its own client messages: read failed,
    // write failed, unexpected end of file.
    constexpr int readFailed = 20004;
    constexpr int writeFailed = 20006;
    constexpr int unexpectedEndOfFile = 20017;
    return sqlState == QLatin1String("01000") &&
           (nativeError == readFailed || nativeError == writeFailed || nativeError == unexpectedEndOfFile);
}

ServerMessage OdbcDiagnostic::toServerMessage() const {
    ServerMessage message;
    message.number = nativeError;
    message.severity = severity >= 0 ? severity : (isInformational() ? 0 : 16);
    message.state = state;
    message.line = line;
    message.text = text;
    message.procedure = procedure;
    return message;
}

std::vector<OdbcDiagnostic> readDiagnostics(short handleType, void* handle) {
    std::vector<OdbcDiagnostic> records;
    if (handle == nullptr) {
        return records;
    }
    for (SQLSMALLINT record = 1;; ++record) {
        auto raw = rawRecord(handleType, handle, record);
        if (!raw) {
            break;
        }
        OdbcDiagnostic diagnostic;
        diagnostic.sqlState = raw->sqlState;
        diagnostic.nativeError = raw->nativeError;
        diagnostic.text = withoutDriverPrefixes(raw->message);
        diagnostic.severity = integerField(handleType, handle, record, diagSeverity, -1);
        diagnostic.state = integerField(handleType, handle, record, diagMessageState, 0);
        diagnostic.line = integerField(handleType, handle, record, diagLineNumber, 0);
        diagnostic.procedure = textField(handleType, handle, record, diagProcedureName);
        diagnostic.rowNumber = handleType == SQL_HANDLE_STMT ? rowNumberField(handle, record) : 0;
        records.push_back(std::move(diagnostic));
    }
    return records;
}

QString withoutDriverPrefixes(const QString& message) {
    qsizetype at = 0;
    while (at < message.size() && message.at(at) == QLatin1Char('[')) {
        const qsizetype close = message.indexOf(QLatin1Char(']'), at);
        if (close < 0) {
            break;
        }
        at = close + 1;
    }
    return message.mid(at);
}

QString errorDescription(const std::vector<OdbcDiagnostic>& diagnostics) {
    for (const auto& diagnostic : diagnostics) {
        if (!diagnostic.isInformational()) {
            return diagnostic.text;
        }
    }
    return diagnostics.empty() ? QString() : diagnostics.front().text;
}

} // namespace qormin::db
