#include "transfer/TransferStatements.h"

#include "QStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using Statements = qormin::transfer::TransferStatements;

const QString docs = QStringLiteral("Patient_Files..tbPatientDocs");
const QString conversion = QStringLiteral("ConversionTime");
const QString phic = QStringLiteral("DocType = 'PHIC Docs'");

// The transfer's query for one set of bounds; the end day is included whole (strictly before the
// next day).
QString transferQuery(const QString& where, std::optional<QDate> olderThan = {},
                      std::optional<QDate> start = {}, std::optional<QDate> end = {}) {
    return Statements::transferQuery(
        {QStringLiteral("1000"), docs, conversion, where, olderThan, start, end});
}

TEST(TransferStatementsTest, statementsMatchTheirTexts) {
    const QString dest = QStringLiteral("Patient_Files_2020..tbPatientDocs");
    const QDate cutOff(2022, 3, 4);
    const QString table = QStringLiteral("H..t");
    const std::pair<QString, const char*> cases[] = {
        {transferQuery(phic), "SELECT top 1000 * FROM Patient_Files..tbPatientDocs WHERE 1=1  AND DocType = "
                              "'PHIC Docs' ORDER BY ConversionTime ASC"},
        {transferQuery(phic, {}, QDate(2020, 1, 1), QDate(2020, 12, 31)),
         "SELECT top 1000 * FROM Patient_Files..tbPatientDocs WHERE 1=1  AND ConversionTime >= "
         "convert(datetime,'20200101')  AND ConversionTime < convert(datetime,'20210101')  AND DocType = "
         "'PHIC Docs' ORDER BY ConversionTime ASC"},
        {transferQuery(phic, QDate(2024, 2, 29), QDate(2020, 1, 1), QDate(2020, 2, 28)),
         "SELECT top 1000 * FROM Patient_Files..tbPatientDocs WHERE 1=1  AND ConversionTime < "
         "convert(datetime,'20240229')  AND ConversionTime >= convert(datetime,'20200101')  AND "
         "ConversionTime < convert(datetime,'20200229')  AND DocType = 'PHIC Docs' ORDER BY "
         "ConversionTime ASC"},
        // Kept as it always was: the server refuses this text.
        {transferQuery(QString()),
         "SELECT top 1000 * FROM Patient_Files..tbPatientDocs WHERE 1=1  AND  ORDER "
         "BY ConversionTime ASC"},
        {Statements::historyQuery(QStringLiteral("500"), QStringLiteral("Station..tbNurseLogBook"),
                                  QStringLiteral("RequestDate"), QDate(2024, 11, 23)),
         "SELECT top 500 * FROM Station..tbNurseLogBook WHERE RequestDate < convert(datetime,'20241123')  "
         "ORDER BY RequestDate ASC"},
        {Statements::historyDestinationTable(QStringLiteral("Station..tbNurseLogBook")),
         "HISTORY..tbNurseLogBook"},
        {Statements::destinationTable(QStringLiteral("Patient_Files_2020"), docs),
         "Patient_Files_2020..tbPatientDocs"},
        {Statements::destinationTable(QStringLiteral("X"), QStringLiteral("tbLoose")), "X..bLoose"},
        {Statements::purgeStatement(docs, conversion, cutOff),
         "DELETE FROM  Patient_Files..tbPatientDocs WHERE ConversionTime < convert(datetime,'20220304')  "},
        {Statements::purgeStatement(QStringLiteral("Medicare..Medic_LogBook"), QString(), cutOff),
         "TRUNCATE TABLE  Medicare..Medic_LogBook    "},
        {Statements::createTable(dest, docs),
         "SELECT *  INTO Patient_Files_2020..tbPatientDocs FROM Patient_Files..tbPatientDocs where 1=2"},
        {Statements::dropTable(dest), "DROP TABLE Patient_Files_2020..tbPatientDocs"},
        {Statements::createIndex(conversion, docs),
         "CREATE NONCLUSTERED INDEX by_ConversionTime ON Patient_Files..tbPatientDocs (ConversionTime)"},
        {Statements::firstRowQuery(dest), "SELECT top 1 * FROM Patient_Files_2020..tbPatientDocs"},
        {Statements::previewQuery(QStringLiteral("1000"), docs),
         "SELECT top 1000 * FROM Patient_Files..tbPatientDocs"},
        {Statements::claimsDocumentUpdate(QStringLiteral("Patient_Files_2020"),
                                          Statements::fileNameStem(QStringLiteral("scan01.2020.pdf"))),
         "UPDATE Medicare..tbMedSupportingDocuments SET DatabaseName = 'Patient_Files_2020' WHERE "
         "RawFileName = "
         "'scan01'"},
        {Statements::claimsDocumentUpdate(QStringLiteral("P"), QStringLiteral("O'Neil")),
         "UPDATE Medicare..tbMedSupportingDocuments SET DatabaseName = 'P' WHERE RawFileName = 'O''Neil'"},
        {Statements::errorBranchMessage(QStringLiteral("Invalid column name 'x'.")),
         "Invalid column name 'x'.   drop any identity columns and click sync structure."},
        {Statements::addColumnScript(table, QStringLiteral("Name"), 202, 50),
         "ALTER TABLE H..t ADD Name VarWChar (50)"},
        {Statements::addColumnScript(table, QStringLiteral("n"), 3, 4), "ALTER TABLE H..t ADD n Integer"},
        {Statements::addColumnScript(table, QStringLiteral("at"), 135, 16),
         "ALTER TABLE H..t ADD at DateTime"},
        {Statements::addColumnScript(table, QStringLiteral("c"), 129, 10),
         "ALTER TABLE H..t ADD c Char (10)"},
        {Statements::addColumnScript(table, QStringLiteral("b"), 204, 8),
         "ALTER TABLE H..t ADD b VarBinary (8)"},
        {Statements::addColumnScript(table, QStringLiteral("m"), 201, 2147483647),
         "ALTER TABLE H..t ADD m LongVarChar"},
        {Statements::addColumnScript(table, QStringLiteral("q"), 131, 19), "ALTER TABLE H..t ADD q Numeric"},
        {Statements::addColumnScript(table, QStringLiteral("u"), 99, 1), "ALTER TABLE H..t ADD u NKNOWN*"},
        {Statements::missingColumnLine(QStringLiteral("n"), 3, QStringLiteral("S")),
         "Missing  n 3 script: S\r\n"},
    };
    for (const auto& [built, expected] : cases) {
        EXPECT_EQ(built, QString::fromUtf8(expected));
    }
}

TEST(TransferStatementsTest, typeCodesHaveTheirAdoNames) {
    // All 39 names (135 is "adDateTime", not the ADO name) and the gaps that have none.
    const std::pair<int, const char*> named[] = {{0, "adEmpty"},
                                                 {2, "adSmallInt"},
                                                 {3, "adInteger"},
                                                 {4, "adSingle"},
                                                 {5, "adFloat"},
                                                 {6, "adCurrency"},
                                                 {7, "adDate"},
                                                 {8, "adBSTR"},
                                                 {9, "adIDispatch"},
                                                 {10, "adError"},
                                                 {11, "adBit"},
                                                 {12, "adVariant"},
                                                 {13, "adIUnknown"},
                                                 {14, "adDecimal"},
                                                 {16, "adTinyInt"},
                                                 {17, "adUnsignedTinyInt"},
                                                 {18, "adUnsignedSmallInt"},
                                                 {19, "adUnsignedInt"},
                                                 {20, "adBigInt"},
                                                 {21, "adUnsignedBigInt"},
                                                 {64, "adFileTime"},
                                                 {72, "adGUID"},
                                                 {128, "adBinary"},
                                                 {129, "adChar"},
                                                 {130, "adWChar"},
                                                 {131, "adNumeric"},
                                                 {132, "adUserDefined"},
                                                 {133, "adDBDate"},
                                                 {134, "adDBTime"},
                                                 {135, "adDateTime"},
                                                 {136, "adChapter"},
                                                 {138, "adPropVariant"},
                                                 {139, "adVarNumeric"},
                                                 {200, "adVarChar"},
                                                 {201, "adLongVarChar"},
                                                 {202, "adVarWChar"},
                                                 {203, "adLongVarWChar"},
                                                 {204, "adVarBinary"},
                                                 {205, "adLongVarBinary"},
                                                 {1, "*UNKNOWN*"},
                                                 {15, "*UNKNOWN*"},
                                                 {137, "*UNKNOWN*"},
                                                 {206, "*UNKNOWN*"},
                                                 {-1, "*UNKNOWN*"}};
    for (const auto& [code, name] : named) {
        EXPECT_EQ(Statements::typeCodeName(code), QString::fromUtf8(name)) << code;
    }
    // The codes a table's columns are reported with: nvarchar, int, datetime, tinyint, money.
    // The newer date and time types reached the classic provider as text.
    const std::tuple<int, const char*, int> codes[] = {
        {-9, "", 202},          {4, "", 3},          {93, "", 135},        {-6, "", 17}, {3, "money", 6},
        {93, "datetime2", 202}, {-154, "time", 202}, {93, "datetime", 135}};
    for (const auto& [sqlType, typeName, code] : codes) {
        EXPECT_EQ(Statements::typeCodeOf(sqlType, QString::fromUtf8(typeName)), code) << sqlType << typeName;
    }
}

TEST(TransferStatementsTest, datesAndYearsReadOneWayOnly) {
    EXPECT_EQ(Statements::parseDate(QStringLiteral("12/31/2020")), QDate(2020, 12, 31));
    EXPECT_EQ(Statements::parseDate(QStringLiteral("1/2/2020")), QDate(2020, 1, 2));
    EXPECT_EQ(Statements::parseDate(QStringLiteral("2020-02-29")), QDate(2020, 2, 29));
    EXPECT_FALSE(Statements::parseDate(QStringLiteral("31/12/2020")));
    EXPECT_FALSE(Statements::parseDate(QStringLiteral("soon")));
    EXPECT_EQ(Statements::olderThan(QDate(2026, 11, 23), QStringLiteral("2")), QDate(2024, 11, 23));
    EXPECT_EQ(Statements::olderThan(QDate(2024, 2, 29), QStringLiteral("1")), QDate(2023, 2, 28));
    EXPECT_FALSE(Statements::olderThan(QDate(2026, 11, 23), QString()));
    EXPECT_FALSE(Statements::olderThan(QDate(2026, 11, 23), QStringLiteral("two")));
}

TEST(TransferStatementsTest, onlyPlainOrBracketedNamesPass) {
    for (const char* name : {"Patient_Files..tbPatientDocs", "[Patient Files]..[tb Docs]", "ConversionTime",
                             "Billing.dbo.tbCash", "Patient_Files_2020"}) {
        EXPECT_TRUE(Statements::isPlainName(QString::fromUtf8(name))) << name;
    }
    for (const char* name : {"", "tb Docs", "Billing..tbCash;DROP TABLE x", "tb(1)", "Billing..", "a..[b]c",
                             "1stTable", "[a[b]"}) {
        EXPECT_FALSE(Statements::isPlainName(QString::fromUtf8(name))) << name;
    }
}

} // namespace
