#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"

#include "RowName.h"
#include "db/ServerAccess.h"
#include "db/ServerMessageLog.h"

#include <QCheckBox>
#include <QLineEdit>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

// One statement per database, header row included; %1 is the database.
QStringList perDatabase(const char* pattern, const QStringList& databases) {
    QStringList texts;
    for (const QString& database : databases)
        texts.append(QString::fromUtf8(pattern).arg(database));
    return texts;
}

const char* const fullRecovery = "ALTER DATABASE %1  SET RECOVERY FULL ";
const char* const simpleRecovery = "ALTER DATABASE %1 SET RECOVERY SIMPLE";
const char* const logBackups = "BACKUP Log  %1 TO DISK = 'p:\\backup\\MIR\\%1_log.BAK'   WITH FORMAT";

const QString folder = QStringLiteral("p:\\backup\\MIR\\");

QString verify(const char* database, const char* suffix) {
    return QStringLiteral("RESTORE VERIFYONLY FROM DISK = '") + folder + QLatin1String(database) +
           QLatin1String(suffix) + QLatin1Char('\'');
}

QString fullBackup(const char* database, const char* options) {
    return QStringLiteral("BACKUP DATABASE %1 TO DISK = '%2%1.BAK'   WITH FORMAT%3")
        .arg(QLatin1String(database), folder, QLatin1String(options));
}

QString logBackup(const char* database, const char* options) {
    return QStringLiteral("BACKUP Log  %1 TO DISK = '%2%1_log.BAK'   WITH FORMAT%3")
        .arg(QLatin1String(database), folder, QLatin1String(options));
}

struct ButtonCase {
    const char* name;
    const char* script; // after "set txtDB Billing"
    int side;
    QStringList expected;
};

class BackupButtonTest : public DatabaseFileFixture, public testing::WithParamInterface<ButtonCase> {};

TEST_P(BackupButtonTest, sendsExactlyTheseStatementsToTheSide) {
    run(QStringLiteral("set txtDB Billing\n") + QLatin1String(GetParam().script));
    EXPECT_EQ(statements(GetParam().side), GetParam().expected);
    EXPECT_TRUE(statements(1 - GetParam().side).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, BackupButtonTest,
    testing::Values(
        ButtonCase{"verifyReadsBothBackupFiles", "click cmdVerify(0)\n", 0,
                   QStringList{verify("Billing", ".BAK"), verify("Billing", "_log.BAK")}},
        ButtonCase{"verifyWithLogOnlyReadsTheLogBackup", "set chkLogOnly 1\nclick cmdVerify(1)\n", 1,
                   QStringList{verify("Billing", "_log.BAK")}},
        ButtonCase{"verifyAllWalksTheGridLikeBackup", "set chkALL 1\nset chkLogOnly 1\nclick cmdVerify(1)\n",
                   1,
                   QStringList{verify("name", "_log.BAK"), verify("Billing", "_log.BAK"),
                               verify("Patient_Data", "_log.BAK"), verify("Station", "_log.BAK")}},
        ButtonCase{"backupWritesFullThenLog", "click cmdBackup(0)\n", 0,
                   QStringList{fullBackup("Billing", ""), logBackup("Billing", "")}},
        ButtonCase{"logOnlyWritesOnlyTheLogBackup",
                   "set chkLogOnly 1\nset txtBackupDrive q:\\\\bak\\\\\nclick cmdBackup(1)\n", 1,
                   QStringList{QStringLiteral(
                       "BACKUP Log  Billing TO DISK = 'q:\\bak\\Billing_log.BAK'   WITH FORMAT")}},
        ButtonCase{"fullRecoveryOnTheButtonsSide", "click cmdFullRecovery(1)\n", 1,
                   perDatabase(fullRecovery, {"Billing"})},
        ButtonCase{"makeSimpleAlwaysOnTheRight", "click cmdMakeSimple\n", 1,
                   perDatabase(simpleRecovery, {"Billing"})},
        ButtonCase{
            "singleUserAlwaysOnTheLeft", "click Command1\n", 0,
            QStringList{QStringLiteral("ALTER DATABaSE Billing SET SINGLE_USER WITH ROLLBACK IMMEDIATE")}},
        ButtonCase{"multiUserAlwaysOnTheLeft", "click Command2\n", 0,
                   QStringList{QStringLiteral("ALTER DATABaSE Billing SET MULTI_USER ")}},
        ButtonCase{"checksumOffKeepsTheBackupTexts", "set chkChecksum 0\nclick cmdBackup(0)\n", 0,
                   QStringList{fullBackup("Billing", ""), logBackup("Billing", "")}},
        ButtonCase{"checksumOnExtendsBothBackups", "set chkChecksum 1\nclick cmdBackup(1)\n", 1,
                   QStringList{fullBackup("Billing", ", CHECKSUM"), logBackup("Billing", ", CHECKSUM")}},
        ButtonCase{"checksumLeavesVerifyAlone", "set chkChecksum 1\nset chkLogOnly 1\nclick cmdVerify(0)\n",
                   0, QStringList{verify("Billing", "_log.BAK")}}),
    qormin::test::RowName());

using BackupAllDatabasesTest = DatabaseFileFixture;

TEST_F(BackupAllDatabasesTest, passStartsWithTheHeaderRowAndWalksEveryRow) {
    run(QStringLiteral("set chkALL 1\nset chkLogOnly 1\nclick cmdBackup(1)\n"));
    EXPECT_EQ(statements(1), perDatabase(logBackups, {"name", "Billing", "Patient_Data", "Station"}));
    EXPECT_TRUE(statements(0).isEmpty());
    EXPECT_EQ(window().txtDB()->text(), QStringLiteral("Station"));
}

struct InterruptCase {
    const char* name;
    const char* button;
    const char* box; // the check box changed while Patient_Data is processed
    bool boxValue;
    QStringList expected;
};

class InterruptedPassTest : public DatabaseFileFixture, public testing::WithParamInterface<InterruptCase> {
protected:
    QByteArray extraRules() const override {
        // Long enough that the change lands while the server is still working.
        return R"json({"prefix": "ALTER DATABASE Patient_Data", "response": [{"delay": 50}, {"done": {}}]},)json";
    }
};

TEST_P(InterruptedPassTest, endsAfterTheCurrentDatabaseOnlyWhenThatBoxEndsThisPass) {
    const InterruptCase& param = GetParam();
    QCheckBox* box = window().findChild<QCheckBox*>(QLatin1String(param.box));
    ASSERT_NE(box, nullptr);
    whenStatementStartsFor(QStringLiteral("Patient_Data"),
                           [box, &param] { box->setChecked(param.boxValue); });
    run(QStringLiteral("set chkALL 1\nclick ") + QLatin1String(param.button) + QLatin1Char('\n'));
    EXPECT_EQ(statements(1), param.expected);
    EXPECT_TRUE(statements(0).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Boxes, InterruptedPassTest,
    testing::Values(InterruptCase{"clearingAllEndsFullRecovery", "cmdFullRecovery(1)", "chkALL", false,
                                  perDatabase(fullRecovery, {"name", "Billing", "Patient_Data"})},
                    InterruptCase{"stopDoesNotEndFullRecovery", "cmdFullRecovery(1)", "chkStop", true,
                                  perDatabase(fullRecovery, {"name", "Billing", "Patient_Data", "Station"})},
                    InterruptCase{"stopEndsMakeSimple", "cmdMakeSimple", "chkStop", true,
                                  perDatabase(simpleRecovery, {"name", "Billing", "Patient_Data"})},
                    InterruptCase{"clearingAllEndsMakeSimple", "cmdMakeSimple", "chkALL", false,
                                  perDatabase(simpleRecovery, {"name", "Billing", "Patient_Data"})}),
    qormin::test::RowName());

TEST_F(BackupAllDatabasesTest, clearingAllEndsABackupPassAfterBothBackupsOfTheCurrentDatabase) {
    whenStatementStartsFor(QStringLiteral("Billing"), [this] { window().chkALL()->setChecked(false); });
    run(QStringLiteral("set chkALL 1\nclick cmdBackup(0)\n"));
    const QStringList sent = statements(0);
    ASSERT_EQ(sent.size(), 4);
    EXPECT_TRUE(sent.at(2).startsWith(QStringLiteral("BACKUP DATABASE Billing ")));
    EXPECT_TRUE(sent.at(3).startsWith(QStringLiteral("BACKUP Log  Billing ")));
}

class BackupProgressTest : public DatabaseFileFixture {
protected:
    QByteArray extraRules() const override {
        return R"json({"prefix": "BACKUP DATABASE ", "response": [
            {"progress": {"every": 1, "pace": 0, "number": 3211, "text": "{percent} percent processed."}},
            {"info": {"number": 3014, "text": "BACKUP DATABASE successfully processed 1234 pages."}}]},)json";
    }
};

TEST_F(BackupProgressTest, longStreamOfProgressMessagesReachesTheServerMessagesAndTheBackupCompletes) {
    window().serverAccess().serverMessages().clear();
    run(QStringLiteral("set txtDB Billing\nclick cmdBackup(0)\n"));
    const auto& entries = window().serverAccess().serverMessages().entries();
    ASSERT_EQ(entries.size(), 101u);
    EXPECT_EQ(entries.front().message.text, QStringLiteral("1 percent processed."));
    EXPECT_EQ(entries.at(99).message.text, QStringLiteral("100 percent processed."));
    EXPECT_EQ(entries.back().side, 0);
    EXPECT_EQ(statements(0).size(), 2);
    // Both backups reported success: the log backup's "Done" is the newest line.
    const QStringList lines = logLines();
    EXPECT_EQ(lines.first(), QStringLiteral("Done"));
    EXPECT_EQ(lines.count(QStringLiteral("Done")), 2);
}

// The connection drops half-way through the progress of Billing's full backup: that backup is
// reported failed, and the pass reconnects and goes on with the next database.
class BackupDroppedMidStreamTest : public DatabaseFileFixture {
protected:
    QByteArray extraRules() const override {
        return R"json({"prefix": "BACKUP DATABASE Billing ", "dropAfterTokens": 9, "response": [
            {"progress": {"every": 25, "pace": 0, "number": 3211, "text": "{percent} percent processed."}},
            {"info": {"number": 4035, "text": "Processed 1234 pages for database 'Billing'."}},
            {"info": {"number": 3014, "text": "BACKUP DATABASE successfully processed 1234 pages."}}]},)json";
    }
};

TEST_F(BackupDroppedMidStreamTest, isLoggedAsFailedAndThePassGoesOn) {
    run(QStringLiteral("set chkALL 1\nclick cmdBackup(0)\n"), 1);
    const QStringList sent = statements(0);
    ASSERT_EQ(sent.size(), 8) << sent.join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(sent.at(2).startsWith(QStringLiteral("BACKUP DATABASE Billing ")));
    EXPECT_TRUE(sent.at(7).startsWith(QStringLiteral("BACKUP Log  Station ")));
    const QStringList lines = logLines();
    const auto billing = lines.indexOf(sent.at(2));
    ASSERT_GT(billing, 0);
    EXPECT_NE(lines.at(billing - 1), QStringLiteral("Done"));
    EXPECT_EQ(lines.first(), QStringLiteral("Done"));
}

} // namespace
} // namespace qormin::test
