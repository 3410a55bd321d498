#include "dbfiles/BackupStatements.h"

#include <gtest/gtest.h>

namespace {

using qormin::dbfiles::BackupStatements;

struct StatementCase {
    const char* name;
    QString (*build)();
    const char* expected;
};

void PrintTo(const StatementCase& c, std::ostream* out) {
    *out << c.name;
}

class BackupStatementsTest : public ::testing::TestWithParam<StatementCase> {};

TEST_P(BackupStatementsTest, buildsTheExactStatementText) {
    EXPECT_EQ(GetParam().build(), QString::fromUtf8(GetParam().expected));
}

const QString billing = QStringLiteral("Billing");

INSTANTIATE_TEST_SUITE_P(
    Texts, BackupStatementsTest,
    ::testing::Values(
        StatementCase{
            "fullBackupIntoDefaultFolder",
            [] { return BackupStatements::fullBackup(billing, BackupStatements::defaultBackupFolder()); },
            R"(BACKUP DATABASE Billing TO DISK = 'p:\backup\MIR\Billing.BAK'   WITH FORMAT)"},
        StatementCase{
            "logBackupIntoDefaultFolder",
            [] { return BackupStatements::logBackup(billing, BackupStatements::defaultBackupFolder()); },
            R"(BACKUP Log  Billing TO DISK = 'p:\backup\MIR\Billing_log.BAK'   WITH FORMAT)"},
        StatementCase{"folderWithoutBackslashIsGluedToTheName",
                      [] { return BackupStatements::fullBackup(billing, QStringLiteral("p:\\backup")); },
                      R"(BACKUP DATABASE Billing TO DISK = 'p:\backupBilling.BAK'   WITH FORMAT)"},
        StatementCase{"emptyDatabaseIsSentAsItIs", [] { return BackupStatements::logBackup({}, {}); },
                      R"(BACKUP Log   TO DISK = '_log.BAK'   WITH FORMAT)"},
        StatementCase{"fullRecovery", [] { return BackupStatements::fullRecovery(billing); },
                      "ALTER DATABASE Billing  SET RECOVERY FULL "},
        StatementCase{"simpleRecovery", [] { return BackupStatements::simpleRecovery(billing); },
                      "ALTER DATABASE Billing SET RECOVERY SIMPLE"},
        StatementCase{"singleUser", [] { return BackupStatements::singleUser(billing); },
                      "ALTER DATABaSE Billing SET SINGLE_USER WITH ROLLBACK IMMEDIATE"},
        StatementCase{"multiUser", [] { return BackupStatements::multiUser(billing); },
                      "ALTER DATABaSE Billing SET MULTI_USER "}),
    [](const auto& caseInfo) { return std::string(caseInfo.param.name); });

TEST(BackupDatabaseTest, writesFullThenLogBackup) {
    const QString folder = QStringLiteral("p:\\backup\\MIR\\");
    EXPECT_EQ(BackupStatements::backupDatabase(billing, folder, false),
              QStringList({BackupStatements::fullBackup(billing, folder),
                           BackupStatements::logBackup(billing, folder)}));
}

TEST(BackupDatabaseTest, logOnlyWritesOnlyTheLogBackup) {
    const QString folder = QStringLiteral("p:\\backup\\MIR\\");
    EXPECT_EQ(BackupStatements::backupDatabase(billing, folder, true),
              QStringList({BackupStatements::logBackup(billing, folder)}));
}

} // namespace
