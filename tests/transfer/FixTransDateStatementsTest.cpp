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

struct MethodCase {
    int method;
    const TransDateKeys* keys;
    const char* expected;
};

class MethodQueryTest : public ::testing::TestWithParam<MethodCase> {};

TEST_P(MethodQueryTest, isTheQuotedStatementWithItsPieces) {
    const MethodCase& c = GetParam();
    EXPECT_EQ(Statements::methodQuery(c.method, QStringLiteral("Bak..tbBill"), *c.keys),
              QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Methods, MethodQueryTest,
    ::testing::Values(
        MethodCase{
            0, &keys,
            "SELECT  TRANSDATE FROM  Bak..tbBill  WITH (NOLOCK)  WHERE  IDNUM= 'I1' AND refnum   ='R1' AND "
            "RevenueID= 'V1' AND itemid= 'T1'"},
        MethodCase{
            0, &nullKeys,
            "SELECT  TRANSDATE FROM  Bak..tbBill  WITH (NOLOCK)  WHERE  IDNUM IS NULL  AND refnum   IS NULL  "
            "AND RevenueID IS NULL  AND itemid IS NULL "},
        MethodCase{2, &keys,
                   "select ProcessDate FROM station..tbNurseLogBook  WITH (NOLOCK) where  IDNUM= 'I1' AND "
                   "ReferenceNum   ='R1' AND RevenueID= 'V1' AND itemid= 'T1' and ProcessDate IS NOT NULL "},
        MethodCase{3, &keys,
                   "select RequestDate FROM station..tbNurseLogBook  WITH (NOLOCK) where  IDNUM= 'I1' AND "
                   "ReferenceNum    ='R1' AND RevenueID= 'V1' AND itemid= 'T1' and RequestDate IS NOT NULL "},
        MethodCase{
            4, &keys,
            "select CutOffDate  FROM BILLING..tbBillDailyBILL  WITH (NOLOCK) where  IDNUM= 'I1' AND RefNum   "
            "='R1' AND RevenueID= 'V1' AND itemid= 'T1' and CutOffDate IS NOT NULL "},
        MethodCase{
            5, &keys,
            "select Transdate from billing..tbcashormaster   WITH (NOLOCK) where  IDNUM= 'I1' AND RefNum   "
            "='R1' and Transdate IS NOT NULL "},
        MethodCase{
            6, &keys,
            "select transdate from billing..tbbillseniordiscount     WITH (NOLOCK) where  IDNUM= 'I1' AND "
            "RevenueID= 'V1' and Transdate IS NOT NULL "},
        MethodCase{7, &keys,
                   "select ComputedDate FROM medicare..tbMedActual  WITH (NOLOCK) where  IDNUM= 'I1' and "
                   "ComputedDate IS NOT NULL "},
        MethodCase{8, &keys, "select AdmDate FROM Patient_Data..tbPatient WITH (NOLOCK) where  IDNUM= 'I1'"},
        MethodCase{9, &keys,
                   "select Transdate from billing..tbcashormaster   WITH (NOLOCK) where   RefNum   ='R1' and "
                   "Transdate IS NOT NULL "},
        MethodCase{
            9, &nullKeys,
            "select Transdate from billing..tbcashormaster   WITH (NOLOCK) where   RefNum   IS NULL  and "
            "Transdate IS NOT NULL "},
        MethodCase{1, &keys, ""}));

TEST(FixTransDateStatementsTest, runStatementsAndLogLinesAreTheQuotedOnes) {
    EXPECT_EQ(Statements::addFixedColumn(QStringLiteral("B..t")),
              QStringLiteral("ALTER TABLE   B..t  ADD TransDateFixed integer"));
    EXPECT_EQ(
        Statements::rowCountQuery(),
        QStringLiteral("SELECT SUM (ROW_COUNT)   as X  FROM sys.dm_db_partition_stats  WHERE OBJECT_ID = "
                       "OBJECT_ID('TBBILLDAILYBILL')  "));
    EXPECT_EQ(Statements::whereOrAll(QString()), QStringLiteral("1=1"));
    EXPECT_EQ(Statements::badRowsQuery(QStringLiteral("B..t"), QStringLiteral("x = 1")),
              QStringLiteral("SELECT * FROM B..t WHERE x = 1"));
    const QDateTime bad(QDate(2020, 7, 17), QTime(9, 2, 18));
    const QDateTime good(QDate(2020, 7, 1), QTime(8, 0));
    EXPECT_EQ(Statements::foundInBackupLine(bad, good),
              QStringLiteral("Found, method 0:  updating2020-07-17 09:02:18.000 to2020-07-01 08:00:00.000"));
    EXPECT_EQ(Statements::foundLine(4, good),
              QStringLiteral("Found , method:4, tdate:2020-07-01 08:00:00.000"));
    EXPECT_EQ(Statements::notFoundInSourcesLine(QStringLiteral("I1"), 7, QVariant(), QStringLiteral("T1")),
              QStringLiteral("Rec not Found in sources d_IDNum:I1 d_RevenueID:7 d_RefNum: d_ItemId:T1"));
    EXPECT_EQ(Statements::resumeWhere,
              QStringLiteral("TransDate = '2020-07-17 09:02:18.000' AND TransDateFixed IS NULL "));
}

} // namespace
