#pragma once

#include "sim/ResultSet.h"

#include <QString>
#include <vector>

namespace qormin::sim {

// A T-SQL cursor of one connection: its own copy of the rows, so updates through it stick.
struct ServerCursor {
    QString name;
    QString select;
    bool updatable = false;
    std::vector<ResultColumn> columns;
    std::vector<QVariantList> rows;
    qint64 position = -1; // index of the row fetched last; -1 before the first fetch
};

} // namespace qormin::sim
