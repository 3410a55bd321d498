#include "db/OdbcConnection.h"

#include "db/OdbcEnvironment.h"
#include "db/OdbcText.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>

namespace qormin::db {

OdbcConnection::OdbcConnection(OdbcEnvironment& environment) {
    SQLHDBC handle = SQL_NULL_HDBC;
    if (environment.handle() != nullptr &&
        SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, environment.handle(), &handle))) {
        m_handle = handle;
    }
}

OdbcConnection::~OdbcConnection() {
    disconnect();
    if (m_handle != nullptr) {
        SQLFreeHandle(SQL_HANDLE_DBC, m_handle);
    }
}

bool OdbcConnection::connect(const QString& connectionString, int loginTimeoutSeconds,
                             std::vector<OdbcDiagnostic>& diagnostics) {
    if (m_handle == nullptr) {
        OdbcDiagnostic failure;
        failure.sqlState = QStringLiteral("HY001");
        failure.text = QStringLiteral("Cannot allocate an ODBC connection.");
        diagnostics.push_back(failure);
        return false;
    }
    disconnect();
    SQLSetConnectAttrW(m_handle, SQL_ATTR_LOGIN_TIMEOUT,
                       reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(loginTimeoutSeconds)), 0);
    auto text = toSqlWide(connectionString);
    const SQLRETURN rc =
        SQLDriverConnectW(m_handle, nullptr, text.data(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    diagnostics = readDiagnostics(SQL_HANDLE_DBC, m_handle);
    m_connected = SQL_SUCCEEDED(rc);
    return m_connected;
}

QString OdbcConnection::currentCatalog() const {
    if (!m_connected) {
        return {};
    }
    SQLWCHAR name[256] = {};
    SQLINTEGER bytes = 0;
    if (!SQL_SUCCEEDED(SQLGetConnectAttrW(m_handle, SQL_ATTR_CURRENT_CATALOG, name, sizeof name, &bytes))) {
        return {};
    }
    const auto length = std::min<qsizetype>(bytes / static_cast<SQLINTEGER>(sizeof(SQLWCHAR)), 255);
    return fromSqlWide(name, length);
}

void OdbcConnection::disconnect() {
    if (!m_connected) {
        return;
    }
    SQLDisconnect(m_handle);
    m_connected = false;
}

} // namespace qormin::db
