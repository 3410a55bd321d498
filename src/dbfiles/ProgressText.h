#pragma once

#include <QString>

namespace qormin::dbfiles {

// How far a backup, restore or verify has come, in the words the window shows:
// "Backup Billing — 37%, about 2 min left".
class ProgressText {
public:
    ProgressText() = delete;

    // label: "Backup Billing"; millisecondsLeft is the server's estimate (0: none given).
    static QString describe(const QString& label, double percent, qint64 millisecondsLeft);
    // The one log line when progress cannot be read: the statement itself goes on.
    static QString unavailable(const QString& label, const QString& reason);
};

} // namespace qormin::dbfiles
