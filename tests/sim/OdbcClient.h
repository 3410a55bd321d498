#pragma once

#include "QStringPrinter.h"

#include <QStringList>
#include <sql.h>
#include <sqlext.h>
#include <vector>

namespace qormin::test {

// The bytes of a C value or of a text as UTF-16, for OdbcClient::Parameter.
template <typename T> QByteArray bytesOf(const T& value) {
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}
inline QByteArray wideBytes(const QString& text) {
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
}

// Raw ODBC calls, as a client of the simulated server makes them; every result is drained.
class OdbcClient {
public:
    struct Message {
        QString state;
        int number = 0;
        QString text;
    };
    struct Table {
        QStringList columns;
        std::vector<QStringList> rows; // cells as text; NULL as "<null>", binary as upper-case hex
    };
    struct Outcome {
        bool succeeded = false;
        std::vector<Table> tables;
        std::vector<SQLLEN> rowCounts; // one per result without columns
        std::vector<Message> messages;
        QString messageText(int number) const;
        QStringList texts() const;
        QStringList column(qsizetype index) const; // of the first table
    };
    struct Parameter {
        SQLSMALLINT valueType;
        SQLSMALLINT parameterType;
        SQLULEN columnSize;
        SQLSMALLINT decimalDigits;
        QByteArray data; // the C value's bytes
        bool isNull = false;
    };
    static constexpr const char* nullText = "<null>";

    OdbcClient();
    ~OdbcClient();
    OdbcClient(const OdbcClient&) = delete;
    OdbcClient& operator=(const OdbcClient&) = delete;

    bool connect(const QString& connectionString);
    void disconnect();
    // Sends `sql` with the given parameters bound (SQLBindParameter), then drains the results.
    Outcome execute(const QString& sql, const std::vector<Parameter>& parameters = {});
    SQLHSTMT statement() const { return m_statement; }
    // What the last connect() answered: its success and messages.
    const Outcome& login() const { return m_login; }

private:
    void drain(SQLRETURN result, Outcome& outcome);
    Table readTable(SQLSMALLINT columnCount);
    QString readCell(SQLUSMALLINT column, SQLSMALLINT sqlType);

    SQLHENV m_environment = SQL_NULL_HENV;
    SQLHDBC m_connection = SQL_NULL_HDBC;
    SQLHSTMT m_statement = SQL_NULL_HSTMT;
    Outcome m_login;
};

} // namespace qormin::test
