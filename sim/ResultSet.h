#pragma once

#include "sim/ColumnGenerator.h"
#include "sim/SqlType.h"

#include <QString>
#include <QVariantList>
#include <vector>

namespace qormin::sim {

struct ResultColumn {
    QString name;
    SqlType type;
    ColumnGenerator generator;
    // What the column metadata tells a client about a table's column: INSERT may not name a
    // computed or rowversion column, nor an identity column unless IDENTITY_INSERT is on.
    bool identity = false;
    bool computed = false;
    bool rowVersion = false; // sent as binary(8) with the timestamp user type
};

// One result set of a response: literal rows first, then `generatedRows` derived ones.
struct ResultSet {
    std::vector<ResultColumn> columns;
    std::vector<QVariantList> rows;
    qint64 generatedRows = 0;

    qint64 rowCount() const { return static_cast<qint64>(rows.size()) + generatedRows; }
    QVariantList row(qint64 index) const;
};

} // namespace qormin::sim
