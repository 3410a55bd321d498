#include "app/DatabaseHealth.h"

#include <QStringList>

namespace qormin::app {

namespace {

constexpr qint64 minutesPerHour = 60;
constexpr qint64 minutesPerDay = 24 * minutesPerHour;
// Up to two days an age reads in hours, since a nightly backup's age is counted in hours.
constexpr qint64 hoursShownUpTo = 2 * minutesPerDay;

bool overdue(const std::optional<qint64>& ageMinutes, int limitHours) {
    return !ageMinutes || *ageMinutes > limitHours * minutesPerHour;
}

} // namespace

QString ageText(qint64 minutes) {
    minutes = std::max<qint64>(minutes, 0);
    if (minutes < minutesPerHour)
        return QString::number(minutes) + QStringLiteral(" min");
    if (minutes < hoursShownUpTo)
        return QString::number(minutes / minutesPerHour) + QStringLiteral(" h");
    return QString::number(minutes / minutesPerDay) + QStringLiteral(" d");
}

QString backupAttention(const DatabaseHealth& health, const BackupThresholds& limits) {
    if (health.state.compare(QLatin1String("ONLINE"), Qt::CaseInsensitive) != 0)
        return {};
    QStringList reasons;
    if (overdue(health.fullAgeMinutes, limits.fullBackupHours)) {
        reasons.append(health.fullAgeMinutes ? QStringLiteral("full backup ") +
                                                   ageText(*health.fullAgeMinutes) + QStringLiteral(" old")
                                             : QStringLiteral("no full backup"));
    }
    const bool fullRecovery = health.recovery.compare(QLatin1String("FULL"), Qt::CaseInsensitive) == 0;
    if (fullRecovery && overdue(health.logAgeMinutes, limits.logBackupHours)) {
        reasons.append(health.logAgeMinutes ? QStringLiteral("log backup ") + ageText(*health.logAgeMinutes) +
                                                  QStringLiteral(" old")
                                            : QStringLiteral("no log backup"));
    }
    return reasons.join(QStringLiteral("; "));
}

} // namespace qormin::app
