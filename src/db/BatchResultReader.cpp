#include "db/BatchResultReader.h"

#include "db/OdbcStatement.h"

#include <sql.h>
#include <sqlext.h>

namespace qormin::db {

namespace {
const QString cancelledText = QStringLiteral("Operation was cancelled");
// Far more failing statements in a row, each with the very same text, than any script holds;
// a driver stuck on a dead link reaches it within seconds.
constexpr int stuckDriverRepeats = 100000;
} // namespace

BatchResultReader::BatchResultReader(OdbcStatement& statement, ResultRetention retention, MessageSink sink,
                                     const std::atomic<bool>* cancelWanted)
    : m_statement(statement), m_retention(retention), m_sink(std::move(sink)), m_cancelWanted(cancelWanted) {}

StatementOutcome BatchResultReader::execute(const QString& sql) {
    return drain(m_statement.execDirect(sql));
}

StatementOutcome BatchResultReader::drain(short rc) {
    m_outcome = StatementOutcome();
    m_keptFirst = false;
    m_lastErrorText.clear();
    m_sameErrorRepeats = 0;
    for (;;) {
        absorb(rc);
        if (mustStop(rc)) {
            break;
        }
        if (SQL_SUCCEEDED(rc)) {
            readCurrentResult();
            if (mustStop(rc)) {
                break;
            }
        }
        rc = m_statement.moreResults();
        if (rc == SQL_NO_DATA) {
            break;
        }
    }
    m_statement.closeCursor();
    return std::move(m_outcome);
}

// A cancel, a timeout or a dead link ends the batch; any other error is one statement of
// the batch failing while the rest still has to be read.
bool BatchResultReader::mustStop(short rc) {
    if (cancelIfWanted()) {
        return true;
    }
    if (rc == SQL_INVALID_HANDLE || rc == SQL_STILL_EXECUTING || rc == SQL_NEED_DATA) {
        return true;
    }
    if (m_outcome.cancelled || m_outcome.connectionLost) {
        return true;
    }
    if (m_sameErrorRepeats >= stuckDriverRepeats) {
        // Whatever state the link is in, it is given up: the side connects afresh next time.
        m_outcome.connectionLost = true;
        m_outcome.errorDescription =
            QStringLiteral("The driver reported the same error %1 times in a row: %2")
                .arg(stuckDriverRepeats)
                .arg(m_lastErrorText);
        return true;
    }
    return rc == SQL_ERROR && !m_lastCallHadDiagnostics;
}

// Cancels from this thread, between calls, and marks the batch as cancelled; the cursor close
// that follows reads what the server still sends up to its acknowledgement.
bool BatchResultReader::cancelIfWanted() {
    if (m_cancelWanted == nullptr || !m_cancelWanted->load()) {
        return false;
    }
    if (!m_outcome.cancelled) {
        m_statement.cancel();
        m_outcome.cancelled = true;
        m_outcome.succeeded = false;
    }
    // What the calls after a cancel report is its echo (the driver manager takes a cancel from
    // another thread for a closed cursor: "Invalid cursor state"), not the statement's fault.
    if (!m_outcome.connectionLost) {
        m_outcome.errorDescription = cancelledText;
    }
    return true;
}

void BatchResultReader::absorb(short rc) {
    m_lastCallHadDiagnostics = false;
    if (rc == SQL_SUCCESS || rc == SQL_NO_DATA) {
        return;
    }
    const auto diagnostics = m_statement.diagnostics();
    m_lastCallHadDiagnostics = !diagnostics.empty();
    QString lostConnectionText;
    for (const auto& diagnostic : diagnostics) {
        if (diagnostic.isCancel()) {
            m_outcome.cancelled = true;
        }
        ServerMessage message = diagnostic.toServerMessage();
        // FreeTDS may report a connection lost between two results of a batch as a mere
        // warning of an otherwise successful call: it still ends the statement unfinished.
        if (diagnostic.isCommunicationFailure()) {
            m_outcome.connectionLost = true;
            lostConnectionText = diagnostic.text;
            message.severity = std::max(message.severity, 11);
        }
        if (rc == SQL_ERROR && !diagnostic.isInformational()) {
            message.severity = std::max(message.severity, 11);
        }
        if (m_sink) {
            m_sink(message);
        }
        m_outcome.messages.push_back(std::move(message));
    }
    if (rc != SQL_ERROR && lostConnectionText.isEmpty()) {
        return;
    }
    m_outcome.succeeded = false;
    countRepeats(errorDescription(diagnostics));
    if (!m_outcome.errorDescription.isEmpty()) {
        return;
    }
    m_outcome.errorDescription =
        lostConnectionText.isEmpty() ? errorDescription(diagnostics) : lostConnectionText;
    if (m_outcome.errorDescription.isEmpty()) {
        m_outcome.errorDescription =
            QStringLiteral("The statement failed without a message from the driver.");
    }
}

void BatchResultReader::countRepeats(const QString& errorText) {
    m_sameErrorRepeats = errorText == m_lastErrorText ? m_sameErrorRepeats + 1 : 1;
    m_lastErrorText = errorText;
}

void BatchResultReader::readCurrentResult() {
    m_sameErrorRepeats = 0;
    const int columnCount = m_statement.resultColumnCount();
    if (columnCount > 0) {
        readResultSet(columnCount);
        return;
    }
    const qint64 count = m_statement.rowCount();
    if (count >= 0) {
        m_outcome.rowCounts.push_back(count);
    }
}

void BatchResultReader::readResultSet(int columnCount) {
    const bool keep = m_retention == ResultRetention::AllResultSets ||
                      (m_retention == ResultRetention::FirstResultSet && !m_keptFirst);
    ResultTable table;
    if (keep) {
        table.columns.reserve(static_cast<size_t>(columnCount));
        for (int column = 0; column < columnCount; ++column) {
            table.columns.push_back(m_statement.describeColumn(column));
        }
    }
    for (;;) {
        const short rc = m_statement.fetch();
        if (rc == SQL_NO_DATA) {
            break;
        }
        absorb(rc);
        if (!SQL_SUCCEEDED(rc) || cancelIfWanted()) {
            break;
        }
        if (!keep) {
            continue;
        }
        std::vector<QVariant> row;
        row.reserve(table.columns.size());
        for (int column = 0; column < columnCount; ++column) {
            row.push_back(m_statement.value(column, table.columns[static_cast<size_t>(column)]));
        }
        table.rows.push_back(std::move(row));
    }
    if (keep) {
        m_outcome.resultSets.push_back(std::move(table));
        m_keptFirst = true;
    }
}

} // namespace qormin::db
