#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <vector>

namespace qormin::db {

// One diagnostic record of an ODBC handle, with the SQL Server extras the driver offers.
struct OdbcDiagnostic {
    QString sqlState;
    int nativeError = 0;
    QString text;      // without "[vendor][component]" prefixes
    int severity = -1; // -1 when the driver does not report it
    int state = 0;
    int line = 0;
    QString procedure;
    qint64 rowNumber = 0; // of a statement run for several rows at once: the row (from 1); 0 unknown

    bool isInformational() const { return sqlState.startsWith(QLatin1String("01")); }
    // A statement ended by Cancel (HY008) or by its own time limit (HYT00).
    bool isCancel() const { return sqlState == QLatin1String("HY008") || sqlState == QLatin1String("HYT00"); }
    bool isCommunicationFailure() const;
    ServerMessage toServerMessage() const;
};

// Reads every diagnostic record the last call left on the handle.
std::vector<OdbcDiagnostic> readDiagnostics(short handleType, void* handle);

// "[FreeTDS][SQL Server]Invalid object name 'x'." -> "Invalid object name 'x'."
QString withoutDriverPrefixes(const QString& message);

// The description a user sees for a failure: the first error record's text.
QString errorDescription(const std::vector<OdbcDiagnostic>& diagnostics);

} // namespace qormin::db
