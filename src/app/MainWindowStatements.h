#pragma once

#include <QString>

namespace qormin::app {

// The statements and folder texts of the main window's database lists and default paths.
namespace MainWindowStatements {

// The side's databases, system databases left out.
QString databaseList();
// One row per listed database: state, recovery model, data and log size in MB, the last full and
// log backup from msdb's history with their age in minutes on the server's own clock (so the
// workstation's clock and time zone do not matter). Read-only; fails where msdb keeps no history.
QString databaseHealth();
// Switches the connection's current database (sent through OpenRecordset, as always).
QString useDatabase(const QString& database);
// Tables of the current database with their sizes, largest first.
QString tableSizes();
// The row count of one table, read from sysindexes.
QString tableRowCount(const QString& table);
// cmdDefaultPaths: a side's backup folder and the shared one (always from the left server).
QString defaultBackupFolder(const QString& server);
QString defaultSharedFolder(const QString& leftServer);

} // namespace MainWindowStatements

} // namespace qormin::app
