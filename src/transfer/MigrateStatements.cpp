#include "transfer/MigrateStatements.h"

#include <QDateTime>

namespace qormin::transfer::MigrateStatements {

const QString noDestinationFields = QStringLiteral("No destination fields");
const QString simulateNoDestinationFields = QStringLiteral("Simulate: No destination fields ");
const QString simulateCopying = QStringLiteral("Simulate copying data");
const QString done = QStringLiteral("Done.");
const QString itemNotFound =
    QStringLiteral("Item cannot be found in the collection corresponding to the requested name or ordinal.");
const QString doesNotFit =
    QStringLiteral("Multiple-step operation generated errors. Check each status value.");

QString countQuery(const QString& sourceTable) {
    return QStringLiteral("SELECT COUNT (1) FROM ") + sourceTable + QStringLiteral(" AS RECCOUNT");
}

QString firstRowsQuery(const QString& sourceTable) {
    return QStringLiteral("SELECT TOP 20 * FROM ") + sourceTable;
}

QString keyLookup(const QString& destinationTable, const QString& keyField, const QString& keyValue) {
    return QStringLiteral("SELECT * FROM ") + destinationTable + QStringLiteral(" WHERE ") + keyField +
           QStringLiteral(" = '") + keyValue + QLatin1Char('\'');
}

bool keyUsable(const QString& keyValue) {
    return !keyValue.isEmpty() && !keyValue.contains(QLatin1Char('\''));
}

QString addedLine(const QString& keyValue) {
    return QStringLiteral("Added:") + keyValue;
}

QString alreadyExistsLine(const QString& keyValue) {
    return QStringLiteral("Already exists in destination DB:") + keyValue;
}

QString continueQuestion(const QString& error, const QString& sourceSpec, const QString& destinationField,
                         const QString& value) {
    return QStringLiteral("Error ") + error + QStringLiteral(" Source field:") + sourceSpec +
           QStringLiteral(" Dest field: ") + destinationField + QStringLiteral(" value:") + value +
           QStringLiteral(". Continue?");
}

bool isConstant(const QString& sourceSpec) {
    return sourceSpec.contains(QLatin1Char('='));
}

QString constantOf(const QString& sourceSpec) {
    return sourceSpec.mid(1);
}

namespace {

int lengthOf(const QString& remainder) {
    bool isNumber = false;
    const int length = remainder.trimmed().toInt(&isNumber);
    return isNumber && length > 0 ? length : 0;
}

} // namespace

bool remainderUnderstood(const QString& remainder) {
    return remainder.trimmed().isEmpty() || lengthOf(remainder) > 0;
}

QVariant applyRemainder(const QVariant& value, const QString& remainder) {
    const int length = lengthOf(remainder);
    if (length == 0 || value.isNull()) {
        return value;
    }
    const QString text = valueText(value);
    return text.size() > length ? QVariant(text.left(length)) : value;
}

QString valueText(const QVariant& value) {
    if (value.isNull()) {
        return {};
    }
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    case QMetaType::QDate:
        return value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
    case QMetaType::QByteArray:
        return QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper());
    default:
        return value.toString();
    }
}

} // namespace qormin::transfer::MigrateStatements
