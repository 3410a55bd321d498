#include "dbfiles/RestoreDrive.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::dbfiles::RestoreDrive;

struct DriveCase {
    const char* databaseName;
    int side;
    int restoreToIndex;
};

std::string label(const DriveCase& row) {
    return std::string(row.databaseName) + " side " + std::to_string(row.side);
}

class RestoreToIndexTest : public ::testing::TestWithParam<DriveCase> {};

TEST_P(RestoreToIndexTest, choosesTheDriveBoxByKindAndSide) {
    const auto& c = GetParam();
    EXPECT_EQ(RestoreDrive::restoreToIndex(QString::fromUtf8(c.databaseName), c.side), c.restoreToIndex);
}

INSTANTIATE_TEST_SUITE_P(Kinds, RestoreToIndexTest,
                         ::testing::Values(DriveCase{"MyBilling", 0, 0}, DriveCase{"MyBilling", 1, 3},
                                           DriveCase{"ACCT_ARCHIVE", 0, 0}, DriveCase{"acct_2", 1, 3},
                                           DriveCase{"PELWIN", 0, 0}, DriveCase{"FixedAssets", 0, 0},
                                           DriveCase{"NurseStation", 0, 1}, DriveCase{"NurseStation", 1, 4},
                                           DriveCase{"clinical_area", 0, 1}, DriveCase{"Transplant2", 1, 4},
                                           DriveCase{"BillingStation", 0, 0},
                                           DriveCase{"StationPayroll", 1, 3}, DriveCase{"Clinical", 0, 2},
                                           DriveCase{"Patient_Data", 0, 2}, DriveCase{"Patient_Data", 1, 5},
                                           DriveCase{"", 1, 5}),
                         qormin::test::IndexedRowName());

struct ContainsCase {
    const char* upperName;
    const char* fragment;
    int position;
};

std::string label(const ContainsCase& row) {
    return std::string(row.upperName) + " / " + row.fragment;
}

class ContainsTextTest : public ::testing::TestWithParam<ContainsCase> {};

TEST_P(ContainsTextTest, givesOneBasedPositionOrZero) {
    const auto& c = GetParam();
    EXPECT_EQ(RestoreDrive::ContainsText(QString::fromUtf8(c.upperName), QString::fromUtf8(c.fragment)),
              c.position);
}

INSTANTIATE_TEST_SUITE_P(Positions, ContainsTextTest,
                         ::testing::Values(ContainsCase{"ACCT_2", "ACCT", 1},
                                           ContainsCase{"NURSESTATION", "Station", 6},
                                           ContainsCase{"NurseStation", "STATION", 6},
                                           ContainsCase{"BILLING", "Payroll", 0},
                                           ContainsCase{"", "ACCT", 0}),
                         qormin::test::IndexedRowName());

TEST(GetRestoreDriveTest, upperCasesTheCallersNameAndReadsAMissingBoxAsEmpty) {
    QString name = QStringLiteral("NurseStation");
    EXPECT_EQ(RestoreDrive::GetRestoreDrive(name, 1, {"F", "C", "O", "G", "D", "P"}), QStringLiteral("D"));
    EXPECT_EQ(name, QStringLiteral("NURSESTATION"));
    name = QStringLiteral("Patient_Data");
    EXPECT_EQ(RestoreDrive::GetRestoreDrive(name, 1, {"F", "C", "O"}), QString());
}

} // namespace
