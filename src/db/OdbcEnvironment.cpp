#include "db/OdbcEnvironment.h"

#include <sql.h>
#include <sqlext.h>

namespace qormin::db {

OdbcEnvironment& OdbcEnvironment::shared() {
    static OdbcEnvironment environment;
    return environment;
}

OdbcEnvironment::OdbcEnvironment() {
    SQLHENV handle = SQL_NULL_HENV;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handle))) {
        return;
    }
    SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    m_handle = handle;
}

OdbcEnvironment::~OdbcEnvironment() {
    if (m_handle != nullptr) {
        SQLFreeHandle(SQL_HANDLE_ENV, m_handle);
    }
}

} // namespace qormin::db
