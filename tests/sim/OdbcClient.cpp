#include "OdbcClient.h"

#include <QRegularExpression>
#include <algorithm>

namespace qormin::test {

namespace {

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

std::vector<OdbcClient::Message> diagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
    // The driver puts "[FreeTDS][SQL Server]" before the server's own text.
    static const QRegularExpression driverPrefix(QStringLiteral(R"(^(\[[^\]]*\])+)"));
    std::vector<OdbcClient::Message> messages;
    SQLWCHAR state[6] = {};
    SQLINTEGER native = 0;
    SQLWCHAR text[2048] = {};
    SQLSMALLINT length = 0;
    for (SQLSMALLINT record = 1;
         succeeded(SQLGetDiagRecW(handleType, handle, record, state, &native, text, 2048, &length));
         ++record) {
        messages.push_back(
            {QString::fromUtf16(reinterpret_cast<const char16_t*>(state)), static_cast<int>(native),
             QString::fromUtf16(reinterpret_cast<const char16_t*>(text), length).remove(driverPrefix)});
    }
    return messages;
}

} // namespace

QString OdbcClient::Outcome::messageText(int number) const {
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [number](const Message& message) { return message.number == number; });
    return found == messages.end() ? QString() : found->text;
}

QStringList OdbcClient::Outcome::texts() const {
    QStringList result;
    for (const auto& message : messages)
        result.append(message.text);
    return result;
}

QStringList OdbcClient::Outcome::column(qsizetype index) const {
    QStringList cells;
    for (const auto& row : tables.empty() ? std::vector<QStringList>() : tables[0].rows)
        cells.append(row.value(index));
    return cells;
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

bool OdbcClient::connect(const QString& connectionString) {
    std::u16string text = connectionString.toStdU16String();
    SQLSetConnectAttr(m_connection, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(15), 0);
    const SQLRETURN result = SQLDriverConnectW(m_connection, nullptr, sqlText(text), SQL_NTS, nullptr, 0,
                                               nullptr, SQL_DRIVER_NOPROMPT);
    m_login = {succeeded(result), {}, {}, diagnostics(SQL_HANDLE_DBC, m_connection)};
    if (m_login.succeeded)
        SQLAllocHandle(SQL_HANDLE_STMT, m_connection, &m_statement);
    return m_login.succeeded;
}

void OdbcClient::disconnect() {
    if (m_statement != SQL_NULL_HSTMT) {
        SQLFreeHandle(SQL_HANDLE_STMT, m_statement);
        m_statement = SQL_NULL_HSTMT;
        SQLDisconnect(m_connection);
    }
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
    std::u16string text = sql.toStdU16String();
    drain(SQLExecDirectW(m_statement, sqlText(text), SQL_NTS), outcome);
    return outcome;
}

void OdbcClient::drain(SQLRETURN result, Outcome& outcome) {
    outcome.succeeded = succeeded(result) || result == SQL_NO_DATA;
    while (true) {
        bool connectionLost = result == SQL_INVALID_HANDLE;
        for (auto& message : diagnostics(SQL_HANDLE_STMT, m_statement)) {
            connectionLost = connectionLost || isConnectionLoss(message);
            outcome.messages.push_back(std::move(message));
        }
        outcome.succeeded = outcome.succeeded && result != SQL_ERROR && !connectionLost;
        if (connectionLost || !(succeeded(result) || result == SQL_ERROR))
            return;
        SQLSMALLINT columns = 0;
        SQLLEN count = -1;
        if (succeeded(result) && succeeded(SQLNumResultCols(m_statement, &columns)) && columns > 0) {
            outcome.tables.push_back(readTable(columns));
        } else if (succeeded(result)) {
            SQLRowCount(m_statement, &count);
            outcome.rowCounts.push_back(count);
        }
        result = SQLMoreResults(m_statement);
        if (result == SQL_NO_DATA)
            return;
    }
}

OdbcClient::Table OdbcClient::readTable(SQLSMALLINT columnCount) {
    Table table;
    std::vector<SQLSMALLINT> types;
    for (SQLUSMALLINT column = 1; column <= columnCount; ++column) {
        SQLWCHAR name[256] = {};
        SQLSMALLINT nameLength = 0;
        SQLLEN type = 0;
        SQLColAttributeW(m_statement, column, SQL_DESC_NAME, name, sizeof name, &nameLength, nullptr);
        SQLColAttributeW(m_statement, column, SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &type);
        table.columns.append(QString::fromUtf16(reinterpret_cast<const char16_t*>(name), nameLength / 2));
        types.push_back(static_cast<SQLSMALLINT>(type));
    }
    while (succeeded(SQLFetch(m_statement))) {
        QStringList row;
        for (SQLUSMALLINT column = 1; column <= columnCount; ++column)
            row.append(readCell(column, types[column - 1]));
        table.rows.push_back(row);
    }
    return table;
}

QString OdbcClient::readCell(SQLUSMALLINT column, SQLSMALLINT sqlType) {
    const bool binary = sqlType == SQL_BINARY || sqlType == SQL_VARBINARY || sqlType == SQL_LONGVARBINARY;
    // The cells read here are short; a longer one shows as truncated instead of being cut quietly.
    QByteArray data(65536, Qt::Uninitialized);
    SQLLEN indicator = 0;
    const SQLRETURN result = SQLGetData(m_statement, column, binary ? SQL_C_BINARY : SQL_C_WCHAR, data.data(),
                                        data.size(), &indicator);
    if (result == SQL_SUCCESS_WITH_INFO || !succeeded(result))
        return QStringLiteral("<truncated or unreadable>");
    if (indicator == SQL_NULL_DATA)
        return QString::fromLatin1(nullText);
    data.truncate(indicator);
    if (binary)
        return QString::fromLatin1(data.toHex().toUpper());
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(data.constData()), data.size() / 2);
}

} // namespace qormin::test
