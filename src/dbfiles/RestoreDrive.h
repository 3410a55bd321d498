#pragma once

#include <QString>
#include <QStringList>

namespace qormin::dbfiles {

// The values are the offsets of the drive boxes within a side.
enum class DatabaseKind { Financial = 0, Clinical = 1, Other = 2 };

// Chooses the data-file drive of a restore by the kind of database its name suggests.
class RestoreDrive {
public:
    RestoreDrive() = delete;

    // 1-based position of fragment in upperName ignoring case, 0 when absent.
    static int ContainsText(const QString& upperName, const QString& fragment);

    // Financial fragments are tried first, so a name matching both lists is financial.
    static DatabaseKind kindOf(const QString& databaseName);

    // Index into txtRestoreTO: financial, clinical, other = 0..2 on side 0, 3..5 on side 1.
    static int restoreToIndex(const QString& databaseName, int side);

    // Upper-cases databaseName in place, as callers have always seen it, and returns the
    // txtRestoreTO text for it; restoreTo holds the six box texts (a missing one reads "").
    static QString GetRestoreDrive(QString& databaseName, int side, const QStringList& restoreTo);
};

} // namespace qormin::dbfiles
