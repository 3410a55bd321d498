#include "dbfiles/RestoreStatements.h"
#include "dbfiles/RestoreFile.h"

#include <gtest/gtest.h>

namespace {

using qormin::dbfiles::RestoreFile;
using qormin::dbfiles::RestoreStatements;

const QString mirrorFolder = QStringLiteral("p:\\backup\\MIR\\");

QList<RestoreFile> billingFiles() {
    return {RestoreFile::fromFileListRow("Billing", "D:\\SQLData\\Billing.mdf"),
            RestoreFile::fromFileListRow("Billing_log", "D:\\SQLData\\Logs\\Billing_log.ldf")};
}

QString billingMoves() {
    return RestoreStatements::moveClauses(billingFiles(), "E", "L");
}

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

void PrintTo(const MovesCase& c, std::ostream* out) {
    *out << c.name;
}

class MoveClausesTest : public ::testing::TestWithParam<MovesCase> {};

TEST_P(MoveClausesTest, relocatesEachFileKeepingItsName) {
    const auto& c = GetParam();
    EXPECT_EQ(RestoreStatements::moveClauses(c.files, "E", QString::fromUtf8(c.logDrive)),
              QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Files, MoveClausesTest,
    ::testing::Values(
        MovesCase{
            "logFileToLogDrive", billingFiles(), "L",
            R"( MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'L:\LDF\Billing_log.ldf', )"},
        MovesCase{
            "emptyLogDriveKeepsLogWithData", billingFiles(), "",
            R"( MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'E:\db\Billing_log.ldf', )"},
        MovesCase{"upperCaseLdfIsALogFile",
                  {RestoreFile::fromFileListRow("Lab_log", R"(D:\x\LAB_LOG.LDF)")},
                  "L",
                  R"( MOVE  'Lab_log' TO 'L:\LDF\LAB_LOG.LDF', )"},
        MovesCase{"secondaryDataFileStaysOnDataDrive",
                  {RestoreFile::fromFileListRow("Lab_2", R"(D:\x\Lab_2.ndf)")},
                  "L",
                  R"( MOVE  'Lab_2' TO 'E:\db\Lab_2.ndf', )"},
        MovesCase{"noFilesNoClauses", {}, "L", ""}),
    [](const auto& caseInfo) { return std::string(caseInfo.param.name); });

struct StatementCase {
    const char* name;
    QString (*build)();
    const char* expected;
};

void PrintTo(const StatementCase& c, std::ostream* out) {
    *out << c.name;
}

class RestoreStatementsTest : public ::testing::TestWithParam<StatementCase> {};

TEST_P(RestoreStatementsTest, buildsTheExactStatementText) {
    EXPECT_EQ(GetParam().build(), QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RestoreStatementsTest,
    ::testing::Values(
        StatementCase{"fileListQuery",
                      [] { return RestoreStatements::fileListQuery(mirrorFolder, "Billing"); },
                      R"( RESTORE FILELISTONLY  FROM DISK = 'p:\backup\MIR\Billing.bak' WITH FILE = 1)"},
        StatementCase{
            "rightSideDatabaseIsLeftRestoring",
            [] { return RestoreStatements::restoreDatabase("Billing", mirrorFolder, billingMoves(), 1); },
            R"(RESTORE DATABASE  Billing FROM DISK = 'p:\backup\MIR\Billing.bak' With    MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'L:\LDF\Billing_log.ldf',  NORECOVERY   )"},
        StatementCase{
            "rightSideLogIsLeftRestoring",
            [] { return RestoreStatements::restoreLog("Billing", mirrorFolder, billingMoves(), 1); },
            R"(RESTORE LOG  Billing FROM DISK = 'p:\backup\MIR\Billing_log.bak' With   MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'L:\LDF\Billing_log.ldf',  NORECOVERY  )"},
        StatementCase{
            "leftSideDatabaseKeepsTrailingComma",
            [] { return RestoreStatements::restoreDatabase("Billing", mirrorFolder, billingMoves(), 0); },
            R"(RESTORE DATABASE  Billing FROM DISK = 'p:\backup\MIR\Billing.bak' With    MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'L:\LDF\Billing_log.ldf', )"},
        StatementCase{
            "leftSideLogKeepsTrailingComma",
            [] { return RestoreStatements::restoreLog("Billing", mirrorFolder, billingMoves(), 0); },
            R"(RESTORE LOG  Billing FROM DISK = 'p:\backup\MIR\Billing_log.bak' With   MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'L:\LDF\Billing_log.ldf', )"},
        StatementCase{
            "loggedTextIsTheStatementWithoutKeyword",
            [] {
                return RestoreStatements::restoreDatabaseArguments("Billing", mirrorFolder, billingMoves(),
                                                                   1);
            },
            R"( Billing FROM DISK = 'p:\backup\MIR\Billing.bak' With    MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'L:\LDF\Billing_log.ldf',  NORECOVERY   )"},
        StatementCase{"missingBackupHasNoMoveClause",
                      [] { return RestoreStatements::restoreDatabase("Gone", mirrorFolder, {}, 0); },
                      R"(RESTORE DATABASE  Gone FROM DISK = 'p:\backup\MIR\Gone.bak' With   )"},
        StatementCase{
            "restoreToMainReplaces",
            [] {
                return RestoreStatements::restoreToMain("Billing", RestoreStatements::mainBackupFolder(),
                                                        RestoreStatements::moveClauses(billingFiles(), "E"));
            },
            R"(RESTORE DATABASE  Billing FROM DISK = 'p:\backup\Billing.bak' With   MOVE  'Billing' TO 'E:\db\Billing.mdf',  MOVE  'Billing_log' TO 'E:\db\Billing_log.ldf',  Replace )"}),
    [](const auto& caseInfo) { return std::string(caseInfo.param.name); });

} // namespace
