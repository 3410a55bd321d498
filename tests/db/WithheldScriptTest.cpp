#include "QStringPrinter.h"
#include "RowName.h"

#include "db/WithheldScript.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

struct ScriptCase {
    const char* name;
    std::vector<const char*> withheld; // "side|server|database|statement"
    const char* script;                // with "\n" for each "\r\n"
};

class WithheldScriptTest : public testing::TestWithParam<ScriptCase> {};

TEST_P(WithheldScriptTest, namesEachServerAndKeepsEachStatementsDatabase) {
    std::vector<db::WithheldStatement> statements;
    for (const char* entry : GetParam().withheld) {
        const QStringList parts = QString::fromUtf8(entry).split(u'|');
        statements.push_back({parts[0].toInt(), parts[1], parts[2], parts[3]});
    }
    EXPECT_EQ(db::withheldScript(statements),
              QString::fromUtf8(GetParam().script).replace(u'\n', QStringLiteral("\r\n")));
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, WithheldScriptTest,
    testing::Values(
        ScriptCase{
            "useOnlyWhereTheDatabaseChanges",
            {"0|SRV1|Billing|truncate table a", "0|SRV1|Billing|truncate table b",
             "0|SRV1|Station|DBCC CHECKTABLE(c)"},
            "-- Left (side 0) server SRV1\nUSE [Billing]\nGO\ntruncate table a\nGO\ntruncate table b\nGO\n"
            "USE [Station]\nGO\nDBCC CHECKTABLE(c)\nGO\n"},
        ScriptCase{"eachTurnToAServerOpensItsPartAgain",
                   {"0|SRV1|Billing|a", "1|SRV2|master|b", "0|SRV1|Billing|c"},
                   "-- Left (side 0) server SRV1\nUSE [Billing]\nGO\na\nGO\n\n-- Right (side 1) server SRV2\n"
                   "USE [master]\nGO\nb\nGO\n\n-- Left (side 0) server SRV1\nUSE [Billing]\nGO\nc\nGO\n"},
        // The withheld batch's own USE was never sent, so the connection still reports Billing.
        ScriptCase{"aWithheldBatchsUseHoldsForTheStatementsAfterIt",
                   {"0|SRV1|Billing|USE master ; kill 52", "1|SRV2|master|b",
                    "0|SRV1|Billing|DROP DATABASE x", "0|SRV1|Station|d"},
                   "-- Left (side 0) server SRV1\nUSE [Billing]\nGO\nUSE master ; kill 52\nGO\n\n"
                   "-- Right (side 1) server SRV2\nUSE [master]\nGO\nb\nGO\n\n-- Left (side 0) server SRV1\n"
                   "USE [master]\nGO\nDROP DATABASE x\nGO\nUSE [Station]\nGO\nd\nGO\n"},
        ScriptCase{"unknownDatabaseGetsNoUseAndBracketsAreDoubled",
                   {"1|SRV2||a", "1|SRV2|odd]name|b"},
                   "-- Right (side 1) server SRV2\na\nGO\nUSE [odd]]name]\nGO\nb\nGO\n"}),
    qormin::test::RowName());

} // namespace
} // namespace qormin::test
