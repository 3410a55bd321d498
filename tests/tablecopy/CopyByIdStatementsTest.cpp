#include "QStringPrinter.h"

#include "tablecopy/CopyByIdStatements.h"

#include <gtest/gtest.h>

namespace qormin::test {
namespace {

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

INSTANTIATE_TEST_SUITE_P(
    Texts, CopyByIdTextTest,
    testing::Values(TextCase{"defaultDatabase", CopyByIdStatements::defaultDatabase(db),
                             " Exec sp_defaultdb @loginame='sa', @defdb='Billing'"},
                    TextCase{"use", CopyByIdStatements::useDatabase(db), "Use Billing"},
                    TextCase{"objectId", CopyByIdStatements::objectIdQuery(table),
                             "select object_id from sys.tables where name='tbPatients'"},
                    TextCase{"idnumColumn", CopyByIdStatements::idnumColumnQuery(QStringLiteral("1001")),
                             "Select * From sys.columns where object_id = '1001'  and name ='idnum' "},
                    TextCase{"table", CopyByIdStatements::tableQuery(table),
                             "select * from sys.tables where name='tbPatients'"},
                    TextCase{
                        "range",
                        CopyByIdStatements::rangeQuery(db, table, QStringLiteral("106300"),
                                                       QStringLiteral("106310")),
                        "select * from Billing..tbPatients where idnum >= '106300' and idnum <= '106310'"},
                    TextCase{"lookup", CopyByIdStatements::lookup(db, table, QStringLiteral("106305")),
                             "Select * from   Billing..tbPatients where idnum = '106305' "},
                    TextCase{"closing", CopyByIdStatements::closingLine(table, 10, 1),
                             "Records added to tbPatients: 10  exist:1"},
                    TextCase{"closingLimit", CopyByIdStatements::closingLine(table, 32767, 0),
                             "Records added to tbPatients: 32767  exist:0"},
                    TextCase{"notFound", CopyByIdStatements::tableNotFoundLine(table),
                             "table not found in database 2 tbPatients"}),
    [](const testing::TestParamInfo<TextCase>& param) { return param.param.name; });

} // namespace
} // namespace qormin::test
