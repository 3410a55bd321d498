#include "dbfiles/RestoreFile.h"

namespace qormin::dbfiles {

RestoreFile RestoreFile::fromFileListRow(const QString& logicalName, const QString& physicalName) {
    // Only "\" separates folders here: the names come from a Windows server.
    const qsizetype lastSeparator = physicalName.lastIndexOf(QLatin1Char('\\'));
    return RestoreFile{logicalName, physicalName.mid(lastSeparator + 1)};
}

} // namespace qormin::dbfiles
