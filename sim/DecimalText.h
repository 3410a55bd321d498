#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace qormin::sim {

// Exact decimal values travel as text here; TDS wants a sign byte and a little-endian magnitude.
namespace DecimalText {

// "-12.5" with scale 2 -> digits "1250", negative. Rounds half away from zero past the scale.
struct Scaled {
    bool negative = false;
    QByteArray digits; // decimal digits of value * 10^scale, no leading zeros ("0" for zero)
};

std::optional<Scaled> scale(const QString& text, int scale);
// Little-endian magnitude of `digits` in exactly `bytes` bytes; nullopt when it does not fit.
std::optional<QByteArray> toMagnitude(const QByteArray& digits, int bytes);
QByteArray fromMagnitude(const QByteArray& littleEndian);
// Digits with the decimal point put back: ("1250", 2, false) -> "12.50".
QString format(const QByteArray& digits, int scale, bool negative);
// Canonical text of `text` at `scale` digits, nullopt when it is not a number.
std::optional<QString> normalize(const QString& text, int scale);

} // namespace DecimalText

} // namespace qormin::sim
