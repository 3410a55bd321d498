#include "dbfiles/BackupFileNames.h"
#include "QStringPrinter.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::dbfiles::BackupFileNames;

struct DatabaseNameCase {
    const char* fileName;
    const char* databaseName;
    bool skippedInFullPass;
};

std::string_view label(const DatabaseNameCase& row) {
    return row.fileName;
}

class DatabaseNameTest : public ::testing::TestWithParam<DatabaseNameCase> {};

TEST_P(DatabaseNameTest, databaseIsTheNameBeforeTheFirstDotAndRestoreAllSkipsLogFilesUnlessLogOnly) {
    const QString databaseName =
        BackupFileNames::databaseNameFromFile(QString::fromUtf8(GetParam().fileName));
    EXPECT_EQ(databaseName, QString::fromUtf8(GetParam().databaseName));
    EXPECT_EQ(BackupFileNames::skippedInAllFilesPass(databaseName, false), GetParam().skippedInFullPass);
    EXPECT_FALSE(BackupFileNames::skippedInAllFilesPass(databaseName, true));
}

INSTANTIATE_TEST_SUITE_P(Files, DatabaseNameTest,
                         ::testing::Values(DatabaseNameCase{"Billing.bak", "Billing", false},
                                           DatabaseNameCase{"Billing_log.BAK", "Billing_log", true},
                                           DatabaseNameCase{"Lab_log_old.bak", "Lab_log_old", true},
                                           DatabaseNameCase{"Payroll.2015.bak", "Payroll", false},
                                           DatabaseNameCase{"Station_LOG.bak", "Station_LOG", false},
                                           DatabaseNameCase{"NoExtension", "NoExtension", false}),
                         qormin::test::IndexedRowName());

struct RenameCase {
    const char* fileName;
    const char* separator; // nullptr: cut before the fixed year instead
    const char* newName;   // nullptr: the file is left alone
};

std::string label(const RenameCase& row) {
    return std::string(row.fileName) + " / " + (row.separator == nullptr ? "year" : row.separator);
}

class RenameTest : public ::testing::TestWithParam<RenameCase> {};

TEST_P(RenameTest, cutsAtTheFirstMatchAndNeverLeavesABareExtension) {
    const RenameCase& c = GetParam();
    const QString fileName = QString::fromUtf8(c.fileName);
    const auto renamed =
        c.separator == nullptr
            ? BackupFileNames::withoutDateSuffix(fileName)
            : BackupFileNames::withoutSeparatorSuffix(fileName, QString::fromUtf8(c.separator));
    EXPECT_EQ(renamed, c.newName == nullptr ? std::nullopt : std::optional(QString::fromUtf8(c.newName)));
}

INSTANTIATE_TEST_SUITE_P(Names, RenameTest,
                         ::testing::Values(RenameCase{"Billing_20150301.bak", "_201", "Billing.bak"},
                                           RenameCase{"Lab_2014_20150301.bak", "_201", "Lab.bak"},
                                           RenameCase{"Billing.bak", "_201", nullptr},
                                           RenameCase{"_20150301.bak", "_201", nullptr},
                                           RenameCase{"Billing_20150301.bak", "", nullptr},
                                           RenameCase{"ab.bak", ".b", nullptr},
                                           RenameCase{"Billing_20150301.bak", nullptr, "Billing.bak"},
                                           RenameCase{"Payroll_2015_2015.bak", nullptr, "Payroll.bak"},
                                           RenameCase{"Billing_20160301.bak", nullptr, nullptr},
                                           RenameCase{"Billing.bak", nullptr, nullptr},
                                           RenameCase{"_20150301.bak", nullptr, nullptr}),
                         qormin::test::IndexedRowName());

} // namespace
