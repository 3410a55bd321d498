#include "QStringPrinter.h"
#include "WindowHarness.h"

#include "app/SettingsStore.h"
#include "controls/FileListBox.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>
#include <gtest/gtest.h>

namespace {

using qormin::test::WindowHarness;

QString textOf(qormin::app::frmMain& window, const char* name) {
    const auto* edit = window.findChild<QLineEdit*>(QString::fromLatin1(name));
    return edit == nullptr ? QStringLiteral("<no control>") : edit->text();
}

void touch(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

struct FieldCase {
    const char* control;
    const char* expected;
};

class FirstRunTest : public testing::TestWithParam<FieldCase> {};

TEST_P(FirstRunTest, emptyStoreGivesTheDefault) {
    WindowHarness harness;
    harness.load();
    EXPECT_EQ(textOf(harness.window(), GetParam().control), QString::fromLatin1(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Fields, FirstRunTest,
                         testing::Values(FieldCase{"txtServerUser(0)", "administrator"},
                                         FieldCase{"txtServerUser(1)", "administrator"},
                                         FieldCase{"txtUserID(0)", "sa"}, FieldCase{"txtUserID(1)", "sa"},
                                         FieldCase{"txtServer(0)", ""}, FieldCase{"txtServer(1)", ""},
                                         FieldCase{"txtPW(0)", ""}, FieldCase{"txtPW(1)", ""},
                                         FieldCase{"txtServerPW(1)", ""}, FieldCase{"txtLogDrive(0)", ""},
                                         FieldCase{"txtPath(0)", ""}, FieldCase{"txtPath(2)", ""},
                                         FieldCase{"txtBackupDrive", "p:\\backup\\MIR\\"},
                                         FieldCase{"txtRestoreTO(0)", "D"}, FieldCase{"txtRestoreTO(2)", "D"},
                                         FieldCase{"txtRestoreTO(5)", "D"},
                                         FieldCase{"txtRestoreDir", "d:\\qormin\\db\\bak\\"}),
                         [](const auto& testInfo) {
                             QString name = QString::fromLatin1(testInfo.param.control);
                             return name.remove(u'(').remove(u')').toStdString();
                         });

TEST(StartupTest, firstRunContactsNoServerAndLogsTheFolderChecks) {
    WindowHarness harness;
    harness.load();
    auto& access = harness.window().serverAccess();
    EXPECT_FALSE(access.IsConnected(0));
    EXPECT_FALSE(access.IsConnected(1));
    EXPECT_EQ(harness.output(), QString()); // no message box
    EXPECT_EQ(access.log().text(), QStringLiteral("checking path \r\nchecking path \r\nchecking path \r\n"));
    EXPECT_EQ(harness.window().windowTitle(), QStringLiteral("QORMIN DB Tools v.8.0.0.68"));
    EXPECT_EQ(harness.window().SSTab1()->currentIndex(), 0);
    // Filling an empty restore target writes the letter back under the control's own section.
    EXPECT_EQ(harness.settings().getSetting(QStringLiteral("txtRestoreTO"), QStringLiteral("DB4")),
              QStringLiteral("D"));
}

TEST(StartupTest, tabStripCarriesTheCaptionsInOrder) {
    WindowHarness harness;
    const QStringList expected{"Main Tools", "Copy",        "Restore",       "TEST",      "Restore Dir",
                               "Options",    "Mirroring",   "SQL to String", "Anonymize", "Config Anonymize",
                               "Other",      "table sizes", "SP Replace",    "Users",     "Transfer Data"};
    QTabWidget* tabs = harness.window().SSTab1();
    ASSERT_EQ(tabs->count(), expected.size());
    for (int i = 0; i < tabs->count(); ++i)
        EXPECT_EQ(tabs->tabText(i), expected[i]) << i;
}

struct PersistCase {
    const char* line;
    const char* section;
    const char* key;
};

class PersistOnChangeTest : public testing::TestWithParam<PersistCase> {};

// Each key stroke is on disk at once: a store opened afresh on the file sees it.
TEST_P(PersistOnChangeTest, changeWritesItsHistoricalAddress) {
    WindowHarness harness;
    harness.load();
    const auto result =
        harness.runBatch(QString::fromLatin1(GetParam().line) + QStringLiteral(" typed value"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    auto reader = qormin::app::SettingsStore::openFile(harness.settingsFile());
    EXPECT_EQ(
        reader->getSetting(QString::fromLatin1(GetParam().section), QString::fromLatin1(GetParam().key)),
        QStringLiteral("typed value"));
}

INSTANTIATE_TEST_SUITE_P(Fields, PersistOnChangeTest,
                         testing::Values(PersistCase{"set txtPW(1)", "MIR", "DB1"},
                                         PersistCase{"set txtServer(0)", "MIR", "txtServer0"},
                                         PersistCase{"set txtServerPW(1)", "MAIN", "txtServerPW1"},
                                         PersistCase{"set txtServerUser(0)", "MAIN", "txtServerUser0"},
                                         PersistCase{"set txtLogDrive(1)", "MAIN", "txtLogDrive1"},
                                         PersistCase{"set txtPath(1)", "MIR", "txtPath1"},
                                         PersistCase{"set txtPath(2)", "MIR", "txtPath2"},
                                         PersistCase{"set txtUserID(1)", "MAIN", "txtUserID1"},
                                         PersistCase{"set txtBackupDrive", "MAIN", "txtBackupDrive"},
                                         PersistCase{"set txtRestoreTO(4)", "txtRestoreTO", "DB4"}));

TEST(StartupTest, restartBringsBackTheTypedFields) {
    WindowHarness harness;
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("set txtServer(1) SQLMIRROR\n"
                                                        "set txtUserID(0) backupuser\n"
                                                        "set txtServerUser(1) hospital\\\\admin\n"
                                                        "set txtLogDrive(1) L\n"
                                                        "set txtRestoreTO(3) E\n"
                                                        "set txtBackupDrive q:\\\\bak\\\\\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    harness.restart();
    EXPECT_EQ(textOf(harness.window(), "txtServer(1)"), QStringLiteral("SQLMIRROR"));
    EXPECT_EQ(textOf(harness.window(), "txtUserID(0)"), QStringLiteral("backupuser"));
    EXPECT_EQ(textOf(harness.window(), "txtServerUser(1)"), QStringLiteral("hospital\\admin"));
    EXPECT_EQ(textOf(harness.window(), "txtLogDrive(1)"), QStringLiteral("L"));
    EXPECT_EQ(textOf(harness.window(), "txtRestoreTO(3)"), QStringLiteral("E"));
    EXPECT_EQ(textOf(harness.window(), "txtRestoreTO(4)"), QStringLiteral("D"));
    EXPECT_EQ(textOf(harness.window(), "txtBackupDrive"), QStringLiteral("q:\\bak\\"));
}

TEST(StartupTest, typedPathIsForgottenAndDefaultPathComesBackAfterRestart) {
    WindowHarness harness;
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("set txtServer(0) SQLMAIN\n"
                                                        "click cmdDefaultPaths(0)\n"
                                                        "set txtPath(0) \\\\\\\\elsewhere\\\\typed\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(harness.settings().getSetting(QStringLiteral("MIR"), QStringLiteral("txtPath0")),
              QStringLiteral("\\\\elsewhere\\typed"));
    harness.restart();
    EXPECT_EQ(textOf(harness.window(), "txtPath(0)"), QStringLiteral("\\\\SQLMAIN\\backup\\MIR"));
    EXPECT_EQ(textOf(harness.window(), "txtPath(2)"), QStringLiteral("\\\\SQLMAIN\\backup"));
}

TEST(StartupTest, defaultPathsOfTheRightSideTakeTheSharedFolderFromTheLeftServer) {
    WindowHarness harness;
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("set txtServer(0) SQLMAIN\n"
                                                        "set txtServer(1) SQLMIRROR\n"
                                                        "click cmdDefaultPaths(1)\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(textOf(harness.window(), "txtPath(1)"), QStringLiteral("\\\\SQLMIRROR\\backup\\MIR"));
    EXPECT_EQ(textOf(harness.window(), "txtPath(2)"), QStringLiteral("\\\\SQLMAIN\\backup"));
    EXPECT_EQ(textOf(harness.window(), "txtPath(0)"), QString());
    auto& store = harness.settings();
    EXPECT_EQ(store.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtPath1")),
              QStringLiteral("\\\\SQLMIRROR\\backup\\MIR"));
    EXPECT_EQ(store.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtPath2")),
              QStringLiteral("\\\\SQLMAIN\\backup"));
    EXPECT_EQ(store.getSetting(QStringLiteral("MAIN"), QStringLiteral("txtPath0")), QString());
}

TEST(StartupTest, backupFolderListsShowTheStoredFoldersAndFollowNewFilesOnTimer1) {
    WindowHarness harness;
    const QString left = harness.folder(QStringLiteral("left"));
    touch(left + QStringLiteral("/Billing.BAK"));
    harness.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtPath0"), left);
    harness.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtPath1"),
                                   QStringLiteral("\\\\nowhere\\backup"));
    harness.load();
    auto& window = harness.window();
    EXPECT_EQ(window.FileA()->ListCount(), 1);
    EXPECT_EQ(window.FileB()->ListCount(), 0);
    EXPECT_TRUE(window.serverAccess().log().text().contains(QStringLiteral("checking path ") + left));
    touch(left + QStringLiteral("/Station.BAK"));
    window.Timer1_Timer();
    EXPECT_EQ(window.FileA()->ListCount(), 2);
    EXPECT_EQ(window.FileA()->List(1), QStringLiteral("Station.BAK"));
}

TEST(StartupTest, restoreDirectoryHookRunsOnPageFiveOnly) {
    WindowHarness harness;
    harness.load();
    const QString source = harness.folder(QStringLiteral("source"));
    touch(source + QStringLiteral("/Payroll.bak"));
    touch(source + QStringLiteral("/Payroll.mdf"));
    auto& window = harness.window();
    window.txtRestoreDir()->blockSignals(true);
    window.txtRestoreDir()->setText(source);
    window.txtRestoreDir()->blockSignals(false);
    int hookRuns = 0;
    window.addPageHook(9, [&] { ++hookRuns; });
    ASSERT_EQ(harness.runBatch(QStringLiteral("page 4\npage 9\n")).exitCode, 0);
    EXPECT_EQ(window.File2()->ListCount(), 0);
    EXPECT_EQ(hookRuns, 1);
    ASSERT_EQ(harness.runBatch(QStringLiteral("page 5\n")).exitCode, 0);
    EXPECT_EQ(window.File2()->Path(), source);
    EXPECT_EQ(window.File2()->List(0), QStringLiteral("Payroll.bak"));
    EXPECT_EQ(window.fileAttach()->List(0), QStringLiteral("Payroll.mdf"));
}

} // namespace
