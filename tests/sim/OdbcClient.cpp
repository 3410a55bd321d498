#include "OdbcClient.h"

#include <QRegularExpression>

namespace qormin::test {

namespace {

std::u16string wide(const QString& text) {
    return text.toStdU16String();
}

SQLWCHAR* sqlText(std::u16string& text) {
    return reinterpret_cast<SQLWCHAR*>(text.data());
}

bool succeeded(SQLRETURN result) {
    return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

// FreeTDS reports a closed socket as 01000 / 20017 "Unexpected EOF from the server" (or a read or
// write failure), and afterwards SQLMoreResults answers HY000 "Unknown error" for ever.
bool isConnectionLoss(const OdbcClient::Message& message) {
    return message.state.startsWith(QLatin1String("08")) || message.number == 20017 ||
           message.number == 20004 || message.number == 20006;
}

bool isBinary(SQLSMALLINT type) {
    return type == SQL_BINARY || type == SQL_VARBINARY || type == SQL_LONGVARBINARY;
}

} // namespace

QString OdbcClient::Outcome::messageText(int number) const {
    for (const auto& message : messages) {
        if (message.number == number) {
            return message.text;
        }
    }
    return QString();
}

OdbcClient::OdbcClient() {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &m_environment);
    SQLSetEnvAttr(m_environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, m_environment, &m_connection);
}

OdbcClient::~OdbcClient() {
    disconnect();
    SQLFreeHandle(SQL_HANDLE_DBC, m_connection);
    SQLFreeHandle(SQL_HANDLE_ENV, m_environment);
}

std::vector<OdbcClient::Message> OdbcClient::diagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
    std::vector<Message> messages;
    for (SQLSMALLINT record = 1;; ++record) {
        SQLWCHAR state[6] = {};
        SQLINTEGER native = 0;
        SQLWCHAR text[2048] = {};
        SQLSMALLINT length = 0;
        if (!succeeded(SQLGetDiagRecW(handleType, handle, record, state, &native, text, 2048, &length))) {
            break;
        }
        // The driver puts "[FreeTDS][SQL Server]" before the server's own text.
        static const QRegularExpression driverPrefix(QStringLiteral(R"(^(\[[^\]]*\])+)"));
        messages.push_back(
            {QString::fromUtf16(reinterpret_cast<const char16_t*>(state)), static_cast<int>(native),
             QString::fromUtf16(reinterpret_cast<const char16_t*>(text), length).remove(driverPrefix)});
    }
    return messages;
}

bool OdbcClient::connect(const QString& connectionString) {
    std::u16string text = wide(connectionString);
    SQLSetConnectAttr(m_connection, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(15), 0);
    const SQLRETURN result = SQLDriverConnectW(m_connection, nullptr, sqlText(text), SQL_NTS, nullptr, 0,
                                               nullptr, SQL_DRIVER_NOPROMPT);
    m_connectMessages = diagnostics(SQL_HANDLE_DBC, m_connection);
    if (!succeeded(result)) {
        return false;
    }
    SQLAllocHandle(SQL_HANDLE_STMT, m_connection, &m_statement);
    return true;
}

void OdbcClient::disconnect() {
    if (m_statement != SQL_NULL_HSTMT) {
        SQLFreeHandle(SQL_HANDLE_STMT, m_statement);
        m_statement = SQL_NULL_HSTMT;
        SQLDisconnect(m_connection);
    }
}

OdbcClient::Outcome OdbcClient::execute(const QString& sql) {
    return execute(sql, {});
}

OdbcClient::Outcome OdbcClient::execute(const QString& sql, const std::vector<Parameter>& parameters) {
    Outcome outcome;
    SQLFreeStmt(m_statement, SQL_CLOSE);
    SQLFreeStmt(m_statement, SQL_RESET_PARAMS);
    std::vector<SQLLEN> indicators(parameters.size());
    for (size_t i = 0; i < parameters.size(); ++i) {
        const Parameter& parameter = parameters[i];
        indicators[i] = parameter.isNull ? SQL_NULL_DATA : static_cast<SQLLEN>(parameter.data.size());
        SQLBindParameter(m_statement, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT, parameter.valueType,
                         parameter.parameterType, parameter.columnSize, parameter.decimalDigits,
                         const_cast<char*>(parameter.data.constData()), parameter.data.size(),
                         &indicators[i]);
    }
    std::u16string text = wide(sql);
    drain(SQLExecDirectW(m_statement, sqlText(text), SQL_NTS), outcome);
    return outcome;
}

OdbcClient::Outcome OdbcClient::executeAndCancel(const QString& sql) {
    Outcome outcome;
    SQLFreeStmt(m_statement, SQL_CLOSE);
    std::u16string text = wide(sql);
    const SQLRETURN result = SQLExecDirectW(m_statement, sqlText(text), SQL_NTS);
    outcome.succeeded = succeeded(result);
    if (outcome.succeeded && succeeded(SQLFetch(m_statement))) {
        outcome.tables.push_back(Table{{}, {QStringList{readCell(1, SQL_WVARCHAR)}}});
    }
    outcome.succeeded = succeeded(SQLCancel(m_statement)) && outcome.succeeded;
    SQLFreeStmt(m_statement, SQL_CLOSE);
    return outcome;
}

void OdbcClient::drain(SQLRETURN result, Outcome& outcome) {
    outcome.succeeded = succeeded(result) || result == SQL_NO_DATA;
    while (true) {
        bool connectionLost = false;
        for (auto& message : diagnostics(SQL_HANDLE_STMT, m_statement)) {
            connectionLost = connectionLost || isConnectionLoss(message);
            outcome.messages.push_back(std::move(message));
        }
        if (result == SQL_ERROR) {
            outcome.succeeded = false;
        }
        if (connectionLost || result == SQL_INVALID_HANDLE) {
            outcome.succeeded = false;
            break;
        }
        if (succeeded(result)) {
            SQLSMALLINT columns = 0;
            SQLNumResultCols(m_statement, &columns);
            if (columns > 0) {
                outcome.tables.push_back(readTable(columns));
            } else {
                SQLLEN count = -1;
                SQLRowCount(m_statement, &count);
                outcome.rowCounts.push_back(count);
            }
        }
        if (result != SQL_SUCCESS && result != SQL_SUCCESS_WITH_INFO && result != SQL_ERROR) {
            break;
        }
        result = SQLMoreResults(m_statement);
        if (result == SQL_NO_DATA) {
            break;
        }
    }
}

OdbcClient::Table OdbcClient::readTable(SQLSMALLINT columnCount) {
    Table table;
    std::vector<SQLSMALLINT> types;
    for (SQLUSMALLINT column = 1; column <= columnCount; ++column) {
        SQLWCHAR name[256] = {};
        SQLSMALLINT nameLength = 0;
        SQLSMALLINT type = 0;
        SQLULEN size = 0;
        SQLSMALLINT digits = 0;
        SQLSMALLINT nullable = 0;
        SQLDescribeColW(m_statement, column, name, 256, &nameLength, &type, &size, &digits, &nullable);
        table.columns.append(QString::fromUtf16(reinterpret_cast<const char16_t*>(name), nameLength));
        types.push_back(type);
    }
    while (succeeded(SQLFetch(m_statement))) {
        QStringList row;
        for (SQLUSMALLINT column = 1; column <= columnCount; ++column) {
            row.append(readCell(column, types[column - 1]));
        }
        table.rows.push_back(row);
    }
    return table;
}

QString OdbcClient::readCell(SQLUSMALLINT column, SQLSMALLINT sqlType) {
    QByteArray data;
    const bool binary = isBinary(sqlType);
    const SQLSMALLINT target = binary ? SQL_C_BINARY : SQL_C_WCHAR;
    char buffer[4096];
    while (true) {
        SQLLEN indicator = 0;
        const SQLRETURN result = SQLGetData(m_statement, column, target, buffer, sizeof buffer, &indicator);
        if (result == SQL_NO_DATA || !succeeded(result)) {
            break;
        }
        if (indicator == SQL_NULL_DATA) {
            return QString::fromLatin1(nullText);
        }
        const qsizetype terminator = binary ? 0 : 2;
        const qsizetype available = static_cast<qsizetype>(sizeof buffer) - terminator;
        const bool truncated = result == SQL_SUCCESS_WITH_INFO &&
                               (indicator == SQL_NO_TOTAL || indicator > static_cast<SQLLEN>(available));
        data.append(buffer, truncated ? available : static_cast<qsizetype>(indicator));
        if (!truncated) {
            break;
        }
    }
    if (binary) {
        return QString::fromLatin1(data.toHex().toUpper());
    }
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(data.constData()), data.size() / 2);
}

} // namespace qormin::test
