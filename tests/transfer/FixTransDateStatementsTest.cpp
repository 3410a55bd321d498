#include "transfer/FixTransDateStatements.h"

#include "QStringPrinter.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

using qormin::transfer::TransDateKeys;
namespace Statements = qormin::transfer::FixTransDateStatements;

const TransDateKeys keys = TransDateKeys::of(QVariant(QStringLiteral("I1")), QVariant(QStringLiteral("R1")),
                                             QVariant(QStringLiteral("V1")), QVariant(QStringLiteral("T1")));
const TransDateKeys nullKeys = TransDateKeys::of(QVariant(), QVariant(), QVariant(), QVariant());

TEST(FixTransDateStatementsTest, statementsAndLogLinesAreTheQuotedOnes) {
    const QString backup = QStringLiteral("Bak..tbBill");
    const QDateTime bad(QDate(2020, 7, 17), QTime(9, 2, 18));
    const QDateTime good(QDate(2020, 7, 1), QTime(8, 0));
    const std::pair<QString, const char*> cases[] = {
        {Statements::methodQuery(0, backup, keys),
         "SELECT  TRANSDATE FROM  Bak..tbBill  WITH (NOLOCK)  WHERE  IDNUM= 'I1' AND refnum   ='R1' AND "
         "RevenueID= 'V1' AND itemid= 'T1'"},
        {Statements::methodQuery(0, backup, nullKeys),
         "SELECT  TRANSDATE FROM  Bak..tbBill  WITH (NOLOCK)  WHERE  IDNUM IS NULL  AND refnum   IS NULL  "
         "AND RevenueID IS NULL  AND itemid IS NULL "},
        {Statements::methodQuery(2, backup, keys),
         "select ProcessDate FROM station..tbNurseLogBook  WITH (NOLOCK) where  IDNUM= 'I1' AND "
         "ReferenceNum   ='R1' AND RevenueID= 'V1' AND itemid= 'T1' and ProcessDate IS NOT NULL "},
        {Statements::methodQuery(3, backup, keys),
         "select RequestDate FROM station..tbNurseLogBook  WITH (NOLOCK) where  IDNUM= 'I1' AND "
         "ReferenceNum    ='R1' AND RevenueID= 'V1' AND itemid= 'T1' and RequestDate IS NOT NULL "},
        {Statements::methodQuery(4, backup, keys),
         "select CutOffDate  FROM BILLING..tbBillDailyBILL  WITH (NOLOCK) where  IDNUM= 'I1' AND RefNum   "
         "='R1' AND RevenueID= 'V1' AND itemid= 'T1' and CutOffDate IS NOT NULL "},
        {Statements::methodQuery(5, backup, keys),
         "select Transdate from billing..tbcashormaster   WITH (NOLOCK) where  IDNUM= 'I1' AND RefNum   "
         "='R1' and Transdate IS NOT NULL "},
        {Statements::methodQuery(6, backup, keys),
         "select transdate from billing..tbbillseniordiscount     WITH (NOLOCK) where  IDNUM= 'I1' AND "
         "RevenueID= 'V1' and Transdate IS NOT NULL "},
        {Statements::methodQuery(7, backup, keys),
         "select ComputedDate FROM medicare..tbMedActual  WITH (NOLOCK) where  IDNUM= 'I1' and "
         "ComputedDate IS NOT NULL "},
        {Statements::methodQuery(8, backup, keys),
         "select AdmDate FROM Patient_Data..tbPatient WITH (NOLOCK) where  IDNUM= 'I1'"},
        {Statements::methodQuery(9, backup, keys),
         "select Transdate from billing..tbcashormaster   WITH (NOLOCK) where   RefNum   ='R1' and "
         "Transdate IS NOT NULL "},
        {Statements::methodQuery(9, backup, nullKeys),
         "select Transdate from billing..tbcashormaster   WITH (NOLOCK) where   RefNum   IS NULL  and "
         "Transdate IS NOT NULL "},
        {Statements::methodQuery(1, backup, keys), ""},
        {Statements::addFixedColumn(QStringLiteral("B..t")),
         "ALTER TABLE   B..t  ADD TransDateFixed integer"},
        {Statements::rowCountQuery(),
         "SELECT SUM (ROW_COUNT)   as X  FROM sys.dm_db_partition_stats  WHERE OBJECT_ID = "
         "OBJECT_ID('TBBILLDAILYBILL')  "},
        {Statements::whereOrAll(QString()), "1=1"},
        {Statements::badRowsQuery(QStringLiteral("B..t"), QStringLiteral("x = 1")),
         "SELECT * FROM B..t WHERE x = 1"},
        {Statements::foundInBackupLine(bad, good),
         "Found, method 0:  updating2020-07-17 09:02:18.000 to2020-07-01 08:00:00.000"},
        {Statements::foundLine(4, good), "Found , method:4, tdate:2020-07-01 08:00:00.000"},
        {Statements::notFoundInSourcesLine(QStringLiteral("I1"), 7, QVariant(), QStringLiteral("T1")),
         "Rec not Found in sources d_IDNum:I1 d_RevenueID:7 d_RefNum: d_ItemId:T1"},
        {Statements::resumeWhere, "TransDate = '2020-07-17 09:02:18.000' AND TransDateFixed IS NULL "},
    };
    for (const auto& [built, expected] : cases) {
        EXPECT_EQ(built, QString::fromUtf8(expected));
    }
}

} // namespace
