#pragma once

#include "db/ResultRetention.h"
#include "db/ResultTable.h"

#include <atomic>
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

    // cancelWanted, when given, is polled between driver calls: a cancel that reached the
    // driver while no call was under way would otherwise only close the cursor.
    BatchResultReader(OdbcStatement& statement, ResultRetention retention, MessageSink sink,
                      const std::atomic<bool>* cancelWanted = nullptr);

    StatementOutcome execute(const QString& sql);
    // For a statement already executed (parameterised): rc is what the execution returned.
    StatementOutcome drain(short rc);

private:
    void absorb(short rc);
    void readCurrentResult();
    void readResultSet(int columnCount);
    bool mustStop(short rc);
    bool cancelIfWanted();
    void countRepeats(const QString& errorText);

    OdbcStatement& m_statement;
    ResultRetention m_retention;
    MessageSink m_sink;
    const std::atomic<bool>* m_cancelWanted;
    StatementOutcome m_outcome;
    bool m_keptFirst = false;
    bool m_lastCallHadDiagnostics = false;
    // The same error again and again with nothing in between: a driver that no longer moves.
    QString m_lastErrorText;
    int m_sameErrorRepeats = 0;
};

} // namespace qormin::db
