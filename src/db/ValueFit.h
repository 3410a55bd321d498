#pragma once

#include "db/ResultTable.h"

#include <QString>
#include <QVariant>

namespace qormin::db {

// Why a column of this type would not hold the value exactly, empty when it would: a number
// out of range, decimals or digits the type drops, a fraction an integer column would cut,
// text longer than the column or with characters its code page lacks, a time finer than the
// type keeps (sub-millisecond digits in datetime, seconds in smalldatetime), a time of day a
// date column drops, text that does not read as the type. NULL always fits here; the server
// judges nullability. A value that would change is refused, never rounded: a move must not
// delete an original whose copy differs.
QString valueChangeIn(const QVariant& value, const ColumnInfo& column);

bool valueFitsColumn(const QVariant& value, const ColumnInfo& column);

// The column's type as a definition would write it: "numeric(18,0)", "varchar(20)", "int".
QString columnTypeText(const ColumnInfo& column);

} // namespace qormin::db
