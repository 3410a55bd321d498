#include "QStringPrinter.h"

#include "RowName.h"
#include "anonymize/AnonymizeStatements.h"
#include "anonymize/NameMapping.h"
#include "anonymize/modNames.h"

#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

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

INSTANTIATE_TEST_SUITE_P(Texts, TextTest, testing::ValuesIn(textCases), qormin::test::RowName());

TEST(DefaultTablesTest, areTheFortyLinesInOrder) {
    const char* const expected[] = {"[Patient_Data].[dbo].[tbmaster] LastName FirstName MiddleName",
                                    "[Patient_Data].[dbo].[tbmaster2] Mother Father",
                                    "Patient_data..Missing_Names LastName FirstName MiddleName",
                                    "Patient_data..tbAdmContact LastName FirstName MiddleName",
                                    "Patient_data..tbAdmDataSheet LastName FirstName MiddleName",
                                    "Patient_data..tbAdmDischarge LastName FirstName MiddleName",
                                    "Patient_data..tbAdmWaitingList LastName FirstName MiddleName",
                                    "Patient_data..tbAdmWatcherMaster LastName FirstName MiddleName",
                                    "Patient_data..tbMaster3 LastName FirstName MiddleName",
                                    "Patient_data..tbMedRecCertificate LastName FirstName MiddleName",
                                    "Patient_data..tbMedrecBirthRegister LastName FirstName MiddleName",
                                    "Patient_data..tbMedrecDischargeRegister LastName FirstName MiddleName",
                                    "Patient_data..tbMedrecDiseaseIndex LastName FirstName MiddleName",
                                    "Patient_data..tbMedrecDoctorIndex LastName FirstName MiddleName",
                                    "Patient_data..tbMedrecIncomplete LastName FirstName MiddleName",
                                    "Patient_data..tbPastMaster LastName FirstName MiddleName",
                                    "Patient_data..tbMedRecLog OrigLastName OrigFirstName OrigMiddleName",
                                    "Patient_data..tbMedRecLog NewLastName NewFirstName NewMiddleName",
                                    "Patient_data..tbMedrecProcedureIndex LastName FirstName MiddleName",
                                    "Medicare..tbMedPatient LastName",
                                    "Medicare..tbMedMember LastName",
                                    "Billing..tbBillPasswordList LastName FirstName MiddleName",
                                    "Billing..tbBillProcCert LastName FirstName MiddleName",
                                    "Billing..tbCashDocRefundstoBank LastName FirstName MiddleName",
                                    "Billing..tbCashPatient LastName FirstName MiddleName",
                                    "Billing..tbParsCoMakers LastName FirstName MiddleName",
                                    "Build_File..tbCoDoctor LastName FirstName MiddleName",
                                    "Build_File..tbCoMedTech LastName FirstName MiddleName",
                                    "Radiology..tbOBFileNum LastName FirstName MiddleName",
                                    "Accounting..tbBIRRegistration LastName FirstName MiddleName",
                                    "Accounting..VEND LastName FirstName MiddleName",
                                    "Register..tbPhysicalExamination LastName FirstName MiddleName",
                                    "Prepaid..tbPrepaidCharges LastName FirstName MiddleName",
                                    "Reports..PatientData LastName FirstName MiddleName",
                                    "BloodDonation..AutologousDonor Name LastName",
                                    "BloodDonation..Donor Name LastName",
                                    "BloodDonation..Phlebotomy Name LastName",
                                    "DICOM..PatientTable Name_Last Name_First",
                                    "payroll..tbpmaster LastName FirstName MiddleName",
                                    "payroll..tbcmaster LastName FirstName MiddleName"};
    QStringList lines;
    for (const char* line : expected)
        lines << QString::fromLatin1(line);
    EXPECT_EQ(Statements::defaultTables().split(QStringLiteral("\r\n")), lines);
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
