#pragma once

#include <QString>
#include <QVariant>

namespace qormin::transfer {

// The texts of the data migration: statements, status lines and the question on a failing field.
namespace MigrateStatements {

QString countQuery(const QString& sourceTable);
QString firstRowsQuery(const QString& sourceTable); // "20 Records"
QString keyLookup(const QString& destinationTable, const QString& keyField, const QString& keyValue);

// A key that is empty or holds a quote is neither looked up nor inserted.
bool keyUsable(const QString& keyValue);

QString addedLine(const QString& keyValue);
QString alreadyExistsLine(const QString& keyValue);
QString continueQuestion(const QString& error, const QString& sourceSpec, const QString& destinationField,
                         const QString& value);

// A mapping source with "=" supplies the text after its first character instead of a column.
bool isConstant(const QString& sourceSpec);
QString constantOf(const QString& sourceSpec);

// The mapping's remainder: a whole number n > 0 cuts the value to its first n characters;
// anything else leaves it as it is. NULL stays NULL.
QVariant applyRemainder(const QVariant& value, const QString& remainder);
// Whether a remainder means something (empty, or a length); other text is named in the log.
bool remainderUnderstood(const QString& remainder);

// How a value reads in the key look-up, the status label and the question.
QString valueText(const QVariant& value);

extern const QString noDestinationFields;
extern const QString simulateNoDestinationFields;
extern const QString simulateCopying;
extern const QString done;
// The error a record set gave for a field name it does not have.
extern const QString itemNotFound;
extern const QString doesNotFit;

} // namespace MigrateStatements

} // namespace qormin::transfer
