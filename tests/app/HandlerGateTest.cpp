#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "WindowHarness.h"

#include "RowName.h"
#include "app/LogView.h"
#include "app/RunningWorkStopper.h"
#include "controls/FileListBox.h"
#include "controls/FlexGrid.h"
#include "db/EventLoopYield.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"

#include <QApplication>
#include <QCheckBox>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>

namespace qormin::test {

namespace {

using qormin::test::PrintTo;

// "Hung" never backs up until cancelled; reading a backup's file list takes a while.
const QByteArray scenario = R"json({
  "hangLimitSeconds": 10, "rules": [
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Patient_Data"]]}}},
    {"prefix": "BACKUP DATABASE Hung ", "response": {"hang": true}},
    {"prefix": "SELECT top 1000 * FROM Patient_Files..tbPatientDocs", "response": {"hang": true}},
    {"prefix": " RESTORE FILELISTONLY ", "response": [{"delay": 300}, {"done": {}}]} ]
})json";

} // namespace

// The window's input while a handler waits for the server: user input is delivered by the
// event loop, so the actions run from a timer that fires inside the statement's wait.
class HandlerGateTest : public testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenario);
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_harness.storeConnection(0, m_server->address(), QStringLiteral("pw"));
        m_harness.load();
        m_server->clearTranscript();
    }

    app::frmMain& window() { return m_harness.window(); }
    template <typename T> T* control(const QString& name) { return window().findChild<T*>(name); }

    // Runs action once, shortly after the first statement for database has started.
    void duringFirstStatementFor(const QString& database, std::function<void()> action) {
        auto fired = std::make_shared<bool>(false);
        QObject::connect(&window().serverAccess(), &db::ServerAccess::statementStarted, &window(),
                         [this, database, action, fired](int) {
                             if (*fired || window().txtDB()->text() != database)
                                 return;
                             *fired = true;
                             QTimer::singleShot(100, &window(), action);
                         });
    }

    void clickTab(int index) {
        QTabBar* tabs = window().SSTab1()->tabBar();
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(index).center());
    }

    // The database each statement of that kind named, in order.
    QStringList named(const QString& kind) {
        const QRegularExpression pattern(QStringLiteral("^") + kind + QStringLiteral("\\s+(\\S+) "));
        QStringList names;
        for (const QString& statement : m_server->statements()) {
            const QRegularExpressionMatch match = pattern.match(statement);
            if (match.hasMatch())
                names.append(match.captured(1));
        }
        return names;
    }

    std::unique_ptr<SimTestServer> m_server;
    WindowHarness m_harness;
};

TEST_F(HandlerGateTest, secondClickDuringAHungStatementStartsNothingAndCancelStillWorks) {
    QString statusWhileHung;
    bool waitCursorWhileHung = false;
    int tabAfterPlainTab = -1;
    int tabAfterHookedTab = -1;
    int hookedTab = 1;
    while (!window().pageSwitchStartsHandler(hookedTab))
        ++hookedTab;
    // A subsidiary window: its buttons wait too, unless kept live.
    int started = 0;
    int stopped = 0;
    window().registerWindow(QStringLiteral("frmTest"), [&](QWidget* parent) {
        auto* form = new QWidget(parent);
        auto* go = new QPushButton(QStringLiteral("Go"), form);
        go->setObjectName(QStringLiteral("cmdGo"));
        QObject::connect(go, &QPushButton::clicked, [&started] { ++started; });
        auto* stop = new QPushButton(QStringLiteral("Stop"), form);
        stop->setObjectName(QStringLiteral("cmdStop"));
        QObject::connect(stop, &QPushButton::clicked, [&stopped] { ++stopped; });
        window().allowWhileBusy(stop);
        return form;
    });
    QWidget* form = window().openWindow(QStringLiteral("frmTest"));
    bool logSelectable = false;
    duringFirstStatementFor(QStringLiteral("Hung"), [&] {
        statusWhileHung = control<QLabel>(QStringLiteral("lblBusy"))->text();
        waitCursorWhileHung = QApplication::overrideCursor() != nullptr;
        QTest::mouseClick(control<QPushButton>(QStringLiteral("cmdRestore(0)")), Qt::LeftButton);
        QTest::mouseClick(control<QPushButton>(QStringLiteral("cmdBackup(0)")), Qt::LeftButton);
        QTest::keyClicks(window().txtDB(), QStringLiteral("X"));
        QTest::mouseClick(form->findChild<QPushButton*>(QStringLiteral("cmdGo")), Qt::LeftButton);
        QTest::mouseClick(form->findChild<QPushButton*>(QStringLiteral("cmdStop")), Qt::LeftButton);
        auto* log = control<app::LogView>(QStringLiteral("txtLog"));
        QTest::keyClick(log->viewport(), Qt::Key_A, Qt::ControlModifier);
        logSelectable = !log->selectedText().isEmpty();
        clickTab(1);
        tabAfterPlainTab = window().SSTab1()->currentIndex();
        clickTab(hookedTab);
        tabAfterHookedTab = window().SSTab1()->currentIndex();
        QTest::mouseClick(control<QPushButton>(QStringLiteral("cmdCancelStatement")), Qt::LeftButton);
    });
    const BatchResult result = m_harness.runBatch(QStringLiteral("set txtDB Hung\nclick cmdBackup(0)\n"));

    EXPECT_EQ(named(QStringLiteral("BACKUP \\w+")),
              (QStringList{QStringLiteral("Hung"), QStringLiteral("Hung")}));
    EXPECT_EQ(m_server->statements().size(), 2);
    EXPECT_EQ(window().txtDB()->text(), QStringLiteral("Hung"));
    EXPECT_EQ(statusWhileHung, QStringLiteral("Backup (left) \u2014 00:00"));
    EXPECT_TRUE(waitCursorWhileHung);
    EXPECT_EQ(started, 0);
    EXPECT_EQ(stopped, 1);
    EXPECT_TRUE(logSelectable);
    EXPECT_EQ(tabAfterPlainTab, 1);
    EXPECT_EQ(tabAfterHookedTab, 1);
    EXPECT_TRUE(window().serverAccess().log().text().contains(QStringLiteral("Operation was cancelled")));
    EXPECT_EQ(result.exitCode, 1) << result.log.toStdString();
    // Nothing shows as running once the handler is over.
    EXPECT_EQ(control<QLabel>(QStringLiteral("lblBusy"))->text(), QString());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

// A click the window's own event loop delivers: the status line shows from the first wait and
// is cleared once the loop is idle again.
TEST_F(HandlerGateTest, clickFromTheEventLoopShowsWhatRunsUntilTheLoopIsIdle) {
    window().txtDB()->setText(QStringLiteral("Billing"));
    QString statusWhileRunning;
    duringFirstStatementFor(QStringLiteral("Billing"),
                            [&] { statusWhileRunning = control<QLabel>(QStringLiteral("lblBusy"))->text(); });
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [&] {
        QTest::mouseClick(control<QPushButton>(QStringLiteral("cmdRestoreFileList(0)")), Qt::LeftButton);
        QTimer::singleShot(100, &loop, &QEventLoop::quit);
    });
    loop.exec();
    EXPECT_EQ(statusWhileRunning, QStringLiteral("Restore File list (left) \u2014 00:00"));
    EXPECT_EQ(control<QLabel>(QStringLiteral("lblBusy"))->text(), QString());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

struct PassCase {
    const char* name;
    std::function<void(app::frmMain&)> during; // while Billing's file list is read
    QStringList databases;                     // what the RESTORE statements named, in order
};

class AllDatabasesPassTest : public HandlerGateTest, public testing::WithParamInterface<PassCase> {};

// The restore of every backup in FileB reads txtDB again after the file list, so input that
// reached txtDB while the list was read would change the RESTORE statements.
TEST_P(AllDatabasesPassTest, inputDuringThePassChangesNoStatement) {
    const QString folder = m_harness.folder(QStringLiteral("backups"));
    for (const char* file : {"Billing.bak", "Patient_Data.bak"}) {
        QFile backup(folder + u'/' + QLatin1String(file));
        ASSERT_TRUE(backup.open(QIODevice::WriteOnly));
    }
    ASSERT_TRUE(window().FileB()->setPath(folder + u'/'));
    duringFirstStatementFor(QStringLiteral("Billing"), [this] { GetParam().during(window()); });
    const BatchResult result = m_harness.runBatch(QStringLiteral("set chkALL 1\nclick cmdRestore(0)\n"));
    EXPECT_EQ(result.exitCode, 0) << result.log.toStdString();
    QStringList expected;
    for (const QString& database : GetParam().databases)
        expected << database << database; // the database and its log
    EXPECT_EQ(named(QStringLiteral("RESTORE (?:DATABASE|LOG)")), expected);
}

const PassCase passCases[] = {
    {"typingAndClickingARowAreIgnored",
     [](app::frmMain& window) {
         QTest::keyClicks(window.txtDB(), QStringLiteral("X"));
         QTableView* grid = window.GridDB(0);
         const QPoint row = grid->visualRect(grid->model()->index(1, 0)).center();
         QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, row);
     },
     {"Billing", "Patient_Data"}},
    {"clearingAllDbsStillEndsThePass",
     [](app::frmMain& window) { QTest::mouseClick(window.chkALL(), Qt::LeftButton); },
     {"Billing"}},
};

INSTANTIATE_TEST_SUITE_P(Input, AllDatabasesPassTest, testing::ValuesIn(passCases), qormin::test::RowName());

struct CloseCase {
    const char* name;
    const char* window; // empty: the main window
    const char* answer;
    const char* database; // txtDB while the hung statement runs
    const char* commands; // start a handler whose statement hangs
    const char* running;  // what the question names
    int sentAfterNo;      // statements the handler sends when it goes on
};

class CloseWhileRunningTest : public HandlerGateTest, public testing::WithParamInterface<CloseCase> {};

// Closing a window under its running handler asks; Yes cancels the handler and closes the
// window once it has returned, saving what the window saves on unload; No leaves both be.
TEST_P(CloseWhileRunningTest, asksWhetherToCancelTheRunningHandler) {
    const CloseCase& close = GetParam();
    const bool yes = QLatin1String(close.answer) == u"yes";
    ASSERT_EQ(m_harness.runBatch(QStringLiteral("open frmTransferDB\n")).exitCode, 0);
    QWidget* target = *close.window != 0 ? window().findWindow(QString::fromLatin1(close.window)) : &window();
    ASSERT_NE(target, nullptr);
    duringFirstStatementFor(QString::fromLatin1(close.database), [&] {
        target->close();
        if (!yes)
            window().serverAccess().cancelRunningStatement();
    });
    const BatchResult result = m_harness.runBatch(QStringLiteral("answer ") + close.answer + u'\n' +
                                                  QString::fromLatin1(close.commands));
    EXPECT_TRUE(result.output.contains(
        QStringLiteral("MSGBOX: ") + close.running +
        QStringLiteral(" is still running. Cancel it and close the window? -> ") + close.answer))
        << result.output.toStdString();
    EXPECT_EQ(target->isVisible(), !yes);
    EXPECT_EQ(result.exitCode, 1) << result.log.toStdString();
    EXPECT_FALSE(window().chkStop()->isChecked());
    // After Yes the handler sends nothing more: the log backup that follows is not run.
    EXPECT_EQ(m_server->statements().size(), yes ? 1 : close.sentAfterNo) << result.log.toStdString();
    // frmTransferDB keeps its boxes when it closes.
    EXPECT_EQ(m_harness.settings().getSetting(QStringLiteral("MAIN"), QStringLiteral("txtToDatabase")),
              yes ? QStringLiteral("Patient_Files_2020") : QString());
}

const CloseCase closeCases[] = {
    {"mainWindowYes", "", "yes", "Hung", "set txtDB Hung\nclick cmdBackup(0)\n", "Backup (left)", 2},
    {"mainWindowNo", "", "no", "Hung", "set txtDB Hung\nclick cmdBackup(0)\n", "Backup (left)", 2},
    {"subsidiaryWindowYes", "frmTransferDB", "yes", "",
     "select frmTransferDB.Grid2 1\nclick frmTransferDB.cmdSelect\n", "frmTransferDB: Query", 1},
    {"subsidiaryWindowNo", "frmTransferDB", "no", "",
     "select frmTransferDB.Grid2 1\nclick frmTransferDB.cmdSelect\n", "frmTransferDB: Query", 1},
};

INSTANTIATE_TEST_SUITE_P(Close, CloseWhileRunningTest, testing::ValuesIn(closeCases),
                         qormin::test::RowName());

// A handler that takes no notice of Cancel or STOP: after Yes the window waits for it no longer
// than the stopper's limit, says so in the log and closes anyway.
TEST_F(HandlerGateTest, handlerThatDoesNotEndAfterItsCancelIsLoggedAndTheWindowClosesAnyway) {
    window().workStopper().setLimit(std::chrono::milliseconds(200));
    window().registerWindow(QStringLiteral("frmStubborn"), [](QWidget* parent) {
        auto* form = new QWidget(parent);
        auto* go = new QPushButton(QStringLiteral("Go"), form);
        go->setObjectName(QStringLiteral("cmdGo"));
        QObject::connect(go, &QPushButton::clicked, form, [form] {
            const QDeadlineTimer giveUp(20000);
            while (form->isVisible() && !giveUp.hasExpired()) {
                const db::EventLoopYield yield;
                QEventLoop wait;
                QTimer::singleShot(10, &wait, &QEventLoop::quit);
                wait.exec();
            }
        });
        return form;
    });
    QWidget* form = window().openWindow(QStringLiteral("frmStubborn"));
    QTimer::singleShot(100, form, [form] { form->close(); });
    const BatchResult result = m_harness.runBatch(QStringLiteral("answer yes\nclick frmStubborn.cmdGo\n"));
    EXPECT_TRUE(result.output.contains(QStringLiteral("MSGBOX: frmStubborn: Go is still running.")))
        << result.output.toStdString();
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(window().serverAccess().log().text().contains(
        QStringLiteral("frmStubborn: Go did not end within 10 s of its cancel; the window closes anyway.")));
}

} // namespace qormin::test
