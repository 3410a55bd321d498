#pragma once

#include <QString>
#include <optional>

namespace qormin::app {

// How old a backup may grow before its database is marked in the database grid (Options page).
struct BackupThresholds {
    int fullBackupHours = 24;
    int logBackupHours = 1;
};

// What the health query says about one database's backups.
struct DatabaseHealth {
    QString state;                        // sys.databases.state_desc: ONLINE, RESTORING, OFFLINE, ...
    QString recovery;                     // FULL, BULK_LOGGED, SIMPLE
    std::optional<qint64> fullAgeMinutes; // none: never backed up
    std::optional<qint64> logAgeMinutes;
};

// Why the database's backups need the operator: empty when they are in time. Only databases that
// are online are judged, since no other state can be backed up (a mirror or a restore in
// progress would be marked for ever).
QString backupAttention(const DatabaseHealth& health, const BackupThresholds& limits);
// "45 min", "5 h", "3 d": whole units, rounded down, the unit chosen so the number stays small.
QString ageText(qint64 minutes);

} // namespace qormin::app
