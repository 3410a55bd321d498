#pragma once

#include "db/OdbcDiagnostics.h"
#include "db/ResultTable.h"

#include <QString>
#include <QVariant>
#include <memory>
#include <vector>

namespace qormin::db {

class OdbcConnection;

// Owns one ODBC statement handle and every buffer bound to it. All calls come from the thread
// that runs the statement, except cancel(), which another thread may call while it runs.
class OdbcStatement {
public:
    explicit OdbcStatement(OdbcConnection& connection);
    ~OdbcStatement();
    OdbcStatement(const OdbcStatement&) = delete;
    OdbcStatement& operator=(const OdbcStatement&) = delete;

    bool isValid() const { return m_handle != nullptr; }
    void setQueryTimeout(int seconds);

    // The return codes are the ODBC ones (SQL_SUCCESS, SQL_NO_DATA, SQL_ERROR, ...).
    short execDirect(const QString& sql);
    // Prepared once, executed many times with freshly bound parameters.
    short prepare(const QString& sql);
    short execute();
    short moreResults();
    short fetch();
    int resultColumnCount();
    ColumnInfo describeColumn(int index);
    // The current row's value of a column (0-based, read in order); an invalid QVariant for NULL.
    QVariant value(int index, const ColumnInfo& column);
    qint64 rowCount();
    bool cancel();
    void closeCursor();
    std::vector<OdbcDiagnostic> diagnostics() const;

    // Binds @P<number> (1-based) as the target column's SQL type; the values are copied.
    void bindParameter(int number, const ColumnInfo& target, const QVariant& value);
    void resetParameters();

private:
    struct BoundParameter;

    void readServerFilledKind(int index, ColumnInfo& column);
    void bindSlot(int number, BoundParameter parameter);
    QVariant readText(int column);
    QVariant readBinary(int column);
    QVariant readTime(int column);

    void* m_handle = nullptr;
    int m_queryTimeout = -1;
    std::vector<char> m_scratch;
    std::vector<std::unique_ptr<BoundParameter>> m_parameters;
};

} // namespace qormin::db
