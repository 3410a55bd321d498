#include "DatabaseFileFixture.h"
#include "QStringPrinter.h"
#include "RowName.h"

#include "controls/FileListBox.h"
#include "window/DestructiveConfirmation.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

struct ConfirmCase {
    const char* name;
    const char* setup;               // batch lines before the click, run before each of the three clicks
    const char* click;               // the batch line that clicks
    int side;                        // the side the question names, or bothSides
    const char* question;            // %1: that side's server (both: %1 left, %2 right); nullptr: none
    const char* action;              // as the log line names it
    const char* listFiles = nullptr; // "<list>:<file>,<file>": backup files the list shows
};

class ConfirmationTest : public DatabaseFileFixture, public testing::WithParamInterface<ConfirmCase> {
protected:
    QByteArray extraRules() const override {
        return R"json(
    {"prefix": " SELECT     t.NAME AS TableName,",
     "response": {"result": {"columns": ["TableName:nvarchar(128)", "SchemaName:nvarchar(128)", "RowCounts:bigint",
                                         "TotalSpaceKB:bigint", "UsedSpaceKB:bigint", "UnusedSpaceKB:bigint"],
                             "rows": [["tbPatient", "dbo", 10, 8, 8, 0], ["tbVisit", "dbo", 5, 8, 8, 0]]}}},)json";
    }
    struct Click {
        QStringList sent;
        QString output;
    };
    // The setup runs as a batch of its own, so only the click's statements and boxes are seen.
    Click click(bool ticked, const QString& answer) {
        harness().runBatch(QStringLiteral("set chkConfirmDestructive %1\n").arg(ticked ? 1 : 0) +
                           QString::fromUtf8(GetParam().setup) + u'\n');
        clearTranscripts();
        const BatchResult result = harness().runBatch(answer + QString::fromUtf8(GetParam().click) + u'\n');
        QStringList sent = statements(0) + QStringList{QStringLiteral("--")} + statements(1);
        // Each record loop names its cursor anew.
        sent.replaceInStrings(QRegularExpression(QStringLiteral("qormin_cursor_\\d+")),
                              QStringLiteral("cursor"));
        return {sent, result.output};
    }
    void showListFiles() {
        const QString listAndFiles = QString::fromUtf8(GetParam().listFiles);
        auto* list = window().findChild<controls::FileListBox*>(listAndFiles.section(u':', 0, 0));
        ASSERT_NE(list, nullptr);
        const QString folder = harness().folder(QStringLiteral("lists/") + list->objectName());
        for (const QString& file : listAndFiles.section(u':', 1).split(u','))
            ASSERT_TRUE(QFile(QDir(folder).filePath(file)).open(QIODevice::WriteOnly));
        ASSERT_TRUE(list->setPath(folder + u'/'));
    }
};

// Unticked, nothing is asked and the statements are those of the handler as it always ran;
// ticked, one question per click names side, server and databases: Yes sends exactly those
// statements, No (or no answer) sends nothing and says so in the log.
TEST_P(ConfirmationTest, asksOncePerClickAndSendsNothingOnNo) {
    const ConfirmCase& c = GetParam();
    if (c.listFiles != nullptr)
        showListFiles();
    const Click unticked = click(false, QString());
    EXPECT_FALSE(unticked.output.contains(QStringLiteral("Go ahead?"))) << unticked.output.toStdString();
    ASSERT_GT(unticked.sent.size(), 1) << "the handler sends something to be asked about";

    const QString answer = c.question == nullptr ? QString() : QStringLiteral("answer yes\n");
    const Click yes = click(true, answer);
    EXPECT_EQ(yes.sent, unticked.sent);
    if (c.question == nullptr) {
        EXPECT_EQ(yes.output, unticked.output);
        return;
    }
    const QString question = QString::fromUtf8(c.question);
    const QString asked = QStringLiteral("MSGBOX: ") +
                          (c.side < 0 ? question.arg(server(0).address(), server(1).address())
                                      : question.arg(server(c.side).address())) +
                          QStringLiteral(" -> ");
    EXPECT_EQ(yes.output, asked + QStringLiteral("yes\n") + unticked.output);

    // A run that gives no answer takes No, as Enter does in the window.
    for (const QString& noAnswer : {QStringLiteral("answer no\n"), QString()}) {
        const Click no = click(true, noAnswer);
        EXPECT_EQ(no.sent, QStringList{QStringLiteral("--")});
        EXPECT_EQ(no.output, asked + QStringLiteral("no\n"));
        EXPECT_EQ(logLines().value(0), window::notConfirmedLine({QString::fromUtf8(c.action), c.side, {}}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, ConfirmationTest,
    testing::Values(
        ConfirmCase{"dropDB", "set txtDB Billing", "click cmdDrop(1)", 1,
                    "DropDB on the right server %1: database Billing. Go ahead?", "DropDB"},
        // Unticked it starts at once, STOP ticked and ALL DBS unticked as they may be.
        ConfirmCase{"dropAll", "set chkStop 1\nset chkALL 0", "click cmdDropAll(1)", 1,
                    "Drop ALL on the right server %1: 3 databases: Billing, Patient_Data, Station. Go ahead?",
                    "Drop ALL"},
        ConfirmCase{"dropAllLeftEndsSessions", "set chkStop 0", "click cmdDropAll(0)", 0,
                    "Drop ALL on the left server %1: 3 databases: Billing, Patient_Data, Station. Go ahead?",
                    "Drop ALL"},
        ConfirmCase{
            "detachAll", "set chkALL 1", "click cmdDetachAll", 1,
            "Detach All on the right server %1: 3 databases: Billing, Patient_Data, Station. Go ahead?",
            "Detach All"},
        ConfirmCase{"restoreOverAListedDatabase", "set chkALL 0\nset txtDB station", "click cmdRestore(1)", 1,
                    "Restore over existing databases on the right server %1: database station. Go ahead?",
                    "Restore over existing databases"},
        ConfirmCase{"restoreOfANewDatabaseAsksNothing", "set chkALL 0\nset txtDB Radiology",
                    "click cmdRestore(0)", 0, nullptr, ""},
        ConfirmCase{
            "restoreAllOverListedDatabases", "set chkALL 1\nset chkLogOnly 0", "click cmdRestore(0)", 0,
            "Restore over existing databases on the left server %1: 2 databases: Billing, Station. "
            "Go ahead?",
            "Restore over existing databases", "FileB:Billing.bak,Billing_log.bak,New.bak,Station.bak"},
        ConfirmCase{
            "restoreAllToMain", "set chkStop 0", "click cmdRestoreMain", 0,
            "Restore ALL to Main (WITH REPLACE) on the left server %1: 2 databases: Radiology, Station. "
            "Go ahead?",
            "Restore ALL to Main (WITH REPLACE)", "File1:Radiology.bak,Station.bak"},
        ConfirmCase{"restoreClickedToMain", "", "dblclick File1 0", 0,
                    "Restore to Main (WITH REPLACE) on the left server %1: database Radiology. Go ahead?",
                    "Restore to Main (WITH REPLACE)", "File1:Radiology.bak"},
        ConfirmCase{"mirrorAllOverAListedDatabase", "set chkALL 0\nset txtDB Billing",
                    "click cmdMirrorAll(1)", 1,
                    "Mirror All (restore over existing databases) on the right server %1: database Billing. "
                    "Go ahead?",
                    "Mirror All (restore over existing databases)"},
        // The reset script drops the endpoint, certificates and logins on both servers.
        ConfirmCase{"mirroringResetScript", "", "click cmdRunScript(0)", window::DestructiveAction::bothSides,
                    "Run script 1 (it drops) on the left server %1 and the right server %2. Go ahead?",
                    "Run script 1 (it drops)"},
        ConfirmCase{"truncate", "set txtDB Billing\ndblclick GridDB(0) 1\nselect Grid2 2",
                    "click cmdTruncate", 0,
                    "Truncate on the left server %1: table Billing..tbVisit. Go ahead?", "Truncate"},
        ConfirmCase{
            "dropSisterTables", "set txtDB Billing\ndblclick GridDB(0) 1\nset chkAllTables 1",
            "click cmdDropTableDB2", 0,
            "Drop table DBname_2 on the left server %1: 2 tables: Billing2..tbPatient, Billing2..tbVisit. "
            "Go ahead?",
            "Drop table DBname_2"},
        ConfirmCase{
            "copyIntoEmptiesTheCopy",
            "set txtDB Billing\ndblclick GridDB(0) 1\nset chkAllTables 0\nselect Grid2 1",
            "click cmdCopyInto", 0,
            "Copy Into (empties the copy first) on the left server %1: table Billing2..tbPatient. Go ahead?",
            "Copy Into (empties the copy first)"},
        ConfirmCase{
            "copyToNew", "set txtDB Billing\ndblclick GridDB(0) 1\nselect Grid2 1", "click cmdCopytoNEW", 0,
            "Copy to _NEW2 (drops the copy first) on the left server %1: table Billing..tbPatient_NEW2. "
            "Go ahead?",
            "Copy to _NEW2 (drops the copy first)"},
        ConfirmCase{"purge",
                    "open frmHistorical\nset frmHistorical.txtYears 2\nset frmHistorical.chkAllTables 0\n"
                    "select frmHistorical.Grid2 1",
                    "click frmHistorical.cmdDeleteData", 0,
                    "Delete Data on the left server %1: table Station..tbstationlogs. Go ahead?",
                    "Delete Data"},
        ConfirmCase{"deleteDestTable", "open frmHistorical\nselect frmHistorical.Grid1 3",
                    "click frmHistorical.cmdDeleteDestTable", 0,
                    "Delete Dest Table on the left server %1: table HISTORY..tbstationlogs. Go ahead?",
                    "Delete Dest Table"},
        ConfirmCase{"transferDeletingSourceRows",
                    "open frmHistorical\nset frmHistorical.txtYears 2\n"
                    "set frmHistorical.chkDelete 1\nselect frmHistorical.Grid1 3",
                    "click frmHistorical.cmdTransfer", 0,
                    "Transfer, deleting each source row after its copy on the left server %1: table "
                    "Station..tbstationlogs. Go ahead?",
                    "Transfer, deleting each source row after its copy"}),
    qormin::test::RowName());

// For many databases the question names the count and the first five; an action that names its
// target itself gets none.
TEST(DestructiveQuestionTest, namesTheCountAndTheFirstFew) {
    const QStringList seven{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C"),
                            QStringLiteral("D"), QStringLiteral("E"), QStringLiteral("F"),
                            QStringLiteral("G")};
    const struct {
        window::DestructiveAction action;
        const char* question;
    } cases[] = {
        {{QStringLiteral("Drop ALL"), 1, seven},
         "Drop ALL on the right server S: 7 databases: A, B, C, D, E and 2 more. Go ahead?"},
        {{QStringLiteral("Drop ALL"), 1, seven.mid(0, 5)},
         "Drop ALL on the right server S: 5 databases: A, B, C, D, E. Go ahead?"},
        {{QStringLiteral("Wipe"), 0, {}}, "Wipe on the left server L. Go ahead?"},
        {{QStringLiteral("Wipe"), window::DestructiveAction::bothSides, {}},
         "Wipe on the left server L and the right server S. Go ahead?"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(window::destructiveQuestion(c.action, {QStringLiteral("L"), QStringLiteral("S")}),
                  QString::fromUtf8(c.question));
}

} // namespace
} // namespace qormin::test
