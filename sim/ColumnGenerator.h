#pragma once

#include "sim/SqlType.h"

#include <QString>
#include <QVariant>

namespace qormin::sim {

// Derives a column's value from the row number, so large tables need no rows in the scenario.
struct ColumnGenerator {
    enum class Kind { Default, Sequence, Template, Cycle, Constant };
    Kind kind = Kind::Default;
    double start = 1;   // Sequence: first value (dates: startDate)
    double step = 1;    // Sequence: increment per row (dates: days)
    QString startDate;  // Sequence over a date type
    QString text;       // Template: "{n}" is the row number, "{hex}" its 8-digit hex form
    QVariantList cycle; // Cycle: values taken in turn
    QVariant constant;  // Constant
    int nullEvery = 0;  // every nullEvery-th row is NULL (0 = never)

    // rowNumber counts from 1.
    QVariant valueFor(qint64 rowNumber, const SqlType& type) const;
};

} // namespace qormin::sim
