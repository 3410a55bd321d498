#include "QStringPrinter.h"
#include "WindowHarness.h"

#include "sqltools/CrLfText.h"
#include "sqltools/SqlToStringPage.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <gtest/gtest.h>

namespace qormin::test {

namespace {

// The page's boxes and buttons as batch mode drives them; the conversions themselves are
// tested as functions.
TEST(SqlToStringPageTest, convertsBothWaysAndColoursTheCompareButtonOnEveryChange) {
    WindowHarness harness;
    harness.load();
    auto* page = harness.window().findChild<sqltools::SqlToStringPage*>();
    ASSERT_NE(page, nullptr);
    const auto colour = [page] { return page->cmdCompare()->palette().color(QPalette::Button); };

    BatchResult result =
        harness.runBatch(QStringLiteral("set txtSRC select a\\r\\nfrom b\nclick cmdMakeVB\n"
                                        "set txtCompare(0) Select A\nset txtCompare(1) select a\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(sqltools::CrLfText::text(*page->txtDest()),
              QStringLiteral(" SQLStr = \" SELECT a\"     \r\n SQLStr = SQLStr &  \" FROM b\""));
    EXPECT_EQ(colour(), QColor(0, 255, 0));

    result = harness.runBatch(QStringLiteral("set txtCompare(1) select b\nclick cmdClearSQL\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(colour(), QColor(255, 0, 0));
    EXPECT_EQ(sqltools::CrLfText::text(*page->txtSRC()), QStringLiteral("  SELECT a     \r\n  FROM b"));
}

} // namespace

} // namespace qormin::test
