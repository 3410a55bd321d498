#include "db/ResultTable.h"

namespace qormin::db {

int ResultTable::columnIndex(const QString& name) const {
    for (size_t index = 0; index < columns.size(); ++index) {
        if (columns[index].name.compare(name, Qt::CaseInsensitive) == 0) {
            return static_cast<int>(index);
        }
    }
    return -1;
}

} // namespace qormin::db
