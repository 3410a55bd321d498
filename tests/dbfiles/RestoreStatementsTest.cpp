#include "dbfiles/RestoreStatements.h"
#include "RowName.h"
#include "dbfiles/DrillStatements.h"
#include "dbfiles/RestoreFile.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::dbfiles::DrillStatements;
using qormin::dbfiles::RestoreFile;
using qormin::dbfiles::RestoreStatements;

struct PhysicalNameCase {
    const char* physicalName;
    const char* fileName;
};

std::string_view label(const PhysicalNameCase& row) {
    return row.physicalName;
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
                                           PhysicalNameCase{R"(D:\data\)", ""}),
                         qormin::test::IndexedRowName());

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
    ::testing::Values(
        MovesCase{"upperCaseLdfIsALogFile",
                  QList<RestoreFile>{RestoreFile::fromFileListRow("Lab_log", R"(D:\x\LAB_LOG.LDF)")}, "L",
                  R"( MOVE  'Lab_log' TO 'L:\LDF\LAB_LOG.LDF', )"},
        MovesCase{"secondaryDataFileStaysOnDataDrive",
                  QList<RestoreFile>{RestoreFile::fromFileListRow("Lab_2", R"(D:\x\Lab_2.ndf)")}, "L",
                  R"( MOVE  'Lab_2' TO 'E:\db\Lab_2.ndf', )"},
        MovesCase{"noFilesNoClauses", {}, "L", ""}),
    qormin::test::RowName());

// The window tests check every restore statement against the simulated servers; a backup whose
// file list could not be read is the one they do not reach.
TEST(RestoreStatementsTest, missingBackupHasNoMoveClause) {
    EXPECT_EQ(RestoreStatements::restoreDatabase("Gone", QStringLiteral("p:\\backup\\MIR\\"), {}, 0),
              QStringLiteral(R"(RESTORE DATABASE  Gone FROM DISK = 'p:\backup\MIR\Gone.bak' With   )"));
}

struct DrillMovesCase {
    const char* name;
    const char* drillFolder;
    const char* logDrive;
    const char* expected;
};

class DrillMovesTest : public ::testing::TestWithParam<DrillMovesCase> {};

// Every file keeps its folder rule but gets a name of its own, so the scratch copy can never
// open the original's files.
TEST_P(DrillMovesTest, suffixesEveryFileAndPutsItInTheDrillFolderOrTheRestoreFolders) {
    const QList<RestoreFile> files{RestoreFile::fromFileListRow("Lab", R"(D:\x\Lab.mdf)"),
                                   RestoreFile::fromFileListRow("Lab_log", R"(D:\x\Lab_log.LDF)"),
                                   RestoreFile::fromFileListRow("Lab_raw", R"(D:\x\Lab_raw)")};
    const auto& c = GetParam();
    EXPECT_EQ(DrillStatements::moveClauses(files, QString::fromUtf8(c.drillFolder), "E",
                                           QString::fromUtf8(c.logDrive)),
              QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Folders, DrillMovesTest,
    ::testing::Values(DrillMovesCase{"restoreFoldersWithLogDrive", "", "L",
                                     R"(MOVE 'Lab' TO 'E:\db\Lab_drill.mdf', )"
                                     R"(MOVE 'Lab_log' TO 'L:\LDF\Lab_log_drill.LDF', )"
                                     R"(MOVE 'Lab_raw' TO 'E:\db\Lab_raw_drill')"},
                      DrillMovesCase{"drillFolderTakesEveryFileAndGetsItsBackslash", R"(T:\drill)", "L",
                                     R"(MOVE 'Lab' TO 'T:\drill\Lab_drill.mdf', )"
                                     R"(MOVE 'Lab_log' TO 'T:\drill\Lab_log_drill.LDF', )"
                                     R"(MOVE 'Lab_raw' TO 'T:\drill\Lab_raw_drill')"}),
    qormin::test::RowName());

TEST(DrillStatementsTest, scratchNameNeverEqualsTheOriginal) {
    for (const char* name : {"Billing", "x", "Lab_drill"})
        EXPECT_NE(DrillStatements::scratchName(name).compare(QString::fromUtf8(name), Qt::CaseInsensitive),
                  0);
}

} // namespace
