#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <QVariant>

namespace qormin::db {

// A value written as a T-SQL literal for its target column, so that a statement withheld in
// script-only mode reads as the statement that would have run: NULL, numbers as they are,
// N'text' (quotes doubled), '2024-01-31T10:20:30.123', 0x01AB.
QString sqlLiteral(const QVariant& value, const ColumnInfo& target);

// The ODBC types whose values are numbers (bit included): written without quotes.
bool isNumericType(int sqlType);

// "[name]" with any "]" doubled.
QString quotedName(const QString& name);

} // namespace qormin::db
