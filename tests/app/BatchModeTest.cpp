#include "QStringPrinter.h"
#include "RowName.h"
#include "WindowHarness.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::test::WindowHarness;

TEST(BatchModeTest, setFiresTheChangeHandlerPrintShowsTheTextAndMessageBoxesAndSubsidiaryWindowsWork) {
    WindowHarness harness;
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("# a comment\n\nset txtDB Patient_Data\n"
                                                        "set chkALL 1\nset txtServer(1) a\\tb\nprint txtDB\n"
                                                        "print chkALL\nprint chkStop\nprint txtServer(1)\n"
                                                        "print cmdConnect(0)\npage 2\nprint SSTab1\n"));
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(result.output, QStringLiteral("Patient_Data\n1\n0\na\tb\nConnect\n2\n"));
    EXPECT_TRUE(harness.window().chkALL()->isChecked());
    EXPECT_EQ(harness.settings().getSetting(QStringLiteral("MIR"), QStringLiteral("txtServer1")),
              QStringLiteral("a\tb"));
    // A message box is printed with the answer used.
    const auto boxes = harness.runBatch(QStringLiteral("click cmdSaveScript\nanswer yes\n"
                                                       "click cmdSaveScript\n"));
    EXPECT_EQ(boxes.exitCode, 0);
    EXPECT_EQ(boxes.output, QStringLiteral("MSGBOX: No statements have been withheld yet. -> ok\n"
                                           "MSGBOX: No statements have been withheld yet. -> ok\n"));
    EXPECT_TRUE(boxes.errors.contains(QStringLiteral("has no yes button"))) << boxes.errors.toStdString();
    // A subsidiary window's controls are named after the window.
    harness.window().registerWindow(QStringLiteral("frmHistorical"), [](QWidget* parent) {
        auto* window = new QWidget(parent);
        auto* years = new QLineEdit(window);
        years->setObjectName(QStringLiteral("txtYears"));
        (new QVBoxLayout(window))->addWidget(years);
        return window;
    });
    const auto subsidiary =
        harness.runBatch(QStringLiteral("open frmHistorical\nset frmHistorical.txtYears 5\n"
                                        "print frmHistorical.txtYears\n"));
    EXPECT_EQ(subsidiary.exitCode, 0) << subsidiary.errors.toStdString();
    EXPECT_EQ(subsidiary.output, QStringLiteral("5\n"));
}

QCheckBox* confirmBox(WindowHarness& harness) {
    return harness.window().findChild<QCheckBox*>(QStringLiteral("chkConfirmDestructive"));
}

// The window asks before destructive actions unless the operator unticked it; a batch run starts
// unticked whatever the window keeps, and what it sets stays its own.
TEST(BatchModeTest, confirmationsAreTickedInTheWindowAndUntickedInABatchRun) {
    WindowHarness window(nullptr, WindowHarness::Mode::Window);
    window.load();
    ASSERT_NE(confirmBox(window), nullptr);
    EXPECT_TRUE(confirmBox(window)->isChecked());
    confirmBox(window)->setChecked(false);
    window.restart();
    EXPECT_FALSE(confirmBox(window)->isChecked());

    WindowHarness batch;
    batch.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("chkConfirmDestructive"),
                                 QStringLiteral("1"));
    batch.load();
    EXPECT_FALSE(confirmBox(batch)->isChecked());
    EXPECT_EQ(
        batch.runBatch(QStringLiteral("set chkConfirmDestructive 1\nset chkConfirmDestructive 0\n")).exitCode,
        0);
    EXPECT_EQ(batch.settings().getSetting(QStringLiteral("MAIN"), QStringLiteral("chkConfirmDestructive")),
              QStringLiteral("1"));
}

struct FailureCase {
    const char* name;
    const char* script;
    int line;
    const char* reason;
    bool beforeTheRun; // found by the check of the whole file: not even line 1 runs
};

class BatchFailureTest : public testing::TestWithParam<FailureCase> {};

// The run stops at the faulty line with exit status 2; nothing after it runs, and nothing at all
// when the fault could be seen before the run.
TEST_P(BatchFailureTest, stopsAtTheLineAndNamesIt) {
    WindowHarness harness;
    harness.load();
    const FailureCase& c = GetParam();
    const QString untouched = harness.window().txtDB()->text();
    const auto result = harness.runBatch(QStringLiteral("set txtDB before\n") + QString::fromUtf8(c.script) +
                                         QStringLiteral("\nset txtDB after\n"));
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.startsWith(QStringLiteral("batch line ") + QString::number(c.line) +
                                         QStringLiteral(": ")))
        << result.errors.toStdString();
    EXPECT_TRUE(result.errors.contains(QString::fromUtf8(c.reason))) << result.errors.toStdString();
    EXPECT_EQ(harness.window().txtDB()->text(), c.beforeTheRun ? untouched : QStringLiteral("before"));
}

const FailureCase failureCases[] = {
    {"unknownControl", "click cmdBackup(7)", 2, "unknown control \"cmdBackup(7)\"", true},
    {"typoAfterADrop", "click cmdDrop(0)\nclikc cmdDrop(1)", 3, "unknown command \"clikc\"", true},
    {"unknownControlAtTheEnd", "click cmdDrop(0)\nwait 1\nprint txtDBB", 4, "unknown control \"txtDBB\"",
     true},
    {"checkBoxValue", "set chkALL yes", 2, "0 or 1", false},
    {"clickOnALabel", "click lblcount", 2, "is not a button", true},
    {"clickDisabledButton", "click cmdCancelStatement", 2, "is disabled", false},
    {"selectBeyondTheRows", "select GridDB(0) 1", 2, "row 1 is out of range", false},
    {"selectOnATextBox", "select txtDB 0", 2, "not a grid or a list", true},
    {"pageBeyondTheTabs", "page 15", 2, "page 15 does not exist", true},
    {"unknownWindow", "open frmNothing", 2, "unknown window \"frmNothing\"", true},
    {"windowNotOpen", "print frmHistorical.txtYears", 2, "is not open", true},
    {"windowOpenedOnlyLater", "print frmHistorical.txtYears\nopen frmHistorical", 2, "is not open", true},
    {"setOnAButton", "set cmdConnect(0) x", 2, "has no text to set", false},
    {"afterCommentLines", "# one\n\n# two\nwait", 5, "one number", true},
};

INSTANTIATE_TEST_SUITE_P(Scripts, BatchFailureTest, testing::ValuesIn(failureCases), qormin::test::RowName());

} // namespace
