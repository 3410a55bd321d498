#include "QStringPrinter.h"

#include "RowName.h"
#include "tablecopy/CopyByIdStatements.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

using tablecopy::CopyByIdStatements;

struct TextCase {
    const char* name;
    QString actual;
    const char* expected;
};

class CopyByIdTextTest : public testing::TestWithParam<TextCase> {};

TEST_P(CopyByIdTextTest, KeepsEveryBlank) {
    EXPECT_EQ(GetParam().actual, QString::fromUtf8(GetParam().expected));
}

const QString db = QStringLiteral("Billing");
const QString table = QStringLiteral("tbPatients");

const TextCase textCases[] = {
    {"defaultDatabase", CopyByIdStatements::defaultDatabase(db),
     " Exec sp_defaultdb @loginame='sa', @defdb='Billing'"},
    {"use", CopyByIdStatements::useDatabase(db), "Use Billing"},
    {"objectId", CopyByIdStatements::objectIdQuery(table),
     "select object_id from sys.tables where name='tbPatients'"},
    {"idnumColumn", CopyByIdStatements::idnumColumnQuery(QStringLiteral("1001")),
     "Select * From sys.columns where object_id = '1001'  and name ='idnum' "},
    {"table", CopyByIdStatements::tableQuery(table), "select * from sys.tables where name='tbPatients'"},
    {"range", CopyByIdStatements::rangeQuery(db, table, QStringLiteral("106300"), QStringLiteral("106310")),
     "select * from Billing..tbPatients where idnum >= '106300' and idnum <= '106310'"},
    {"lookup", CopyByIdStatements::lookup(db, table, QStringLiteral("106305")),
     "Select * from   Billing..tbPatients where idnum = '106305' "},
    {"closing", CopyByIdStatements::closingLine(table, 10, 1), "Records added to tbPatients: 10  exist:1"},
    {"closingLimit", CopyByIdStatements::closingLine(table, 32767, 0),
     "Records added to tbPatients: 32767  exist:0"},
    {"notFound", CopyByIdStatements::tableNotFoundLine(table), "table not found in database 2 tbPatients"},
};

INSTANTIATE_TEST_SUITE_P(Texts, CopyByIdTextTest, testing::ValuesIn(textCases), qormin::test::RowName());

} // namespace
} // namespace qormin::test
