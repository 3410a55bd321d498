#include "sim/ColumnGenerator.h"

#include "sim/ValueText.h"

#include <QJsonValue>

namespace qormin::sim {

namespace {

bool isDateKind(const SqlType& type) {
    switch (type.kind) {
    case SqlType::Kind::SmallDateTime:
    case SqlType::Kind::DateTime:
    case SqlType::Kind::Date:
    case SqlType::Kind::DateTime2:
    case SqlType::Kind::DateTimeOffset:
        return true;
    default:
        return false;
    }
}

QVariant fromText(const QString& text, const SqlType& type) {
    if (type.isCharacter()) {
        return text;
    }
    const auto value = ValueText::fromJson(QJsonValue(text), type, nullptr);
    return value ? *value : QVariant();
}

QVariant sequenceValue(double number, const SqlType& type) {
    if (type.isInteger()) {
        return QVariant(static_cast<qint64>(number));
    }
    if (type.kind == SqlType::Kind::Bit) {
        return QVariant(static_cast<qint64>(number) % 2 != 0);
    }
    if (type.kind == SqlType::Kind::Real || type.kind == SqlType::Kind::Float) {
        return QVariant(number);
    }
    return fromText(QString::number(number, 'f', 6), type);
}

QVariant dateSequenceValue(const QString& startDate, double dayOffset, const SqlType& type) {
    auto parts = ValueText::parseDateTime(startDate.isEmpty() ? QStringLiteral("2000-01-01") : startDate);
    if (!parts) {
        return QVariant();
    }
    const auto day =
        ValueText::fromDaysSinceEra(ValueText::daysSinceEra(*parts) + static_cast<qint64>(dayOffset));
    parts->year = day.year;
    parts->month = day.month;
    parts->day = day.day;
    return ValueText::formatDateTime(*parts, type);
}

QString expandTemplate(const QString& text, qint64 rowNumber) {
    QString result = text;
    result.replace(QLatin1String("{n}"), QString::number(rowNumber));
    result.replace(QLatin1String("{hex}"),
                   QStringLiteral("%1").arg(rowNumber, 8, 16, QLatin1Char('0')).toUpper());
    return result;
}

} // namespace

QVariant ColumnGenerator::valueFor(qint64 rowNumber, const SqlType& type) const {
    if (nullEvery > 0 && rowNumber % nullEvery == 0) {
        return QVariant();
    }
    switch (kind) {
    case Kind::Constant:
        return constant;
    case Kind::Cycle:
        return cycle.isEmpty() ? QVariant()
                               : cycle.at(static_cast<qsizetype>((rowNumber - 1) % cycle.size()));
    case Kind::Template:
        return fromText(expandTemplate(text, rowNumber), type);
    case Kind::Sequence:
        if (isDateKind(type)) {
            return dateSequenceValue(startDate, step * static_cast<double>(rowNumber - 1), type);
        }
        return sequenceValue(start + step * static_cast<double>(rowNumber - 1), type);
    case Kind::Default:
        break;
    }
    if (isDateKind(type)) {
        return dateSequenceValue(QString(), static_cast<double>(rowNumber - 1), type);
    }
    if (type.isCharacter() || type.kind == SqlType::Kind::UniqueIdentifier) {
        return fromText(
            type.kind == SqlType::Kind::UniqueIdentifier
                ? QStringLiteral("00000000-0000-0000-0000-%1").arg(rowNumber, 12, 10, QLatin1Char('0'))
                : QString::number(rowNumber),
            type);
    }
    if (type.isBinary()) {
        return fromText(expandTemplate(QStringLiteral("{hex}"), rowNumber), type);
    }
    if (type.kind == SqlType::Kind::Time) {
        return fromText(QStringLiteral("00:00:%1").arg(rowNumber % 60, 2, 10, QLatin1Char('0')), type);
    }
    return sequenceValue(static_cast<double>(rowNumber), type);
}

} // namespace qormin::sim
