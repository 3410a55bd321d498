#include "db/NameGuard.h"

#include "QStringPrinter.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using namespace qormin::db;

using Position = NameGuard::Position;

struct NameCase {
    const char* name;
    QString text;
    const char* enclosed;    // in [ ] or ' ': empty when the name goes through
    const char* unbracketed; // standing bare
};

class NameGuardTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(NameGuardTest, refusesOnlyWhatCouldEndTheNameWhereItStands) {
    EXPECT_EQ(NameGuard::refusal(GetParam().text, Position::Bracketed),
              QString::fromUtf8(GetParam().enclosed));
    EXPECT_EQ(NameGuard::refusal(GetParam().text, Position::Quoted), QString::fromUtf8(GetParam().enclosed));
    EXPECT_EQ(NameGuard::refusal(GetParam().text, Position::Unbracketed),
              QString::fromUtf8(GetParam().unbracketed));
}

const char* const blank = "a blank";

INSTANTIATE_TEST_SUITE_P(
    Names, NameGuardTest,
    ::testing::Values(
        NameCase{"database", QStringLiteral("Patient_Data"), "", ""},
        NameCase{"headerRow", QStringLiteral("name"), "", ""},
        NameCase{"threePartTable", QStringLiteral("Billing..tbBillDailyBill_NEW2"), "", ""},
        NameCase{"identifierSigns", QStringLiteral("#tmp@x$1"), "", ""},
        NameCase{"accented", QStringLiteral("Büro"), "", ""},
        NameCase{"bracketedParts", QStringLiteral("[Patient Data].[dbo].[tb master]"), "a closing bracket",
                 ""},
        NameCase{"blankAndDigits", QStringLiteral("Lab Results 2024"), "", blank},
        NameCase{"trailingStatement", QStringLiteral("x SHUTDOWN "), "", blank},
        NameCase{"leadingBlank", QStringLiteral(" x"), "", blank},
        NameCase{"noBreakSpace", QStringLiteral("x") + QChar(0xA0) + QStringLiteral("y"), "", blank},
        NameCase{"backupFileName", QStringLiteral("Billing_log.BAK"), "", ""},
        NameCase{"folderText", QStringLiteral("p:\\backup\\MIR\\"), "", "a \":\""},
        NameCase{"openingBracketAlone", QStringLiteral("[Billing"), "", "an unclosed bracket"},
        NameCase{"bracketInsideAPart", QStringLiteral("Bill[ing]"), "a closing bracket",
                 "an opening bracket"},
        NameCase{"textAfterABracketedPart", QStringLiteral("[x] y"), "a closing bracket",
                 "a closing bracket"},
        NameCase{"escapedBracket", QStringLiteral("[a]]b]"), "a closing bracket", "a closing bracket"},
        NameCase{"singleDash", QStringLiteral("Billing-2024"), "", "a \"-\""},
        NameCase{"doubleQuote", QStringLiteral("Bill\"ing"), "", "a \"\"\""},
        NameCase{"parenthesis", QStringLiteral("x)"), "", "a \")\""},
        NameCase{"quote", QStringLiteral("Bill'ing"), "a quote", "a quote"},
        NameCase{"closingBracket", QStringLiteral("Billing]"), "a closing bracket", "a closing bracket"},
        NameCase{"semicolon", QStringLiteral("Billing;DROP DATABASE x"), "a semicolon", "a semicolon"},
        NameCase{"lineComment", QStringLiteral("Billing--"), "a comment marker", "a comment marker"},
        NameCase{"blockComment", QStringLiteral("Billing/*x*/"), "a comment marker", "a comment marker"},
        NameCase{"commentInsideBrackets", QStringLiteral("[x--]"), "a closing bracket", "a comment marker"},
        NameCase{"lineBreak", QStringLiteral("Billing\r\nGO"), "a control character", "a control character"},
        NameCase{"tab", QStringLiteral("Bill\ting"), "a control character", "a control character"},
        NameCase{"nul", QString(QChar(0)) + QStringLiteral("x"), "a control character",
                 "a control character"},
        NameCase{"delete", QStringLiteral("x") + QChar(0x7F), "a control character", "a control character"}),
    qormin::test::RowName());

TEST(NameGuardLineTest, showsControlCharactersEscaped) {
    EXPECT_EQ(
        NameGuard::refusedLine(QStringLiteral("Bill\ning"), QStringLiteral("a control character")),
        QStringLiteral("Skipped \"Bill\\x0Aing\": the name holds a control character and is not put into "
                       "a statement"));
}

} // namespace
