#include "QStringPrinter.h"

#include "anonymize/AnonymizeStatements.h"
#include "anonymize/NameMapping.h"
#include "anonymize/modNames.h"

#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

namespace {

namespace Statements = qormin::anonymize::AnonymizeStatements;
using qormin::anonymize::NameMapping;

struct TextCase {
    const char* name;
    QString actual;
    const char* expected;
};

class TextTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextTest, isExactlyTheText) {
    EXPECT_EQ(GetParam().actual, QString::fromLatin1(GetParam().expected));
}

const TextCase textCases[] = {
    {"databases", Statements::databasesQuery(), "SELECT NAME,* FROM sys.databases  WHERE database_id > 4 "},
    {"tables", Statements::tablesQuery(),
     "SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE='BASE TABLE' "},
    {"nameColumnsKeepsItsOpenParenthesis", Statements::nameColumnsQuery("Billing", "tbCash"),
     "SELECT COLUMN_NAME,* FROM INFORMATION_SCHEMA.COLUMNS WHERE (CHARINDEX('Name',COLUMN_NAME )>0 or "
     "COLUMN_NAME='HospNum'  AND TABLE_CATALOG = 'Billing' and Table_Name = 'tbCash'  ORDER BY "
     "Table_Name,Ordinal_position "},
    {"sample", Statements::sampleQuery("LastName", "Billing", "tbCash"),
     "SELECT top 10  LastName,* FROM Billing..tbCash where LastName is not null"},
    {"skipping", Statements::skippingLine("Billing", "tbCash"), "Skipping Billing..tbCash"},
    {"savedLineEndsEachCellWithABlank",
     Statements::savedTablesLine({"Billing", "tbCash", "LastName", "", "First"}),
     "Billing..tbCash LastName  First "},
    {"savedLineOfTwoCells", Statements::savedTablesLine({"Database", "Table"}), "Database..Table "},
    {"confirm", Statements::confirmText("Provider=SQLOLEDB;Server=x"),
     "Are you sure you want to anonymize Provider=SQLOLEDB;Server=x?"},
    {"remaining", Statements::remainingQuery("B..t", {"LastName", "FirstName"}, {"N'A'", "N'B'"}),
     "SELECT COUNT(*) FROM B..t WHERE [LastName] IN (N'A', N'B') OR [FirstName] IN (N'A', N'B')"},
};

INSTANTIATE_TEST_SUITE_P(Texts, TextTest, testing::ValuesIn(textCases),
                         [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST(DefaultTablesTest, areTheFortyLinesInOrder) {
    const QStringList lines = Statements::defaultTables().split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), 40);
    EXPECT_EQ(lines[0], QStringLiteral("[Patient_Data].[dbo].[tbmaster] LastName FirstName MiddleName"));
    EXPECT_EQ(lines[1], QStringLiteral("[Patient_Data].[dbo].[tbmaster2] Mother Father"));
    EXPECT_EQ(lines[16],
              QStringLiteral("Patient_data..tbMedRecLog OrigLastName OrigFirstName OrigMiddleName"));
    EXPECT_EQ(lines[17], QStringLiteral("Patient_data..tbMedRecLog NewLastName NewFirstName NewMiddleName"));
    EXPECT_EQ(lines[19], QStringLiteral("Medicare..tbMedPatient LastName"));
    EXPECT_EQ(lines[37], QStringLiteral("DICOM..PatientTable Name_Last Name_First"));
    EXPECT_EQ(lines[39], QStringLiteral("payroll..tbcmaster LastName FirstName MiddleName"));
}

TEST(NameListTest, excludesOnlyANameFollowedByCrLfAndCutsListsAtEachCrLf) {
    const std::pair<const char*, bool> excluded[] = {{"Lab..tbLog\r\nBilling..tbCash\r\n", true},
                                                     {"Lab..tbLog\r\nBilling..tbCash", false},
                                                     {"Billing..tbCash\n", false},
                                                     {"XBilling..tbCash\r\n", true},
                                                     {"billing..tbcash\r\n", false}};
    for (const auto& [list, expected] : excluded)
        EXPECT_EQ(Statements::isExcluded(QString::fromLatin1(list), "Billing", "tbCash"), expected) << list;
    const std::pair<const char*, QStringList> lists[] = {{"Smith\r\nJones\r\n", {"Smith", "Jones"}},
                                                         {"Smith\r\nJones", {"Smith", "Jones"}},
                                                         {"Smith\r\n\r\nJones\r\n", {"Smith", "", "Jones"}},
                                                         {"", {}}};
    for (const auto& [text, entries] : lists)
        EXPECT_EQ(Statements::nameListEntries(QString::fromLatin1(text)), entries) << text;
}

TEST(FastPickTest, indexesRunFrom0To998AndAShortListGivesEmptyNames) {
    EXPECT_EQ(Statements::fastIndex(0.0), 0);
    EXPECT_EQ(Statements::fastIndex(0.999999), 998);
    EXPECT_EQ(Statements::fastPick({"A", "B"}, 1), QStringLiteral("B"));
    EXPECT_EQ(Statements::fastPick({"A", "B"}, 2), QString());
    EXPECT_EQ(Statements::tableListWords("t  a"), (QStringList{"t", "", "a"}));
}

TEST(DefaultNamesTest, holdTheCountedDistinctNamesOnCrLfLines) {
    struct {
        QString text;
        qsizetype count;
    } const lists[] = {{qormin::anonymize::modNames::defaultLastNames(), 1000},
                       {qormin::anonymize::modNames::defaultFirstNames(), 1004}};
    for (const auto& list : lists) {
        EXPECT_TRUE(list.text.endsWith(QStringLiteral("\r\n")));
        EXPECT_FALSE(list.text.contains(QRegularExpression(QStringLiteral("[^\r]\n"))));
        const QStringList names = Statements::nameListEntries(list.text);
        EXPECT_EQ(names.size(), list.count);
        QSet<QString> distinct;
        for (const QString& name : names) {
            EXPECT_FALSE(name.trimmed().isEmpty());
            distinct.insert(name.toCaseFolded());
        }
        EXPECT_EQ(distinct.size(), list.count);
    }
}

TEST(NameMappingTest, isKeyedDeterministicAndNeverTheOriginal) {
    const QStringList surnames{"Smith", "Jones", "Brown"};
    const QStringList given{"Anna", "Ben"};
    const NameMapping mapping(QStringLiteral("k1"), surnames, given);
    const NameMapping again(QStringLiteral("k1"), surnames, given);
    EXPECT_EQ(mapping.replacement("Zyskowski", true), again.replacement(" zyskowski ", true));
    EXPECT_TRUE(surnames.contains(mapping.replacement("Zyskowski", true)));
    EXPECT_TRUE(given.contains(mapping.replacement("Zyskowski", false)));
    EXPECT_EQ(mapping.replacement("ZYSKOWSKI", true), mapping.replacement("Zyskowski", true).toUpper());
    for (const QString& name : surnames)
        EXPECT_NE(mapping.replacement(name, true), name);
    // Another secret picks differently for at least some of many names.
    const NameMapping other(QStringLiteral("k2"), surnames, given);
    int differing = 0;
    for (int n = 0; n < 50; ++n)
        differing +=
            mapping.replacement(QString::number(n), true) != other.replacement(QString::number(n), true);
    EXPECT_GT(differing, 10);
    EXPECT_FALSE(NameMapping(QString(), surnames, given).usable());
    EXPECT_FALSE(NameMapping(QStringLiteral("k"), {}, given).usable());
}

} // namespace
