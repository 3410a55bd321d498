#pragma once

#include <QString>

namespace qormin::dbfiles {

// One row of a backup's file list (RestoreFiles): the logical name and the bare file name
// the MOVE clauses relocate.
struct RestoreFile {
    QString logicalName;
    QString fileName;

    // From one RESTORE FILELISTONLY row: the physical name loses every folder part, so
    // "D:\data\Billing_log.ldf" keeps only "Billing_log.ldf".
    static RestoreFile fromFileListRow(const QString& logicalName, const QString& physicalName);
};

} // namespace qormin::dbfiles
