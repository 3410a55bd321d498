#include "sim/DecimalText.h"

#include <algorithm>
#include <vector>

namespace qormin::sim::DecimalText {

namespace {

QByteArray stripLeadingZeros(QByteArray digits) {
    qsizetype first = 0;
    while (first + 1 < digits.size() && digits.at(first) == '0') {
        ++first;
    }
    return digits.mid(first);
}

// Adds one to a decimal digit string, for rounding.
QByteArray increment(QByteArray digits) {
    for (qsizetype i = digits.size() - 1; i >= 0; --i) {
        if (digits[i] != '9') {
            digits[i] = static_cast<char>(digits[i] + 1);
            return digits;
        }
        digits[i] = '0';
    }
    return '1' + digits;
}

} // namespace

std::optional<Scaled> scale(const QString& text, int scale) {
    // Scanned by hand: this runs for every decimal cell of large results.
    const QString trimmed = text.trimmed();
    qsizetype position = 0;
    bool negative = false;
    if (position < trimmed.size() &&
        (trimmed[position] == QLatin1Char('+') || trimmed[position] == QLatin1Char('-'))) {
        negative = trimmed[position] == QLatin1Char('-');
        ++position;
    }
    QByteArray whole;
    QByteArray fraction;
    bool inFraction = false;
    for (; position < trimmed.size(); ++position) {
        const QChar character = trimmed[position];
        if (character == QLatin1Char('.') && !inFraction) {
            inFraction = true;
        } else if (character >= QLatin1Char('0') && character <= QLatin1Char('9')) {
            (inFraction ? fraction : whole).append(static_cast<char>(character.unicode()));
        } else {
            return std::nullopt;
        }
    }
    if (whole.isEmpty() && fraction.isEmpty()) {
        return std::nullopt;
    }
    const bool roundUp = fraction.size() > scale && fraction.at(scale) >= '5';
    fraction = fraction.left(scale).leftJustified(scale, '0');
    QByteArray digits = stripLeadingZeros(whole + fraction);
    if (digits.isEmpty()) {
        digits = "0";
    }
    if (roundUp) {
        digits = increment(digits);
    }
    Scaled result;
    result.digits = digits;
    result.negative = negative && digits != "0";
    return result;
}

std::optional<QByteArray> toMagnitude(const QByteArray& digits, int bytes) {
    std::vector<unsigned> magnitude(static_cast<size_t>(bytes), 0);
    for (const char digit : digits) {
        unsigned carry = static_cast<unsigned>(digit - '0');
        for (auto& byte : magnitude) {
            const unsigned value = byte * 10 + carry;
            byte = value & 0xFF;
            carry = value >> 8;
        }
        if (carry != 0) {
            return std::nullopt;
        }
    }
    QByteArray result(bytes, '\0');
    for (int i = 0; i < bytes; ++i) {
        result[i] = static_cast<char>(magnitude[static_cast<size_t>(i)]);
    }
    return result;
}

QByteArray fromMagnitude(const QByteArray& littleEndian) {
    std::vector<unsigned> bytes;
    for (qsizetype i = littleEndian.size() - 1; i >= 0; --i) {
        bytes.push_back(static_cast<unsigned char>(littleEndian.at(i)));
    }
    QByteArray reversedDigits;
    bool nonZero = true;
    while (nonZero) {
        unsigned remainder = 0;
        nonZero = false;
        for (auto& byte : bytes) {
            const unsigned value = remainder * 256 + byte;
            byte = value / 10;
            remainder = value % 10;
            nonZero = nonZero || byte != 0;
        }
        reversedDigits.append(static_cast<char>('0' + remainder));
    }
    std::reverse(reversedDigits.begin(), reversedDigits.end());
    return reversedDigits;
}

QString format(const QByteArray& digits, int scale, bool negative) {
    QByteArray padded = digits.rightJustified(scale + 1, '0');
    QByteArray text = padded.left(padded.size() - scale);
    if (scale > 0) {
        text += '.' + padded.right(scale);
    }
    if (negative && stripLeadingZeros(digits) != "0") {
        text.prepend('-');
    }
    return QString::fromLatin1(text);
}

std::optional<QString> normalize(const QString& text, int scaleDigits) {
    const auto scaled = scale(text, scaleDigits);
    if (!scaled) {
        return std::nullopt;
    }
    return format(scaled->digits, scaleDigits, scaled->negative);
}

} // namespace qormin::sim::DecimalText
