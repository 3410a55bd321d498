#include "QStringPrinter.h"
#include "TransferWindowFixture.h"

#include "RowName.h"
#include "controls/FlexGrid.h"

#include <QDate>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

using HistoricalWindowTest = TransferWindowFixture;

QString yearsAgo(int years) {
    return QDate::currentDate().addYears(-years).toString(QStringLiteral("yyyyMMdd"));
}

// The log and journal tables the window starts with, each with its date column (none: purged whole).
TEST_F(HistoricalWindowTest, gridsStartWithTheLogAndJournalTables) {
    run(QStringLiteral("open frmHistorical\n"));
    const std::pair<const char*, QStringList> grids[] = {
        {"Grid1",
         {"Station..tbNurseLogBook\tRequestDate", "Station..tbNurseCommunicationFile\tRequestDate",
          "Station..tbstationlogs\tTransDate", "inventory..tbInvStockCard\tTransDate",
          "inventory..tbInvProfile\tTransDate", "billing..tbBillDailyBill\tTransDate",
          "billing..tbBillOPDailyOut\tTransDate", "billing..tbCashAssessment\tTransDate",
          "Billing..tbBilling_UserLogin\tLogInDate", "laboratory..tbLABLogBook\tTransDate",
          "laboratory..tbLABLogBook2\tTransDate", "laboratory..tbLABMaster\tTransDate"}},
        {"Grid2",
         {"Station..tbstationlogs\tTransDate", "Billing..tbBilling_UserLogin\tLogInDate",
          "Medicare..Medic_ORLogBook\t", "Medicare..Medic_LogBook\t", "Medicare..Medic_LabLogBook\t",
          "Medicare..Medic_XrayLogBook\t", "Medicare..medic_DumpAVGDays\t", "Medicare..Medic_DumpDiscount\t",
          "Medicare..Medic_DumpTable_Actual\t", "Medicare..Medic_DumpTable_Form3And4\t"}}};
    for (const auto& [name, rows] : grids) {
        const auto* grid = subsidiary(QStringLiteral("frmHistorical"))->findChild<controls::FlexGrid*>(name);
        EXPECT_EQ(grid->toText().split(u'\n').mid(1), rows) << name;
    }
}

// Every column goes, "ID" included, into the HISTORY table of the same name; no claims update
// and no closing message.
TEST_F(HistoricalWindowTest, movesRowsOlderThanTheYearsWithEveryColumn) {
    const BatchResult result =
        run(QStringLiteral("open frmHistorical\nset frmHistorical.txtYears 2\nclick frmHistorical.chkDelete\n"
                           "select frmHistorical.Grid1 3\nclick frmHistorical.cmdTransfer\n"));
    EXPECT_EQ(
        statements().value(0),
        QStringLiteral("DECLARE qormin_cursor_1 CURSOR GLOBAL DYNAMIC OPTIMISTIC FOR SELECT top 1000 * FROM "
                       "Station..tbstationlogs WHERE TransDate < convert(datetime,'%1')  ORDER BY TransDate "
                       "ASC\r\nOPEN qormin_cursor_1")
            .arg(yearsAgo(2)));
    const QString insert =
        QStringLiteral("INSERT INTO HISTORY..tbstationlogs ([ID], [RequestDate], [TransDate], "
                       "[Note]) VALUES (@P1, @P2, @P3, @P4)");
    const QString remove =
        QStringLiteral("DELETE FROM Station..tbstationlogs WHERE CURRENT OF qormin_cursor_1");
    EXPECT_EQ(changes(), QStringList({insert, remove, insert, remove}));
    EXPECT_FALSE(result.output.contains(QStringLiteral("MSGBOX")));
    EXPECT_TRUE(result.log.contains(
        QStringLiteral("Transfer of Station..tbstationlogs: read 2, written 2, deleted 2, failed 0")));
}

// A destination with an identity ID cannot take the copied ID: nothing is written or deleted,
// and the batch run fails.
TEST_F(HistoricalWindowTest, identityDestinationGetsNothingAndTheHint) {
    const BatchResult result =
        run(QStringLiteral("open frmHistorical\nset frmHistorical.txtYears 2\nclick "
                           "frmHistorical.chkDelete\nclick frmHistorical.cmdTransfer\n"),
            1);
    EXPECT_TRUE(
        result.log.contains(QStringLiteral("Left out of every row: HISTORY..tbNurseLogBook, ID = 1, column "
                                           "ID: an identity column while IDENTITY_INSERT is off")));
    EXPECT_EQ(changes(), QStringList());
    EXPECT_TRUE(result.output.contains(QStringLiteral(
        "MSGBOX: Field cannot be updated.   drop any identity columns and click sync structure.")));
    EXPECT_TRUE(result.log.contains(QStringLiteral("read 1, written 0, deleted 0, failed 1")));
}

struct KeptCase {
    const char* name;
    const char* table;
    int moved; // rows written and deleted before the run stopped
    const char* lossLine;
    const char* reconciliation;
};

class KeptRowTest : public HistoricalWindowTest, public testing::WithParamInterface<KeptCase> {};

// With delete after transfer, a row whose copy would differ (cents into numeric(18,0), as Sync
// Structure adds a money column) or whose INSERT did not say it wrote one row stays in the
// source, with a line naming it, and the batch run fails.
TEST_P(KeptRowTest, keepsTheSourceRowUnlessItsCopyIsKnownToBeTheSame) {
    const KeptCase& c = GetParam();
    run(QStringLiteral("open frmHistorical\nset frmHistorical.txtYears 2\nclick frmHistorical.chkDelete\n"));
    auto* grid =
        subsidiary(QStringLiteral("frmHistorical"))->findChild<controls::FlexGrid*>(QStringLiteral("Grid1"));
    grid->setTextMatrix(1, 0, QStringLiteral("Billing..") + QLatin1String(c.table));
    clearTranscript();
    const BatchResult result = run(QStringLiteral("click frmHistorical.cmdTransfer\n"), 1);
    const QString insert =
        QStringLiteral("INSERT INTO HISTORY..%1 ([ID], [RequestDate], [Fee]) VALUES (@P1, @P2, @P3)")
            .arg(QLatin1String(c.table));
    QStringList expected;
    for (int row = 0; row < c.moved; ++row) {
        expected << insert
                 << QStringLiteral("DELETE FROM Billing..%1 WHERE CURRENT OF qormin_cursor_1")
                        .arg(QLatin1String(c.table));
    }
    if (c.moved == 0) {
        expected << insert;
    }
    EXPECT_EQ(changes(), expected);
    EXPECT_TRUE(result.log.contains(QString::fromUtf8(c.lossLine))) << result.log.toStdString();
    EXPECT_TRUE(result.log.contains(QString::fromUtf8(c.reconciliation)));
    EXPECT_TRUE(result.log.contains(QStringLiteral("values lost 1,")));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, KeptRowTest,
    testing::Values(
        KeptCase{"centsIntoNumeric", "tbFees", 1,
                 "Not written: HISTORY..tbFees, ID = 2, column Fee: the value has more decimals than "
                 "numeric(18,0) keeps",
                 "read 2, written 1, deleted 1, failed 1"},
        KeptCase{"insertWroteNoRow", "tbSwallowed", 0,
                 "Not known to be written: HISTORY..tbSwallowed, ID = 1, column -: The INSERT did not "
                 "report one row written",
                 "read 1, written 0, deleted 0, failed 1"}),
    qormin::test::RowName());

TEST_F(HistoricalWindowTest, purgeOfAllTablesSaysWhichAreEmptiedAndTruncatesThem) {
    const BatchResult result =
        run(QStringLiteral("open frmHistorical\nset frmHistorical.txtYears 3\nclick "
                           "frmHistorical.chkAllTables\nclick frmHistorical.cmdDeleteData\n"));
    QStringList expected{
        QStringLiteral("DELETE FROM  Station..tbstationlogs WHERE TransDate < convert(datetime,'%1')  ")
            .arg(yearsAgo(3)),
        QStringLiteral("DELETE FROM  Billing..tbBilling_UserLogin WHERE LogInDate < convert(datetime,'%1')  ")
            .arg(yearsAgo(3))};
    const QStringList emptied{"Medicare..Medic_ORLogBook",        "Medicare..Medic_LogBook",
                              "Medicare..Medic_LabLogBook",       "Medicare..Medic_XrayLogBook",
                              "Medicare..medic_DumpAVGDays",      "Medicare..Medic_DumpDiscount",
                              "Medicare..Medic_DumpTable_Actual", "Medicare..Medic_DumpTable_Form3And4"};
    for (const QString& table : emptied) {
        expected.append(QStringLiteral("TRUNCATE TABLE  ") + table + QStringLiteral("    "));
    }
    EXPECT_EQ(changes(), expected);
    EXPECT_EQ(text(QStringLiteral("frmHistorical.lblStatus")),
              QStringLiteral("Emptying every row of: ") + emptied.join(QStringLiteral(", ")));
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: done.")));
}

TEST_F(HistoricalWindowTest, indexesTheSourceOnlyAndPreviewsWithTabs) {
    run(QStringLiteral(
        "open frmHistorical\nselect frmHistorical.Grid1 3\nclick frmHistorical.cmdCreateIndex\n"
        "click frmHistorical.cmdSelect\n"));
    EXPECT_EQ(changes(),
              QStringList({"CREATE NONCLUSTERED INDEX by_TransDate ON Station..tbstationlogs (TransDate)"}));
    EXPECT_EQ(windowLog(QStringLiteral("frmHistorical")).mid(0, 3),
              QStringList({"ID\tTransDate", "1\t2001-01-01 00:00:00", "2\t2002-02-02 00:00:00"}));
}

} // namespace
} // namespace qormin::test
