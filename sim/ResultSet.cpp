#include "sim/ResultSet.h"

namespace qormin::sim {

QVariantList ResultSet::row(qint64 index) const {
    const auto literalRows = static_cast<qint64>(rows.size());
    if (index < literalRows) {
        return rows[static_cast<size_t>(index)];
    }
    const qint64 rowNumber = index - literalRows + 1;
    QVariantList values;
    values.reserve(static_cast<qsizetype>(columns.size()));
    for (const auto& column : columns) {
        values.append(column.generator.valueFor(rowNumber, column.type));
    }
    return values;
}

} // namespace qormin::sim
