#include "QStringPrinter.h"
#include "SimTestServer.h"
#include "ToolRun.h"
#include "WindowHarness.h"

#include "platform/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <array>
#include <csignal>
#include <gtest/gtest.h>

namespace {

using qormin::test::runTool;
using Finished = qormin::test::ToolRun;

// The process named so whose parent is parent (from /proc), or 0.
qint64 childProcess(qint64 parent, const QString& name) {
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile stat(QStringLiteral("/proc/") + entry + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QString text = QString::fromLatin1(stat.readAll());
        const qsizetype open = text.indexOf(u'(');
        const qsizetype close = text.lastIndexOf(u')');
        const QStringList fields = text.mid(close + 2).split(u' ');
        if (text.mid(open + 1, close - open - 1) == name && fields.value(1).toLongLong() == parent)
            return entry.toLongLong();
    }
    return 0;
}

bool processRuns(qint64 pid) {
    QFile stat(QStringLiteral("/proc/") + QString::number(pid) + QStringLiteral("/stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    return !text.mid(text.lastIndexOf(')') + 2).startsWith('Z');
}

// One run of the real program: settings and data folder from the command line, a server
// reached from typed texts, a panel saved into the data folder, and a faulty line ending it.
TEST(ExecutableTest, batchFromStandardInputDrivesTheRealProgram) {
    const auto server = qormin::test::SimTestServer::fromJson(R"json({
      "login": {"user": "sa", "password": "secret"},
      "rules": [{"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
                 "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Billing"], ["Station"]]}}}]
    })json");
    ASSERT_TRUE(server && server->isRunning());
    QTemporaryDir root;
    const QString data = root.filePath(QStringLiteral("data"));
    ASSERT_TRUE(QDir().mkpath(data));
    const QString list = QDir(data).filePath(QStringLiteral("ExcludedTables.txt"));
    QFile file(list);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("Lab..tbResults\r\n");
    file.close();
    const QByteArray commands =
        QStringLiteral("set txtServer(0) %1\nset txtPW(0) secret\nclick cmdRefreshDB(0)\n"
                       "print lblDBCount(0)\nprint GridDB(0)\nclick cmdInit\nprint ctlExclue.lblFile\n"
                       "print ctlExclue.txtFileVal\n"
                       "set ctlExclue.txtFileVal Lab..tbResults\\r\\nBilling..tbAudit\\r\\n\n"
                       "click ctlExclue.cmdSaveFile\nselect GridDB(0) 9\nprint txtDB\n")
            .arg(server->address())
            .toUtf8();
    const Finished run =
        runTool({QStringLiteral("--settings"), root.filePath(QStringLiteral("settings.ini")),
                 QStringLiteral("--data-dir"), data, QStringLiteral("--batch"), QStringLiteral("-")},
                commands);
    EXPECT_EQ(run.exitCode, 2);
    // The log lines, start-up's included, come between the printed texts, and a summary closes the run.
    static const QRegularExpression stamped(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} (.*)$"));
    QStringList printed;
    QStringList logged;
    for (const QString& line : run.output.split(u'\n')) {
        const QRegularExpressionMatch match = stamped.match(line);
        (match.hasMatch() ? logged : printed).append(match.hasMatch() ? match.captured(1) : line);
    }
    EXPECT_EQ(printed.join(u'\n'),
              QStringLiteral("3\nname\nBilling\nStation\nExcludedTables.txt\nLab..tbResults\\r\\n\n"));
    EXPECT_EQ(logged.first(), QStringLiteral("- log: checking path "));
    EXPECT_TRUE(logged.contains(QStringLiteral("left log: Connected.")));
    EXPECT_TRUE(
        logged.last().startsWith(QStringLiteral("- summary: sent 1, failed 0, withheld by Script only 0,")))
        << logged.last().toStdString();
    EXPECT_TRUE(logged.last().endsWith(QStringLiteral("exit status 2"))) << logged.last().toStdString();
    EXPECT_TRUE(run.errors.contains(QStringLiteral("batch line 11: row 9 is out of range")))
        << run.errors.toStdString();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("Lab..tbResults\r\nBilling..tbAudit\r\n"));
}

// --demo starts the simulator as a program of its own.
TEST(ExecutableTest, demoConnectsBothSidesToASimulatorProcess) {
    const Finished run = runTool({QStringLiteral("--demo"), QStringLiteral("--batch"), QStringLiteral("-")},
                                 "print lblDBCount(0)\nset chkDatabaseHealth 1\nclick cmdRefreshDB(1)\n"
                                 "print lblDBCount(1)\n");
    EXPECT_EQ(run.exitCode, 0) << run.errors.toStdString();
    // A batch run lists names alone until asked; the demo's history leaves five databases with
    // overdue backups.
    EXPECT_TRUE(run.output.contains(QStringLiteral("\n18\n18 (5 overdue)\n"))) << run.output.toStdString();
}

// SIGTERM ends a batch run the way Cancel and STOP would: the hung statement is cancelled, no
// further line runs, the summary closes the output with the interrupted status, and the demo's
// simulator process ends with the tool.
TEST(ExecutableTest, terminationCancelsTheRunningStatementAndEndsTheDemoSimulatorToo) {
    const auto server = qormin::test::SimTestServer::fromJson(
        R"json({"rules": [{"prefix": "BACKUP DATABASE Hung ", "response": {"hang": true}}]})json");
    ASSERT_TRUE(server && server->isRunning());
    QProcess tool;
    tool.start(QStringLiteral(QORMIN_DBTOOLS_PATH),
               {QStringLiteral("--demo"), QStringLiteral("--batch"), QStringLiteral("-")});
    ASSERT_TRUE(tool.waitForStarted());
    tool.write(
        QStringLiteral(
            "set txtServer(0) %1\nclick cmdConnect(0)\nset txtDB Hung\nclick cmdBackup(0)\nprint txtDB\n")
            .arg(server->address())
            .toUtf8());
    tool.closeWriteChannel();
    tool.waitForBytesWritten();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return server->statements().join(u'\n').contains(QStringLiteral("BACKUP DATABASE Hung")); },
        60000));
    const qint64 simulator = childProcess(tool.processId(), QStringLiteral("qormin-sim"));
    ASSERT_NE(simulator, 0);
    ::kill(static_cast<pid_t>(tool.processId()), SIGTERM);
    ASSERT_TRUE(tool.waitForFinished(60000));
    const QString output = QString::fromUtf8(tool.readAllStandardOutput());
    EXPECT_EQ(tool.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(tool.exitCode(), 4) << output.toStdString();
    EXPECT_TRUE(output.contains(
        QStringLiteral("log: Interrupted by SIGTERM: the running statement is cancelled and the run ends.")))
        << output.toStdString();
    EXPECT_TRUE(output.contains(QStringLiteral("left log: Operation was cancelled"))) << output.toStdString();
    // The log backup that follows is not sent.
    EXPECT_TRUE(output.contains(QStringLiteral("left log: Not run (cancelled)"))) << output.toStdString();
    EXPECT_EQ(server->statements().size(), 1);
    EXPECT_FALSE(output.contains(QStringLiteral("\nHung\n"))) << output.toStdString();
    EXPECT_TRUE(output.trimmed().section(u'\n', -1).endsWith(QStringLiteral("exit status 4")))
        << output.toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !processRuns(simulator); }, 60000));
}

// Two instances saving fields into one settings file at the same time lose none of each
// other's values: every save merges with what is on disk under the store's lock. (Start-up
// writes back every field it loads, as each field's change handler saves it; the runs wait
// until both start-ups are over.)
TEST(ExecutableTest, twoInstancesSavingAtOnceLoseNothing) {
    QTemporaryDir folder;
    const QString settings = folder.filePath(QStringLiteral("settings.ini"));
    constexpr int rounds = 40;
    std::array<QProcess, 2> tools;
    for (int instance = 0; instance < 2; ++instance) {
        QByteArray batch = "wait 2000\n";
        for (int round = 1; round <= rounds; ++round)
            for (int box = 3 * instance; box < 3 * instance + 3; ++box)
                batch += QStringLiteral("set txtRestoreTO(%1) %2%3\n")
                             .arg(box)
                             .arg(QChar(u'A' + instance))
                             .arg(round)
                             .toUtf8();
        tools[instance].start(
            QStringLiteral(QORMIN_DBTOOLS_PATH),
            {QStringLiteral("--settings"), settings, QStringLiteral("--batch"), QStringLiteral("-")});
        ASSERT_TRUE(tools[instance].waitForStarted());
        tools[instance].write(batch);
        tools[instance].closeWriteChannel();
    }
    for (auto& tool : tools) {
        ASSERT_TRUE(tool.waitForFinished(120000));
        EXPECT_EQ(tool.exitCode(), 0) << tool.readAllStandardError().toStdString();
    }
    const auto store = qormin::platform::SettingsStore::openFile(settings);
    for (int box = 0; box < 6; ++box)
        EXPECT_EQ(store->getSetting(QStringLiteral("txtRestoreTO"), QStringLiteral("DB%1").arg(box)),
                  QStringLiteral("%1%2").arg(QChar(u'A' + box / 3)).arg(rounds));
}

// The version comes from one place in the build: the option prints it, the caption shows it,
// and it is the project's version (which the package takes as well). The option works where
// there is no display at all, as on a server's shell.
TEST(ExecutableTest, versionOptionsAndCaptionShowTheProjectVersionAndAMissingBatchFileIsStatusTwo) {
    const QString version = QStringLiteral(QORMIN_PROJECT_VERSION);
    QProcessEnvironment noDisplay = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        noDisplay.remove(QString::fromLatin1(name));
    for (const char* option : {"--version", "-v"}) {
        const Finished run = runTool({QString::fromLatin1(option)}, QByteArray(), noDisplay);
        EXPECT_EQ(run.exitCode, 0) << option;
        EXPECT_EQ(run.output, QStringLiteral("QORMIN DB Tools ") + version + u'\n') << option;
    }
    qormin::test::WindowHarness harness;
    harness.load();
    EXPECT_EQ(harness.window().windowTitle(), QStringLiteral("QORMIN DB Tools v.") + version);
    // A batch file that cannot be read ends the run with status 2.
    QTemporaryDir folder;
    const Finished run = runTool({QStringLiteral("--settings"), folder.filePath(QStringLiteral("s.ini")),
                                  QStringLiteral("--batch"), folder.filePath(QStringLiteral("missing.txt"))},
                                 QByteArray());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.errors.contains(QStringLiteral("cannot read the batch file")))
        << run.errors.toStdString();
}

} // namespace
