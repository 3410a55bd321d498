#pragma once

#include "db/ResultRetention.h"
#include "db/ResultTable.h"

#include <functional>

namespace qormin::db {

class OdbcStatement;
struct OdbcDiagnostic;

// Reads a batch to its very end: every result set fetched, SQLMoreResults until SQL_NO_DATA,
// every message collected. SQL Server cancels a BACKUP or RESTORE whose results are left
// unread, so nothing may stop early except a cancel or a broken connection.
class BatchResultReader {
public:
    using MessageSink = std::function<void(const ServerMessage&)>;

    BatchResultReader(OdbcStatement& statement, ResultRetention retention, MessageSink sink);

    StatementOutcome execute(const QString& sql);
    // For a statement already executed (parameterised): rc is what the execution returned.
    StatementOutcome drain(short rc);

private:
    void absorb(short rc);
    void readCurrentResult();
    void readResultSet(int columnCount);
    bool mustStop(short rc) const;

    OdbcStatement& m_statement;
    ResultRetention m_retention;
    MessageSink m_sink;
    StatementOutcome m_outcome;
    bool m_keptFirst = false;
    bool m_lastCallHadDiagnostics = false;
};

} // namespace qormin::db
