#include "dbfiles/RestoreStatements.h"
#include "dbfiles/RestoreFile.h"

#include <gtest/gtest.h>

namespace {

using qormin::dbfiles::RestoreFile;
using qormin::dbfiles::RestoreStatements;

struct PhysicalNameCase {
    const char* physicalName;
    const char* fileName;
};

void PrintTo(const PhysicalNameCase& c, std::ostream* out) {
    *out << c.physicalName;
}

class PhysicalNameTest : public ::testing::TestWithParam<PhysicalNameCase> {};

TEST_P(PhysicalNameTest, keepsOnlyTheTextAfterTheLastBackslash) {
    const RestoreFile file =
        RestoreFile::fromFileListRow("Logical", QString::fromUtf8(GetParam().physicalName));
    EXPECT_EQ(file.logicalName, QStringLiteral("Logical"));
    EXPECT_EQ(file.fileName, QString::fromUtf8(GetParam().fileName));
}

INSTANTIATE_TEST_SUITE_P(Names, PhysicalNameTest,
                         ::testing::Values(PhysicalNameCase{R"(D:\data\Billing_log.ldf)", "Billing_log.ldf"},
                                           PhysicalNameCase{R"(C:\a\b\c\Billing_1.ndf)", "Billing_1.ndf"},
                                           PhysicalNameCase{"Billing.mdf", "Billing.mdf"},
                                           PhysicalNameCase{R"(\\srv\share\x.mdf)", "x.mdf"},
                                           PhysicalNameCase{R"(D:\data\)", ""}));

struct MovesCase {
    const char* name;
    QList<RestoreFile> files;
    const char* logDrive;
    const char* expected;
};

class MoveClausesTest : public ::testing::TestWithParam<MovesCase> {};

TEST_P(MoveClausesTest, relocatesEachFileKeepingItsName) {
    const auto& c = GetParam();
    EXPECT_EQ(RestoreStatements::moveClauses(c.files, "E", QString::fromUtf8(c.logDrive)),
              QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Files, MoveClausesTest,
    ::testing::Values(MovesCase{"upperCaseLdfIsALogFile",
                                {RestoreFile::fromFileListRow("Lab_log", R"(D:\x\LAB_LOG.LDF)")},
                                "L",
                                R"( MOVE  'Lab_log' TO 'L:\LDF\LAB_LOG.LDF', )"},
                      MovesCase{"secondaryDataFileStaysOnDataDrive",
                                {RestoreFile::fromFileListRow("Lab_2", R"(D:\x\Lab_2.ndf)")},
                                "L",
                                R"( MOVE  'Lab_2' TO 'E:\db\Lab_2.ndf', )"},
                      MovesCase{"noFilesNoClauses", {}, "L", ""}),
    [](const auto& caseInfo) { return std::string(caseInfo.param.name); });

// The window tests check every restore statement against the simulated servers; a backup whose
// file list could not be read is the one they do not reach.
TEST(RestoreStatementsTest, missingBackupHasNoMoveClause) {
    EXPECT_EQ(RestoreStatements::restoreDatabase("Gone", QStringLiteral("p:\\backup\\MIR\\"), {}, 0),
              QStringLiteral(R"(RESTORE DATABASE  Gone FROM DISK = 'p:\backup\MIR\Gone.bak' With   )"));
}

} // namespace
