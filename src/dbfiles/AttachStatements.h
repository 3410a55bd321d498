#pragma once

#include "dbfiles/CopyOrder.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace qormin::dbfiles {

// Attach, detach and drop statements, and the backup copies from the left share to the right.
class AttachStatements {
public:
    AttachStatements() = delete;

    // cmdAttachAll: three attempts that differ only in the log file's name (.ldf, _1.ldf,
    // _log.ldf). A "\" always goes between folder and file, doubled when the folder ends in one.
    static QStringList attachAttempts(const QString& database, const QString& folder);
    static QString detach(const QString& database); // cmdDetachAll
    static QString drop(const QString& database);   // cmdDrop

    // cmdCopy: <db>.BAK unless logOnly, then <db>_log.BAK, from x:\MIR\ to y:\MIR\.
    static QList<CopyOrder> backupCopies(const QString& database, bool logOnly);
};

} // namespace qormin::dbfiles
