#include "dbfiles/BackupStatements.h"
#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using qormin::dbfiles::BackupStatements;

// Every button's statements are checked against the simulated servers; these are the inputs the
// window never produces: a folder typed without its backslash and an empty database box.
TEST(BackupStatementsTest, pastesFolderAndDatabaseAsTheyAre) {
    EXPECT_EQ(BackupStatements::fullBackup(QStringLiteral("Billing"), QStringLiteral("p:\\backup")),
              QStringLiteral(R"(BACKUP DATABASE Billing TO DISK = 'p:\backupBilling.BAK'   WITH FORMAT)"));
    EXPECT_EQ(BackupStatements::logBackup({}, {}),
              QStringLiteral(R"(BACKUP Log   TO DISK = '_log.BAK'   WITH FORMAT)"));
    EXPECT_EQ(BackupStatements::verifyOnly({}), QStringLiteral("RESTORE VERIFYONLY FROM DISK = ''"));
}

} // namespace
