#pragma once

#include "db/ResultTable.h"

#include <QVariant>

namespace qormin::db {

// Whether a value can be assigned to a field of the column's type and size, as a record set's
// field assignment checked before anything went to the server: numbers in range, text that
// reads as the type, text and binary no longer than a sized column. NULL always fits here;
// the server judges nullability.
bool valueFitsColumn(const QVariant& value, const ColumnInfo& column);

} // namespace qormin::db
