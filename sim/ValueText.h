#pragma once

#include "sim/SqlType.h"

#include <QJsonValue>
#include <QString>
#include <QVariant>
#include <optional>

namespace qormin::sim {

// How typed values are held inside the simulator and shown in scenarios and transcripts.
// Integers are qint64, bit is bool, real/float double, decimals and money canonical text,
// dates and times ISO text ("2024-01-31T10:00:00.000"), strings QString, binary QByteArray,
// uniqueidentifier upper-case text; a null QVariant is SQL NULL.
namespace ValueText {

struct DateTimeParts {
    int year = 1900;
    int month = 1;
    int day = 1;
    qint64 ticks = 0; // time of day in 100 ns units
    int offsetMinutes = 0;
};

std::optional<DateTimeParts> parseDateTime(const QString& text);
// Days since 0001-01-01 and back.
qint64 daysSinceEra(const DateTimeParts& parts);
DateTimeParts fromDaysSinceEra(qint64 days);
// ISO text of `parts` as the type shows it (date only, time only, fractional digits by scale).
QString formatDateTime(const DateTimeParts& parts, const SqlType& type);

// A scenario value (number, string, bool, null) converted to the canonical form for `type`.
std::optional<QVariant> fromJson(const QJsonValue& value, const SqlType& type, QString* error);
// The canonical value as JSON: binary as "0x" + upper-case hex, bit as true/false, big integers
// and decimals as text when a double would lose digits.
QJsonValue toJson(const QVariant& value);

} // namespace ValueText

} // namespace qormin::sim
