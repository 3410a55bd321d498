#include "QStringPrinter.h"
#include "TransferWindowFixture.h"

#include "controls/FlexGrid.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"

#include <QProgressBar>
#include <QPushButton>

namespace qormin::test {
namespace {

const QString docsQuery = QStringLiteral("SELECT top 1000 * FROM Patient_Files..tbPatientDocs WHERE 1=1  AND "
                                         "ConversionTime >= convert(datetime,'20200101')  "
                                         "AND ConversionTime < convert(datetime,'20210101')  AND DocType = "
                                         "'PHIC Docs' ORDER BY ConversionTime ASC");
const QString docsInsert =
    QStringLiteral("INSERT INTO Patient_Files_2020..tbPatientDocs ([PatientID], [DocType], [ConversionTime], "
                   "[Pages], [Scanner], "
                   "[Notes], [Size], [FileName]) VALUES (@P1, @P2, @P3, @P4, @P5, @P6, @P7, @P8)");
const QString updateScan1 = QStringLiteral("UPDATE Medicare..tbMedSupportingDocuments SET DatabaseName = "
                                           "'Patient_Files_2020' WHERE RawFileName = 'scan1'");
const QString deleteCurrent =
    QStringLiteral("DELETE FROM Patient_Files..tbPatientDocs WHERE CURRENT OF qormin_cursor_1");
const QString identityHint = QStringLiteral("   drop any identity columns and click sync structure.");

using TransferDBWindowTest = TransferWindowFixture;

// The main window's buttons open both transfer windows.
TEST_F(TransferDBWindowTest, opensWithTheDefaultJobAndKeepsItsBoxesInTheMainSection) {
    run(QStringLiteral("page 14\nclick cmdEclaims\nclick cmdHistorical\n"));
    EXPECT_EQ(subsidiary(QStringLiteral("frmHistorical"))->windowTitle(),
              QStringLiteral("Transfer to History"));
    EXPECT_EQ(subsidiary(QStringLiteral("frmTransferDB"))->windowTitle(), QStringLiteral("Transfer DB"));
    EXPECT_EQ(text(QStringLiteral("frmTransferDB.txtToDatabase")), QStringLiteral("Patient_Files_2020"));
    EXPECT_EQ(text(QStringLiteral("frmTransferDB.txtEndDate")), QStringLiteral("12/31/2020"));
    run(QStringLiteral(
        "set frmTransferDB.txtToDatabase Patient_Files_2021\nset frmTransferDB.txtStartDate \n"));
    subsidiary(QStringLiteral("frmTransferDB"))->close();
    platform::SettingsStore& settings = harness().settings();
    EXPECT_EQ(settings.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtToDatabase")),
              QStringLiteral("Patient_Files_2021"));
    EXPECT_EQ(settings.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtWHERE")),
              QStringLiteral("DocType = 'PHIC Docs'"));
    EXPECT_EQ(settings.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtLog"), QStringLiteral("absent")),
              QStringLiteral("absent"));
    // The main window's own keys in that section are left as they were.
    EXPECT_EQ(settings.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID0")),
              QStringLiteral("sa"));

    harness().restart();
    harness().load();
    run(QStringLiteral("open frmTransferDB\n"));
    EXPECT_EQ(text(QStringLiteral("frmTransferDB.txtToDatabase")), QStringLiteral("Patient_Files_2021"));
    EXPECT_EQ(text(QStringLiteral("frmTransferDB.txtStartDate")), QString());
}

// A source row goes only after its copy went in: the refused second row stops the run with
// the message and keeps its row; the closing line says what happened to each.
TEST_F(TransferDBWindowTest, deletesOnlyRowsWhoseCopyWasWritten) {
    const BatchResult result = run(QStringLiteral("open frmTransferDB\nclick frmTransferDB.chkDelete\n"
                                                  "click frmTransferDB.cmdTransfer\n"),
                                   1);
    EXPECT_EQ(statements().value(0),
              QStringLiteral("DECLARE qormin_cursor_1 CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR ") + docsQuery +
                  QStringLiteral("\r\nOPEN qormin_cursor_1"));
    EXPECT_EQ(changes(), QStringList({docsInsert, updateScan1, deleteCurrent, docsInsert}));
    EXPECT_TRUE(result.output.contains(
        QStringLiteral("MSGBOX: Violation of UNIQUE KEY constraint 'uq_file'.") + identityHint));
    EXPECT_FALSE(result.output.contains(QStringLiteral("MSGBOX: Done.")));
    const QString reconciliation =
        QStringLiteral("Transfer of Patient_Files..tbPatientDocs: read 2, written 1, deleted 1, failed 1");
    EXPECT_TRUE(result.log.contains(reconciliation)) << result.log.toStdString();
    const QStringList log = windowLog(QStringLiteral("frmTransferDB"));
    EXPECT_EQ(log.mid(0, 3), QStringList({reconciliation, QStringLiteral("2020-02-06 09:00:00\t12"),
                                          QStringLiteral("2020-01-05 08:00:00\t11")}));
}

// "id" is not "ID" to a binary comparison: it is copied. A refused delete ends the run; the
// copy stays.
TEST_F(TransferDBWindowTest, copiesLowerCaseIdAndEndsWhenTheDeleteIsRefused) {
    run(QStringLiteral("open frmTransferDB\nclick frmTransferDB.chkDelete\n"));
    auto* grid =
        subsidiary(QStringLiteral("frmTransferDB"))->findChild<controls::FlexGrid*>(QStringLiteral("Grid1"));
    grid->setTextMatrix(1, 0, QStringLiteral("Patient_Files..tbLower"));
    clearTranscript();
    const BatchResult result = run(QStringLiteral("click frmTransferDB.cmdTransfer\n"), 1);
    const QStringList sent = changes();
    ASSERT_EQ(sent.size(), 3);
    EXPECT_TRUE(
        sent[0].startsWith(QStringLiteral("INSERT INTO Patient_Files_2020..tbLower ([id], [PatientID]")));
    EXPECT_EQ(sent[2], QStringLiteral("DELETE FROM Patient_Files..tbLower WHERE CURRENT OF qormin_cursor_1"));
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: The cursor is READ ONLY.") + identityHint));
    EXPECT_FALSE(result.output.contains(QStringLiteral("MSGBOX: Done.")));
    EXPECT_TRUE(result.log.contains(QStringLiteral("read 1, written 1, deleted 0, failed 1")));
}

TEST_F(TransferDBWindowTest, keepsEveryRowWithoutDeleteAndStopsBetweenRows) {
    auto* window = harness().window().openWindow(QStringLiteral("frmTransferDB"));
    auto* progress = window->findChild<QProgressBar*>(QStringLiteral("ProgressBar1"));
    auto* stop = window->findChild<QPushButton*>(QStringLiteral("cmdStop"));
    QObject::connect(progress, &QProgressBar::valueChanged, stop, [stop](int value) {
        if (value == 1) {
            stop->click();
        }
    });
    const BatchResult result = run(QStringLiteral("click frmTransferDB.cmdTransfer\n"));
    EXPECT_EQ(changes(), QStringList({docsInsert, updateScan1}));
    EXPECT_EQ(progress->maximum(), 1000);
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: Done.")));
    EXPECT_TRUE(result.log.contains(QStringLiteral("read 1, written 1, deleted 0, failed 0")));
}

TEST_F(TransferDBWindowTest, tableButtonsSendTheirStatements) {
    const BatchResult result = run(QStringLiteral(
        "open frmTransferDB\nclick frmTransferDB.cmdCreateTable\nclick frmTransferDB.cmdDeleteDestTable\n"
        "click frmTransferDB.cmdCreateIndex\nclick frmTransferDB.cmdSyncStructure\n"));
    // Each missing column's line names its type code and the script that added it.
    const std::pair<const char*, const char*> missing[] = {{"FileName 202", "FileName VarWChar (60)"},
                                                           {"Scanned 135", "Scanned DateTime"},
                                                           {"Kind 129", "Kind Char (4)"},
                                                           {"Fee 6", "Fee Currency"},
                                                           {"Stamp 202", "Stamp VarWChar (27)"}};
    QStringList expected{
        "SELECT *  INTO Patient_Files_2020..tbPatientDocs FROM Patient_Files..tbPatientDocs where 1=2",
        "DROP TABLE Patient_Files_2020..tbPatientDocs",
        "CREATE NONCLUSTERED INDEX by_ConversionTime ON Patient_Files..tbPatientDocs (ConversionTime)",
        "CREATE NONCLUSTERED INDEX by_ConversionTime ON Patient_Files_2020..tbPatientDocs (ConversionTime)"};
    QStringList lines;
    for (const auto& [column, added] : missing) {
        expected << QStringLiteral("ALTER TABLE Patient_Files_2020..tbPatientDocs ADD ") +
                        QLatin1String(added);
        lines << QStringLiteral("Missing  %1 script: %2").arg(QLatin1String(column), expected.last());
    }
    EXPECT_EQ(changes(), expected);
    EXPECT_EQ(windowLog(QStringLiteral("frmTransferDB")).mid(0, 5), lines);
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: OK")));
}

TEST_F(TransferDBWindowTest, namesDatesAndYearsThatDoNotReadAreRefusedBeforeAnythingIsSent) {
    const BatchResult result =
        run(QStringLiteral("open frmTransferDB\nset frmTransferDB.txtToDatabase Patient Files\n"
                           "click frmTransferDB.cmdTransfer\nclick frmTransferDB.cmdCreateTable\n"
                           "set frmTransferDB.txtToDatabase 2020Files\nclick frmTransferDB.cmdTransfer\n"
                           "set frmTransferDB.txtToDatabase Patient_Files_2020\n"
                           "set frmTransferDB.txtEndDate 31/12/2020\nclick frmTransferDB.cmdTransfer\n"
                           "set frmTransferDB.txtEndDate \nset frmTransferDB.txtYears two\n"
                           "click frmTransferDB.cmdTransfer\n"));
    EXPECT_EQ(statements(), QStringList());
    EXPECT_EQ(
        windowLog(QStringLiteral("frmTransferDB")).mid(0, 4),
        QStringList({"\"two\" is not a number of years.", "\"31/12/2020\" is not a date (month/day/year).",
                     "Refused database \"2020Files\": not a plain or bracketed name; nothing was sent",
                     "Skipped \"Patient Files\": the name holds a blank and is not put into a statement"}));
    EXPECT_TRUE(
        result.output.contains(QStringLiteral("MSGBOX: \"31/12/2020\" is not a date (month/day/year).")));
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: \"two\" is not a number of years.")));
}

// Script only withholds the copy, the claims update and the delete; the reads still run.
TEST_F(TransferDBWindowTest, scriptOnlyWithholdsEveryChange) {
    harness().window().serverAccess().setScriptOnly(true);
    const BatchResult result = run(
        QStringLiteral("open frmTransferDB\nclick frmTransferDB.chkDelete\nclick frmTransferDB.cmdTransfer\n"
                       "click frmTransferDB.cmdCreateIndex\n"));
    EXPECT_EQ(changes(), QStringList());
    EXPECT_TRUE(
        result.log.contains(QStringLiteral("Transfer of Patient_Files..tbPatientDocs: read 3, written 0, "
                                           "deleted 0, failed 0, withheld by Script only 3")))
        << result.log.toStdString();
    const QStringList withheld = harness().window().serverAccess().withheldStatements();
    ASSERT_GE(withheld.size(), 11);
    EXPECT_TRUE(
        withheld[0].startsWith(QStringLiteral("INSERT INTO Patient_Files_2020..tbPatientDocs ([PatientID]")));
    EXPECT_EQ(withheld[1], updateScan1);
    EXPECT_EQ(withheld[2], deleteCurrent);
    EXPECT_TRUE(withheld.last().startsWith(QStringLiteral("CREATE NONCLUSTERED INDEX")));
}

} // namespace
} // namespace qormin::test
