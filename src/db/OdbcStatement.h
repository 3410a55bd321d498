#pragma once

#include "db/OdbcDiagnostics.h"
#include "db/ResultTable.h"

#include <QString>
#include <QVariant>
#include <memory>
#include <vector>

namespace qormin::db {

class OdbcConnection;
struct OdbcParameter;

// Owns one ODBC statement handle and every buffer bound to it. All calls come from the thread
// that runs the statement, except interrupt(), which another thread may call at any time.
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
    // From the thread that runs the statement, between calls.
    bool cancel();
    // From another thread. The driver manager is not safe for a cancel that overlaps any call on
    // the statement but the ones that wait for the server, so only a call that has been waiting
    // a while (execute, fetch, next result) is cancelled, and anything else is left alone: the
    // statement's next such call then fails as cancelled without being made, until
    // clearInterrupt(). Called again, it cancels a call that has come to wait since.
    void interrupt();
    void clearInterrupt();
    void closeCursor();
    std::vector<OdbcDiagnostic> diagnostics() const;

    // Binds @P<number> (1-based) as the target column's SQL type; the values are copied.
    void bindParameter(int number, const ColumnInfo& target, const QVariant& value);
    void resetParameters();

    // Binds rows[first..] as arrays of parameters, for one execute() of them all (each row its
    // own statement on the server). Bound once per statement with room for `capacity` rows;
    // later calls only fill the arrays. Returns how many leading rows were bound: a row whose
    // values need another declaration than the bound one stops the run (send it apart).
    size_t bindParameterRows(const std::vector<ColumnInfo>& targets,
                             const std::vector<std::vector<QVariant>>& rows, size_t first, size_t capacity);
    enum class RowStatus { Succeeded, Failed, NotRun };
    // After execute() of bound rows: the driver's word on each row it reached, in order.
    std::vector<RowStatus> rowStatuses() const;

private:
    struct ParameterArray;

    void declareArrays(const std::vector<OdbcParameter>& declarations, size_t capacity);
    bool fitsArrays(const std::vector<OdbcParameter>& row) const;

    void readServerFilledKind(int index, ColumnInfo& column);
    void bindSlot(int number, OdbcParameter parameter);

    struct InterruptGate;
    template <typename Call> short waitingCall(Call call);

    void* m_handle = nullptr;
    std::unique_ptr<InterruptGate> m_interrupts;
    bool m_lastCallSkipped = false;
    int m_queryTimeout = -1;
    std::vector<char> m_scratch;
    std::vector<std::unique_ptr<OdbcParameter>> m_parameters;
    std::vector<ParameterArray> m_arrays;
    std::vector<unsigned short> m_rowStatus;
    unsigned long m_rowsProcessed = 0;
};

} // namespace qormin::db
