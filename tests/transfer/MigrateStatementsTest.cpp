#include "transfer/MigrateStatements.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

namespace Statements = qormin::transfer::MigrateStatements;

TEST(MigrateStatementsTest, statementAndStatusTextsAreTheQuotedOnes) {
    EXPECT_EQ(Statements::countQuery(QStringLiteral("Old..tbPatient")),
              QStringLiteral("SELECT COUNT (1) FROM Old..tbPatient AS RECCOUNT"));
    EXPECT_EQ(Statements::firstRowsQuery(QStringLiteral("Old..tbPatient")),
              QStringLiteral("SELECT TOP 20 * FROM Old..tbPatient"));
    EXPECT_EQ(Statements::keyLookup(QStringLiteral("New..tbPatient"), QStringLiteral("PatientID"),
                                    QStringLiteral("7")),
              QStringLiteral("SELECT * FROM New..tbPatient WHERE PatientID = '7'"));
    EXPECT_EQ(Statements::addedLine(QStringLiteral("7")), QStringLiteral("Added:7"));
    EXPECT_EQ(Statements::alreadyExistsLine(QStringLiteral("7")),
              QStringLiteral("Already exists in destination DB:7"));
    EXPECT_EQ(Statements::continueQuestion(QStringLiteral("Bad."), QStringLiteral("Name"),
                                           QStringLiteral("LastName"), QStringLiteral("x")),
              QStringLiteral("Error Bad. Source field:Name Dest field: LastName value:x. Continue?"));
    EXPECT_EQ(Statements::simulateNoDestinationFields, QStringLiteral("Simulate: No destination fields "));
}

struct RemainderCase {
    const char* name;
    QVariant value;
    const char* remainder;
    QVariant expected;
    bool understood;
};

class RemainderTest : public ::testing::TestWithParam<RemainderCase> {};

TEST_P(RemainderTest, aLengthCutsTheValueAnythingElseLeavesIt) {
    const RemainderCase& c = GetParam();
    EXPECT_EQ(Statements::applyRemainder(c.value, QString::fromUtf8(c.remainder)), c.expected);
    EXPECT_EQ(Statements::remainderUnderstood(QString::fromUtf8(c.remainder)), c.understood);
}

INSTANTIATE_TEST_SUITE_P(
    Remainders, RemainderTest,
    ::testing::Values(
        RemainderCase{"none", QVariant(QStringLiteral("Hospital")), "", QStringLiteral("Hospital"), true},
        RemainderCase{"length", QVariant(QStringLiteral("Hospital")), " 4 ", QStringLiteral("Hosp"), true},
        RemainderCase{"longerThanValue", QVariant(QStringLiteral("Hos")), "10", QStringLiteral("Hos"), true},
        RemainderCase{"numberCutAsText", QVariant(123456), "3", QStringLiteral("123"), true},
        RemainderCase{"nullStaysNull", QVariant(), "3", QVariant(), true},
        RemainderCase{"zero", QVariant(QStringLiteral("abc")), "0", QStringLiteral("abc"), false},
        RemainderCase{"words", QVariant(QStringLiteral("abc")), "LEFT 2", QStringLiteral("abc"), false}),
    qormin::test::RowName());

// Keys with a quote or nothing are not used; a constant is the text after its first character.
TEST(MigrateStatementsTest, keysAndConstants) {
    EXPECT_TRUE(Statements::keyUsable(QStringLiteral("12")));
    EXPECT_FALSE(Statements::keyUsable(QString()));
    EXPECT_FALSE(Statements::keyUsable(QStringLiteral("O'Brien")));
    EXPECT_TRUE(Statements::isConstant(QStringLiteral("=A")));
    EXPECT_EQ(Statements::constantOf(QStringLiteral("=A")), QStringLiteral("A"));
    EXPECT_EQ(Statements::constantOf(QStringLiteral("X=1")), QStringLiteral("=1"));
    EXPECT_FALSE(Statements::isConstant(QStringLiteral("PatID")));
    EXPECT_EQ(Statements::valueText(QDateTime(QDate(2020, 7, 17), QTime(9, 2, 18))),
              QStringLiteral("2020-07-17 09:02:18.000"));
}

} // namespace
