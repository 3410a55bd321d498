#include "tablecopy/TableCopyStatements.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using Statements = qormin::tablecopy::TableCopyStatements;

// The full statements are checked against the simulated server by the button tests; these are
// the column lists those tests cannot reach: none, and names with blanks.
struct ColumnListCase {
    const char* name;
    QStringList fieldNames;
    const char* bracketed;
    const char* plain;
};

class ColumnListTest : public ::testing::TestWithParam<ColumnListCase> {};

TEST_P(ColumnListTest, listsFieldsInOrderWithoutTrailingComma) {
    const auto& c = GetParam();
    EXPECT_EQ(Statements::bracketedColumnList(c.fieldNames), QString::fromUtf8(c.bracketed));
    EXPECT_EQ(Statements::plainColumnList(c.fieldNames), QString::fromUtf8(c.plain));
}

INSTANTIATE_TEST_SUITE_P(Fields, ColumnListTest,
                         ::testing::Values(ColumnListCase{"none", {}, "", ""},
                                           ColumnListCase{"blankInAName",
                                                          {"ID", "Name", "Visit Date"},
                                                          "[ID],[Name],[Visit Date]",
                                                          "ID,Name,Visit Date"}),
                         qormin::test::RowName());

} // namespace
