#include "dbfiles/ProgressText.h"

#include <algorithm>
#include <cmath>

namespace qormin::dbfiles {

namespace {

constexpr qint64 minute = 60 * 1000;

QString timeLeft(qint64 milliseconds) {
    if (milliseconds <= 0)
        return QString();
    if (milliseconds < minute)
        return QStringLiteral(", less than a minute left");
    const qint64 minutes = (milliseconds + minute / 2) / minute;
    return QStringLiteral(", about %1 min left").arg(minutes);
}

} // namespace

QString ProgressText::describe(const QString& label, double percent, qint64 millisecondsLeft) {
    // Rounded down, so 100% shows only once the server says it is done.
    const int whole = static_cast<int>(std::floor(std::clamp(percent, 0.0, 100.0)));
    return label + QStringLiteral(" \u2014 %1%").arg(whole) + timeLeft(millisecondsLeft);
}

QString ProgressText::unavailable(const QString& label, const QString& reason) {
    return QStringLiteral("No progress for %1 (it goes on): %2").arg(label, reason);
}

} // namespace qormin::dbfiles
