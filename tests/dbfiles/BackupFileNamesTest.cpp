#include "dbfiles/BackupFileNames.h"

#include <gtest/gtest.h>

namespace {

using qormin::dbfiles::BackupFileNames;

struct DatabaseNameCase {
    const char* fileName;
    const char* databaseName;
    bool skippedInFullPass;
};

void PrintTo(const DatabaseNameCase& c, std::ostream* out) {
    *out << c.fileName;
}

class DatabaseNameTest : public ::testing::TestWithParam<DatabaseNameCase> {};

TEST_P(DatabaseNameTest, databaseIsTheNameBeforeTheFirstDot) {
    EXPECT_EQ(BackupFileNames::databaseNameFromFile(QString::fromUtf8(GetParam().fileName)),
              QString::fromUtf8(GetParam().databaseName));
}

TEST_P(DatabaseNameTest, restoreAllSkipsLogFilesUnlessLogOnly) {
    const QString databaseName = QString::fromUtf8(GetParam().databaseName);
    EXPECT_EQ(BackupFileNames::skippedInAllFilesPass(databaseName, false), GetParam().skippedInFullPass);
    EXPECT_FALSE(BackupFileNames::skippedInAllFilesPass(databaseName, true));
}

INSTANTIATE_TEST_SUITE_P(Files, DatabaseNameTest,
                         ::testing::Values(DatabaseNameCase{"Billing.bak", "Billing", false},
                                           DatabaseNameCase{"Billing_log.BAK", "Billing_log", true},
                                           DatabaseNameCase{"Lab_log_old.bak", "Lab_log_old", true},
                                           DatabaseNameCase{"Payroll.2015.bak", "Payroll", false},
                                           DatabaseNameCase{"Station_LOG.bak", "Station_LOG", false},
                                           DatabaseNameCase{"NoExtension", "NoExtension", false}));

struct RenameCase {
    const char* fileName;
    const char* separator;
    const char* newName; // nullptr: the file is left alone
};

void PrintTo(const RenameCase& c, std::ostream* out) {
    *out << c.fileName << " / " << c.separator;
}

std::optional<QString> expectedName(const RenameCase& c) {
    if (c.newName == nullptr) {
        return std::nullopt;
    }
    return QString::fromUtf8(c.newName);
}

class RenameDirTest : public ::testing::TestWithParam<RenameCase> {};

TEST_P(RenameDirTest, cutsAtFirstSeparatorAndNeverLeavesABareExtension) {
    const auto& c = GetParam();
    EXPECT_EQ(BackupFileNames::withoutSeparatorSuffix(QString::fromUtf8(c.fileName),
                                                      QString::fromUtf8(c.separator)),
              expectedName(c));
}

INSTANTIATE_TEST_SUITE_P(Names, RenameDirTest,
                         ::testing::Values(RenameCase{"Billing_20150301.bak", "_201", "Billing.bak"},
                                           RenameCase{"Lab_2014_20150301.bak", "_201", "Lab.bak"},
                                           RenameCase{"Billing.bak", "_201", nullptr},
                                           RenameCase{"_20150301.bak", "_201", nullptr},
                                           RenameCase{"Billing_20150301.bak", "", nullptr},
                                           RenameCase{"ab.bak", ".b", nullptr}));

class RenameByDateTest : public ::testing::TestWithParam<RenameCase> {};

TEST_P(RenameByDateTest, cutsBeforeFixedYearAndLeavesOthersAlone) {
    EXPECT_EQ(BackupFileNames::withoutDateSuffix(QString::fromUtf8(GetParam().fileName)),
              expectedName(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Names, RenameByDateTest,
                         ::testing::Values(RenameCase{"Billing_20150301.bak", "", "Billing.bak"},
                                           RenameCase{"Payroll_2015_2015.bak", "", "Payroll.bak"},
                                           RenameCase{"Billing_20160301.bak", "", nullptr},
                                           RenameCase{"Billing.bak", "", nullptr},
                                           RenameCase{"_20150301.bak", "", nullptr}));

TEST(BackupFolderTest, missingTrailingBackslashIsAdded) {
    EXPECT_EQ(BackupFileNames::withTrailingBackslash(R"(d:\qormin\db\bak)"),
              QStringLiteral(R"(d:\qormin\db\bak\)"));
    EXPECT_EQ(BackupFileNames::withTrailingBackslash(R"(d:\qormin\db\bak\)"),
              QStringLiteral(R"(d:\qormin\db\bak\)"));
}

TEST(BackupFolderTest, serverBackupPathIsInTheBackupShare) {
    EXPECT_EQ(BackupFileNames::serverBackupPath("SQL01", "Billing.bak"),
              QStringLiteral(R"(\\SQL01\backup\Billing.bak)"));
}

} // namespace
