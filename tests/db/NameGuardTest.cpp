#include "db/NameGuard.h"

#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using namespace qormin::db;

struct NameCase {
    const char* name;
    QString text;
    const char* refusal; // empty: the name goes through
};

class NameGuardTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(NameGuardTest, refusesOnlyWhatCouldEndTheStatement) {
    EXPECT_EQ(NameGuard::refusal(GetParam().text), QString::fromUtf8(GetParam().refusal));
}

INSTANTIATE_TEST_SUITE_P(
    Names, NameGuardTest,
    ::testing::Values(NameCase{"database", QStringLiteral("Patient_Data"), ""},
                      NameCase{"headerRow", QStringLiteral("name"), ""},
                      NameCase{"threePartTable", QStringLiteral("Billing..tbBillDailyBill_NEW2"), ""},
                      NameCase{"blankAndDigits", QStringLiteral("Lab Results 2024"), ""},
                      NameCase{"backupFileName", QStringLiteral("Billing_log.BAK"), ""},
                      NameCase{"folderText", QStringLiteral("p:\\backup\\MIR\\"), ""},
                      NameCase{"openingBracket", QStringLiteral("[Billing"), ""},
                      NameCase{"singleDash", QStringLiteral("Billing-2024"), ""},
                      NameCase{"accented", QStringLiteral("Büro"), ""},
                      NameCase{"quote", QStringLiteral("Bill'ing"), "a quote"},
                      NameCase{"closingBracket", QStringLiteral("Billing]"), "a closing bracket"},
                      NameCase{"semicolon", QStringLiteral("Billing;DROP DATABASE x"), "a semicolon"},
                      NameCase{"lineComment", QStringLiteral("Billing--"), "a comment marker"},
                      NameCase{"blockComment", QStringLiteral("Billing/*x*/"), "a comment marker"},
                      NameCase{"lineBreak", QStringLiteral("Billing\r\nGO"), "a control character"},
                      NameCase{"tab", QStringLiteral("Bill\ting"), "a control character"},
                      NameCase{"nul", QString(QChar(0)) + QStringLiteral("x"), "a control character"},
                      NameCase{"delete", QStringLiteral("x") + QChar(0x7F), "a control character"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(NameGuardLineTest, showsControlCharactersEscaped) {
    EXPECT_EQ(
        NameGuard::refusedLine(QStringLiteral("Bill\ning"), QStringLiteral("a control character")),
        QStringLiteral("Skipped \"Bill\\x0Aing\": the name holds a control character and is not put into "
                       "a statement"));
}

} // namespace
