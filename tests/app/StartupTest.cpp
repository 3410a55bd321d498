#include "QStringPrinter.h"
#include "WindowHarness.h"

#include "controls/FileListBox.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"

#include "RowName.h"
#include "platform/LocalFileSystemService.h"
#include "platform/PathMapper.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>
#include <QTest>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>

namespace {

using qormin::test::PrintTo;

using qormin::test::WindowHarness;

QString textOf(qormin::app::frmMain& window, const char* name) {
    const auto* edit = window.findChild<QLineEdit*>(QString::fromLatin1(name));
    return edit == nullptr ? QStringLiteral("<no control>") : edit->text();
}

void touch(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

// The text shown for a name as batch mode spells it: "frmX" is that window's title, "frmX.name"
// a control of it, a plain name a control of the main window.
QString caption(qormin::app::frmMain& main, const QString& name) {
    const QString window =
        name.contains(u'.') || name.startsWith(QLatin1String("frm")) ? name.section(u'.', 0, 0) : QString();
    QWidget* top = window.isEmpty() ? &main : main.findWindow(window);
    if (top == nullptr || name == window)
        return top == nullptr ? QStringLiteral("<no window>") : top->windowTitle();
    for (QWidget* widget : top->findChildren<QWidget*>(name.section(u'.', -1)))
        if (widget->window() == top)
            return widget->property("text").toString();
    return QStringLiteral("<no control>");
}

struct FieldCase {
    const char* control;
    const char* firstRun; // shown on an empty settings file
    const char* section;  // where a change is written at once; nullptr: nowhere
    const char* key;
    const char* afterRestart; // nullptr: not restarted (a stored password connects at start-up)
};
std::string_view label(const FieldCase& row) {
    return row.control;
}

class FieldTest : public testing::TestWithParam<FieldCase> {};

// Each key stroke is on disk at once (a store opened afresh on the file sees it), under the
// historical address, which start-up does not always read back.
TEST_P(FieldTest, startsWithItsDefaultIsSavedOnEachChangeAndComesBackAfterRestart) {
    const FieldCase& c = GetParam();
    WindowHarness harness;
    harness.load();
    EXPECT_EQ(textOf(harness.window(), c.control), QString::fromLatin1(c.firstRun));
    const auto result = harness.runBatch(QStringLiteral("set %1 typed value").arg(QLatin1String(c.control)));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    if (c.section != nullptr) {
        auto reader = qormin::platform::SettingsStore::openFile(harness.settingsFile());
        EXPECT_EQ(reader->getSetting(QString::fromLatin1(c.section), QString::fromLatin1(c.key)),
                  QStringLiteral("typed value"));
    }
    if (c.afterRestart != nullptr) {
        harness.restart();
        EXPECT_EQ(textOf(harness.window(), c.control), QString::fromLatin1(c.afterRestart));
    }
}

constexpr const char* typed = "typed value";

const FieldCase fieldCases[] = {
    {"txtServerUser(0)", "administrator", "MAIN", "txtServerUser0", typed},
    {"txtServerUser(1)", "administrator", "MAIN", "txtServerUser1", typed},
    {"txtUserID(0)", "sa", "MAIN", "txtUserID0", typed},
    {"txtUserID(1)", "sa", "MAIN", "txtUserID1", typed},
    {"txtServer(0)", "", "MIR", "txtServer0", typed},
    {"txtServer(1)", "", "MIR", "txtServer1", typed},
    {"txtPW(1)", "", "MIR", "DB1", nullptr},
    {"txtServerPW(1)", "", "MAIN", "txtServerPW1", typed},
    {"txtLogDrive(1)", "", "MAIN", "txtLogDrive1", typed},
    // Written under MIR, read from MAIN: a typed path is forgotten.
    {"txtPath(1)", "", "MIR", "txtPath1", ""},
    {"txtPath(2)", "", "MIR", "txtPath2", ""},
    {"txtBackupDrive", "p:\\backup\\MIR\\", "MAIN", "txtBackupDrive", typed},
    {"txtRestoreTO(0)", "D", "txtRestoreTO", "DB0", typed},
    {"txtRestoreTO(5)", "D", "txtRestoreTO", "DB5", typed},
    {"txtRestoreDir", "d:\\qormin\\db\\bak\\", nullptr, nullptr, "d:\\qormin\\db\\bak\\"},
    {"txtCAFile(1)", "", "MAIN", "txtCAFile1", typed},
    {"txtCertificateHost(0)", "", "MAIN", "txtCertificateHost0", typed},
};

INSTANTIATE_TEST_SUITE_P(Fields, FieldTest, testing::ValuesIn(fieldCases), qormin::test::RowName());

// The Options page's encryption reaches the connections before start-up connects anything.
TEST(StartupTest, encryptionChosenOnTheOptionsPageGovernsTheSideFromTheNextStart) {
    using qormin::db::ConnectionSecurity;
    using qormin::db::Encryption;
    WindowHarness harness;
    harness.load();
    EXPECT_EQ(harness.window().serverAccess().connectionSecurity(1), ConnectionSecurity{});
    const auto result =
        harness.runBatch(QStringLiteral("set cboEncryption(1) Required\nset txtCAFile(1) /etc/ca.pem\n"
                                        "set cboEncryption(0) Off\nset txtCAFile(0) /unused.pem"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    harness.restart();
    EXPECT_EQ(harness.window().serverAccess().connectionSecurity(1),
              (ConnectionSecurity{Encryption::Required, QStringLiteral("/etc/ca.pem"), {}}));
    EXPECT_EQ(harness.window().serverAccess().connectionSecurity(0),
              (ConnectionSecurity{Encryption::Off, {}, {}}));
}

TEST(StartupTest, firstRunContactsNoServerLogsTheFolderChecksShowsTheTabsInOrderAndRunsTheirHooks) {
    WindowHarness harness;
    harness.load();
    auto& access = harness.window().serverAccess();
    EXPECT_FALSE(access.IsConnected(0));
    EXPECT_FALSE(access.IsConnected(1));
    EXPECT_EQ(harness.output(), QString()); // no message box
    EXPECT_EQ(access.log().text(), QStringLiteral("checking path \r\nchecking path \r\nchecking path \r\n"));
    EXPECT_EQ(harness.window().SSTab1()->currentIndex(), 0);
    // Filling an empty restore target writes the letter back under the control's own section.
    EXPECT_EQ(harness.settings().getSetting(QStringLiteral("txtRestoreTO"), QStringLiteral("DB4")),
              QStringLiteral("D"));
    const QStringList captions{"Main Tools", "Copy",        "Restore",       "TEST",      "Restore Dir",
                               "Options",    "Mirroring",   "SQL to String", "Anonymize", "Config Anonymize",
                               "Other",      "table sizes", "SP Replace",    "Users",     "Transfer Data"};
    QTabWidget* tabs = harness.window().SSTab1();
    ASSERT_EQ(tabs->count(), captions.size());
    for (int i = 0; i < tabs->count(); ++i)
        EXPECT_EQ(tabs->tabText(i), captions[i]) << i;
    // Each page hook fires on the page that holds its controls: Restore Dir refreshes its lists.
    const QString source = harness.folder(QStringLiteral("source"));
    touch(source + QStringLiteral("/Payroll.bak"));
    touch(source + QStringLiteral("/Payroll.mdf"));
    auto& window = harness.window();
    window.txtRestoreDir()->blockSignals(true);
    window.txtRestoreDir()->setText(source);
    window.txtRestoreDir()->blockSignals(false);
    int hookRuns = 0;
    window.addPageHook(9, [&] { ++hookRuns; });
    ASSERT_EQ(harness.runBatch(QStringLiteral("page 5\npage 9\n")).exitCode, 0);
    EXPECT_EQ(window.File2()->ListCount(), 0);
    EXPECT_EQ(hookRuns, 1);
    ASSERT_EQ(harness.runBatch(QStringLiteral("page 4\n")).exitCode, 0);
    EXPECT_EQ(window.File2()->Path(), source);
    EXPECT_EQ(window.File2()->List(0), QStringLiteral("Payroll.bak"));
    EXPECT_EQ(window.fileAttach()->List(0), QStringLiteral("Payroll.mdf"));
}

// Default paths are stored where start-up reads them; a typed path is not (see the field table).
TEST(StartupTest, defaultPathsComeBackAfterRestartAndTheRightSideTakesTheSharedFolderFromTheLeftServer) {
    WindowHarness harness;
    harness.load();
    const auto result = harness.runBatch(QStringLiteral("set txtServer(0) SQLMAIN\n"
                                                        "set txtServer(1) SQLMIRROR\n"
                                                        "click cmdDefaultPaths(1)\n"
                                                        "set txtPath(1) \\\\\\\\elsewhere\\\\typed\n"));
    ASSERT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_EQ(textOf(harness.window(), "txtPath(1)"), QStringLiteral("\\\\elsewhere\\typed"));
    harness.restart();
    EXPECT_EQ(textOf(harness.window(), "txtPath(1)"), QStringLiteral("\\\\SQLMIRROR\\backup\\MIR"));
    EXPECT_EQ(textOf(harness.window(), "txtPath(2)"), QStringLiteral("\\\\SQLMAIN\\backup"));
    EXPECT_EQ(textOf(harness.window(), "txtPath(0)"), QString());
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
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.FileA()->ListCount() == 2; }, 20000));
    EXPECT_EQ(window.FileA()->List(1), QStringLiteral("Station.BAK"));
}

// The machine's file system, where listing one folder hangs once armed, as on a dead network
// mount. Without the background listing, Timer1 would wait for it; the hang gives up after a
// while so that such a failure ends.
class HungFolderFileSystem : public qormin::platform::LocalFileSystemService {
public:
    explicit HungFolderFileSystem(const qormin::platform::PathMapper& paths)
        : LocalFileSystemService(paths) {}
    ~HungFolderFileSystem() override {
        release();
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_calls == 0; });
    }
    void hang(const QString& folder) {
        const std::lock_guard lock(m_mutex);
        m_hungFolder = folder;
    }
    void release() {
        const std::lock_guard lock(m_mutex);
        m_hungFolder.clear();
        m_changed.notify_all();
    }
    std::optional<QStringList> listFiles(const QString& folder, const QStringList& patterns) const override {
        std::unique_lock lock(m_mutex);
        ++m_calls;
        m_changed.wait_for(lock, std::chrono::seconds(30), [&] { return m_hungFolder != folder; });
        lock.unlock();
        std::optional<QStringList> names = LocalFileSystemService::listFiles(folder, patterns);
        lock.lock();
        --m_calls;
        m_changed.notify_all();
        return names;
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    mutable int m_calls = 0;
    QString m_hungFolder;
};

// A backup folder whose listing hangs leaves the window working: its list keeps the files last
// read, the status bar names the folder, and the list follows the folder again once it answers.
TEST(StartupTest, hungBackupFolderLeavesTheWindowWorkingAndIsNamedInTheStatusBar) {
    const qormin::platform::PathMapper paths = qormin::platform::PathMapper::forThisSystem();
    HungFolderFileSystem files(paths);
    WindowHarness harness(&files);
    const QString right = harness.folder(QStringLiteral("right"));
    touch(right + QStringLiteral("/Billing.BAK"));
    harness.settings().saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtPath1"), right);
    harness.load();
    auto& window = harness.window();
    const auto* status = window.findChild<QLabel*>(QStringLiteral("lblFolders"));
    ASSERT_NE(status, nullptr);
    files.hang(right);
    touch(right + QStringLiteral("/Station.BAK"));
    window.Timer1_Timer();
    EXPECT_TRUE(QTest::qWaitFor([&] { return status->text().contains(right); }, 20000))
        << status->text().toStdString();
    EXPECT_EQ(status->text(),
              right + QStringLiteral(" does not answer; its list shows the files last read."));
    EXPECT_EQ(window.FileB()->ListCount(), 1);
    const auto result = harness.runBatch(QStringLiteral("set txtDB Billing\nprint txtDB\n"));
    EXPECT_EQ(result.output, QStringLiteral("Billing\n"));
    files.release();
    EXPECT_TRUE(QTest::qWaitFor([&] { return status->text().isEmpty(); }, 20000))
        << status->text().toStdString();
    EXPECT_EQ(window.FileB()->ListCount(), 2);
}

// Every caption, and the first-run texts of the transfer and repair windows, as the tool has always
// shown them ("name=text|...", names as batch mode spells them).
TEST(StartupTest, captionsAndFirstRunTextsAreTheToolsOwn) {
    WindowHarness harness;
    harness.load();
    ASSERT_EQ(harness
                  .runBatch(QStringLiteral("open frmTransferDB\nopen frmHistorical\nopen frmMigrateData\n"
                                           "open frmFixTransDate\n"))
                  .exitCode,
              0);
    const char* const captions[] = {
        "cmdBackup(0)=Backup|cmdBackup(1)=Backup|cmdFullRecovery(0)=Full Recovery Mode|"
        "cmdMakeSimple=Make Simple|Command1=single user|Command2=multi user|chkALL=ALL DBS|"
        "chkLogOnly=Log Only|chkStop=STOP|cmdRestore(0)=Restore|cmdRestore(1)=Restore|"
        "cmdRestoreFileList(0)=Restore File list|cmdRestoreMain=Restore ALL to Main|"
        "cmdRestoretoMain=Restore ALL to Main|cmdRename=Rename bak files (remove date)|"
        "cmdRenameDir=Rename bak files (remove date)|cmdSetPartner(0)=Set Partner ->|"
        "cmdSetPartner(1)=<- Set Partner|cmdMakeOnline(0)=Make Online / fix|"
        "cmdMakeOnline(1)=Make Online (partner off)|cmdMirrorAll(0)=Mirror All from 1|"
        "cmdMirrorAll(1)=Mirror All from 2|cmdCopyCert(0)=CopyCert|cmdCopyCert(2)=CopyCert|"
        "cmdRunScript(0)=RunScript both servers|cmdRunScript(1)=RunScript svr1|"
        "cmdRunScript(2)=RunScript svr2|cmdRunScript(3)=RunScript svr1|cmdRunScript(4)=Restart Mirroring|"
        "cmdAttachAll=Attach All (right)|cmdDetachAll=Detach All (right)|cmdDrop(1)=DropDB|"
        "cmdDropAll(0)=Drop ALL|cmdCopy(0)=Copy ->|cmdDropDir=Drop Dir|"
        "cmdCopyTables=Copy table by record|cmdCopyTablesDB2=Copy Structure to DBname_2|"
        "cmdDropTableDB2=Drop table DBname_2|cmdCloneTable=Clone Table Records|cmdCopyInto=Copy Into|"
        "cmdTruncate=Truncate|cmdCheckTables=Check|cmdCopytoNEW=Copy to _NEW2|"
        "cmdCopybyRecID=Copy records to database 1|cmdInit=Configure|cmdInitAnonymize=Init|"
        "cmdDefault=Default tables|cmdGetTables=Get Tables|cmdSampleData=Sample Data|"
        "cmdTest(0)=Create Table|cmdTest(1)=Test ADD   <3s|cmdTest(2)=Test Delete|"
        "cmdTest(3)=Test Read  <2s",
        "frmTransferDB=Transfer DB|frmTransferDB.chkDelete=Delete after transfer|"
        "frmTransferDB.chkAllTables=All Tables|frmTransferDB.cmdDefault=default|"
        "frmTransferDB.cmdSelect=Query|frmTransferDB.cmdTransfer=Transfer Data|"
        "frmTransferDB.cmdDeleteData=Delete Data|frmTransferDB.cmdCreateTable=Create Table|"
        "frmTransferDB.cmdDeleteDestTable=Delete Dest Table|frmTransferDB.cmdCreateIndex=Create Index|"
        "frmTransferDB.cmdSyncStructure=Sync Structure|frmTransferDB.txtStartDate=1/1/2020|"
        "frmTransferDB.txtEndDate=12/31/2020|frmTransferDB.txtYears=|frmTransferDB.txtRecsAtATime=1000|"
        "frmTransferDB.txtToDatabase=Patient_Files_2020|frmTransferDB.txtWHERE=DocType = 'PHIC Docs'",
        "frmHistorical=Transfer to History|frmHistorical.chkAllTables=All Tables",
        "frmMigrateData.cmdStart=Start|frmMigrateData.cmdStop=Stop|frmMigrateData.cmdSkipTable=SkipTable|"
        "frmMigrateData.chkSimulate=Simulate|frmMigrateData.chkTop20=20 Records",
        "frmFixTransDate=Fix Trans Date|frmFixTransDate.txtSrc=Billing..tbBillDailyBill|"
        "frmFixTransDate.txtDest=Billing..tbBillDailyBill|"
        "frmFixTransDate.txtWhere=TransDate = '2020-07-17 09:02:18.000'|"
        "frmFixTransDate.Option1=Step 1 (from backup)|"
        "frmFixTransDate.Option2=Step 2  (from other tables)|frmFixTransDate.cmdStop=Stop"};
    for (const char* group : captions)
        for (const QString& row : QString::fromLatin1(group).split(u'|'))
            EXPECT_EQ(caption(harness.window(), row.section(u'=', 0, 0)), row.section(u'=', 1))
                << row.toStdString();
}

} // namespace
