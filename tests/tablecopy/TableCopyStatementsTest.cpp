#include "tablecopy/TableCopyStatements.h"

#include <gtest/gtest.h>

namespace {

using Statements = qormin::tablecopy::TableCopyStatements;

const QString db = QStringLiteral("Patient_Data");
const QString table = QStringLiteral("Visits");

QString src() {
    return Statements::sourceTable(db, table);
}
QString dst() {
    return Statements::sisterTable(db, table);
}
QString newTable() {
    return Statements::sourceTable(db, Statements::newTableName(table));
}

struct StatementCase {
    const char* name;
    QString (*build)();
    const char* expected;
};

void PrintTo(const StatementCase& c, std::ostream* out) {
    *out << c.name;
}

class TableCopyStatementsTest : public ::testing::TestWithParam<StatementCase> {};

TEST_P(TableCopyStatementsTest, buildsTheExactStatementText) {
    EXPECT_EQ(GetParam().build(), QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TableCopyStatementsTest,
    ::testing::Values(
        StatementCase{"sourceIsThreePart", src, "Patient_Data..Visits"},
        StatementCase{"destinationIsInSisterDatabase", dst, "Patient_Data2..Visits"},
        StatementCase{"newTableIsInSameDatabase", newTable, "Patient_Data..Visits_NEW2"},
        StatementCase{"use", [] { return Statements::useDatabase(db); }, "Use Patient_Data"},
        StatementCase{"useOnConnection", [] { return Statements::connectionUseDatabase(db); },
                      "use Patient_Data"},
        StatementCase{"useSister", [] { return Statements::useSisterDatabase(db); }, "Use Patient_Data2"},
        StatementCase{"firstRow", [] { return Statements::firstRowQuery(src()); },
                      "select top 1 * from  Patient_Data..Visits"},
        StatementCase{"truncateSister", [] { return Statements::truncateQualified(dst()); },
                      "truncate table Patient_Data2..Visits "},
        StatementCase{"identityOn", [] { return Statements::identityInsert(dst(), true); },
                      "SET IDENTITY_INSERT Patient_Data2..Visits ON"},
        StatementCase{"identityOff", [] { return Statements::identityInsert(dst(), false); },
                      "SET IDENTITY_INSERT Patient_Data2..Visits OFF"},
        StatementCase{"userTableExists", [] { return Statements::userTableExistsQuery(table); },
                      "SELECT * FROM sys.objects WHERE object_id = OBJECT_ID(N'Visits') AND type in (N'U')"},
        StatementCase{"insertBracketed",
                      [] {
                          const QString columns = Statements::bracketedColumnList({"ID", "Visit Date"});
                          return Statements::copyIntoInsert(dst(), columns, src());
                      },
                      "INSERT into Patient_Data2..Visits ([ID],[Visit Date]) SELECT [ID],[Visit Date] from "
                      "Patient_Data..Visits"},
        StatementCase{"errorLine",
                      [] { return Statements::errorLine(QStringLiteral("Invalid column name 'X'."), src()); },
                      "Invalid column name 'X'. Patient_Data..Visits"},
        StatementCase{
            "cloneInsertPlain",
            [] {
                const QString columns = Statements::plainColumnList({"ID", "Name"});
                return Statements::cloneInsert(dst(), columns, src());
            },
            "INSERT INTO Patient_Data2..Visits (ID,Name) SELECT ID,Name    From Patient_Data..Visits"},
        StatementCase{"copyStructure", [] { return Statements::copyStructure(dst(), src()); },
                      "select  * into Patient_Data2..Visits  from Patient_Data..Visits "},
        StatementCase{"dropSister", [] { return Statements::dropQualified(dst()); },
                      "drop table Patient_Data2..Visits "},
        StatementCase{"checkBareName", [] { return Statements::checkTable(table); },
                      "DBCC CHECKtable('Visits')"},
        StatementCase{"truncateBareName", [] { return Statements::truncateTable(table); },
                      "Truncate Table   Visits "},
        StatementCase{"seedSister", [] { return Statements::seedSisterTable(dst(), src()); },
                      "SELECT top 1 * INTO Patient_Data2..Visits FROM Patient_Data..Visits"},
        StatementCase{"targetRows", [] { return Statements::targetRowsQuery(dst()); },
                      "SELECT TOP 1 * FROM Patient_Data2..Visits"},
        StatementCase{"seedNew", [] { return Statements::seedNewTable(newTable(), src()); },
                      "select top  1 * into Patient_Data..Visits_NEW2  from Patient_Data..Visits"},
        StatementCase{"truncateNew", [] { return Statements::truncateNewTable(newTable()); },
                      "truncate table Patient_Data..Visits_NEW2  "},
        StatementCase{"dropNew", [] { return Statements::dropQualified(newTable()); },
                      "drop table Patient_Data..Visits_NEW2 "},
        StatementCase{"copiedTotal", [] { return Statements::copiedLine(250); }, "copied 250"},
        StatementCase{"errorsTotal", [] { return Statements::errorsLine(0); }, "errors 0"}),
    [](const auto& caseInfo) { return std::string(caseInfo.param.name); });

struct ColumnListCase {
    QStringList fieldNames;
    const char* bracketed;
    const char* plain;
};

void PrintTo(const ColumnListCase& c, std::ostream* out) {
    *out << c.plain;
}

class ColumnListTest : public ::testing::TestWithParam<ColumnListCase> {};

TEST_P(ColumnListTest, listsFieldsInOrderWithoutTrailingComma) {
    const auto& c = GetParam();
    EXPECT_EQ(Statements::bracketedColumnList(c.fieldNames), QString::fromUtf8(c.bracketed));
    EXPECT_EQ(Statements::plainColumnList(c.fieldNames), QString::fromUtf8(c.plain));
}

INSTANTIATE_TEST_SUITE_P(Fields, ColumnListTest,
                         ::testing::Values(ColumnListCase{{}, "", ""}, ColumnListCase{{"ID"}, "[ID]", "ID"},
                                           ColumnListCase{{"ID", "Name", "Visit Date"},
                                                          "[ID],[Name],[Visit Date]",
                                                          "ID,Name,Visit Date"}));

} // namespace
