#include "RowName.h"
#include "SambaTestServer.h"
#include "SimTestServer.h"
#include "WindowHarness.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "net/SessionStatements.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <algorithm>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using namespace qormin;

// Programs of the desktop that only write down how they were started (arguments, the folder
// they were started in, what they read), one line per start, into "<name>.log". They come first
// on PATH, and TERMINAL is unset, while this object lives: the window takes its environment
// when it is made.
class FakeDesktopPrograms {
public:
    // missing: a program that is not installed, not even where the machine has its own copy.
    explicit FakeDesktopPrograms(const QString& missing = {})
        : m_path(qgetenv("PATH")), m_terminal(qgetenv("TERMINAL")) {
        add(QStringLiteral("xdg-open"), "printf '%s\\n' \"$*\" >> \"$0.log\"\n");
        add(QStringLiteral("x-terminal-emulator"), "pwd -P >> \"$0.log\"\n");
        add(QStringLiteral("xdotool"),
            "printf '%s|' \"$@\" >> \"$0.log\"\nprintf '<%s>\\n' \"$(cat)\" >> \"$0.log\"\n");
        qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + m_path);
        qunsetenv("TERMINAL");
        if (!missing.isEmpty())
            remove(missing);
    }
    ~FakeDesktopPrograms() {
        qputenv("PATH", m_path);
        if (!m_terminal.isEmpty())
            qputenv("TERMINAL", m_terminal);
    }
    // Detached programs finish in their own time; wait for the lines expected.
    QStringList log(const QString& name, int lines) const {
        QStringList found;
        const QDeadlineTimer deadline(std::chrono::seconds(20));
        while (found.size() < lines && !deadline.hasExpired()) {
            QThread::msleep(20);
            QFile file(m_folder.filePath(name + QStringLiteral(".log")));
            if (file.open(QIODevice::ReadOnly))
                found = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
        }
        return found;
    }

private:
    // Gone from PATH altogether: where the machine has a copy of its own, that folder goes too.
    void remove(const QString& name) {
        QFile::remove(m_folder.filePath(name));
        QByteArrayList kept;
        for (const QByteArray& folder : qgetenv("PATH").split(':')) {
            if (!QFileInfo::exists(QFile::decodeName(folder) + u'/' + name))
                kept.append(folder);
        }
        qputenv("PATH", kept.join(':'));
    }

    void add(const QString& name, const char* body) {
        QFile script(m_folder.filePath(name));
        script.open(QIODevice::WriteOnly);
        script.write(QByteArray("#!/bin/sh\n") + body);
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QTemporaryDir m_folder;
    QByteArray m_path;
    QByteArray m_terminal;
};

// The main window in batch mode, with the fake programs. Shares are checked with smbclient and
// provided by a mount root (GVfs is covered by the mapping tests).
class ShareWindow {
public:
    explicit ShareWindow(const QString& missingProgram = {}) : programs(missingProgram) {}
    // The share as the system would have mounted it under the mount root.
    QString mountRootFor(const test::SambaTestServer& samba) {
        const QString root = harness.folder(QStringLiteral("mnt"));
        QDir().mkpath(root + u'/' + samba.serverText());
        QFile::link(samba.backupFolder(), root + u'/' + samba.serverText() + QStringLiteral("/backup"));
        return root;
    }
    QString run(const QString& script) {
        const test::BatchResult result = harness.runBatch(script);
        EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
        return result.output;
    }
    QString log() { return harness.window().serverAccess().log().text(); }
    QString driveFolder(QChar letter) { return harness.folder(QStringLiteral("drives")) + u'/' + letter; }

    FakeDesktopPrograms programs;
    test::WindowHarness harness;
};

QString escaped(QString value) {
    return value.replace(u'\\', QStringLiteral("\\\\"));
}

struct ConnectCase {
    const char* name;
    std::vector<int> sides; // clicked in this order
    bool rightPassword;
    const char* output;
};

class NetworkConnectTest : public ::testing::TestWithParam<ConnectCase> {
protected:
    void SetUp() override {
        QString whyNot;
        if (!m_samba.start(whyNot))
            GTEST_SKIP() << "Samba cannot run here: " << whyNot.toStdString();
        QDir(m_samba.backupFolder()).mkpath(QStringLiteral("MIR"));
        QFile certificate(m_samba.backupFolder() + QStringLiteral("/MIR/SERVER2.cer"));
        ASSERT_TRUE(certificate.open(QIODevice::WriteOnly));
    }

    test::SambaTestServer m_samba;
};

TEST_P(NetworkConnectTest, mapsTheSidesDriveShowsOnlyRealFailuresAndDropDirRemovesIt) {
    const ConnectCase& c = GetParam();
    ShareWindow window;
    QString script = QStringLiteral("set txtMountRoot ") + escaped(window.mountRootFor(m_samba)) + u'\n';
    for (const int side : {0, 1}) {
        script += QStringLiteral("set txtServer(%1) %2\nset txtServerUser(%1) %3\nset txtServerPW(%1) %4\n")
                      .arg(QString::number(side), m_samba.serverText(), escaped(m_samba.user()),
                           escaped(c.rightPassword ? m_samba.password() : QStringLiteral("wrong")));
    }
    for (const int side : c.sides)
        script += QStringLiteral("click cmdNetworkConnect(%1)\n").arg(side);
    EXPECT_EQ(window.run(script).toStdString(), c.output);
    for (const int side : {0, 1}) {
        const bool clicked = std::find(c.sides.begin(), c.sides.end(), side) != c.sides.end();
        const QString certificate =
            window.driveFolder(side == 0 ? u'x' : u'y') + QStringLiteral("/MIR/SERVER2.cer");
        EXPECT_EQ(QFileInfo::exists(certificate), clicked && c.rightPassword) << certificate.toStdString();
    }
    if (c.rightPassword) {
        window.run(QStringLiteral("click cmdOpenPath(%1)\n").arg(c.sides.back()));
        EXPECT_EQ(window.programs.log(QStringLiteral("x-terminal-emulator"), 1),
                  QStringList{QFileInfo(m_samba.backupFolder()).canonicalFilePath()});
    }
    window.run(QStringLiteral("click cmdDropDir\n"));
    EXPECT_FALSE(QFileInfo(window.driveFolder(u'x')).isSymLink());
    EXPECT_FALSE(QFileInfo(window.driveFolder(u'y')).isSymLink());
    EXPECT_TRUE(QFileInfo::exists(m_samba.backupFolder() + QStringLiteral("/MIR/SERVER2.cer")));
}

INSTANTIATE_TEST_SUITE_P(
    Sides, NetworkConnectTest,
    ::testing::Values(
        ConnectCase{"leftSideIsDriveX", {0}, true, ""}, ConnectCase{"rightSideIsDriveY", {1}, true, ""},
        ConnectCase{"bothSides", {0, 1}, true, ""}, ConnectCase{"alreadyAssignedIsSilent", {1, 1}, true, ""},
        ConnectCase{"wrongPasswordShowsItsText", {0}, false, "MSGBOX: Invalid Password -> ok\n"}),
    qormin::test::RowName());

TEST(NetworkSharePageTest, folderButtonsShowTheSidesBackupShareAndOpenDirBTypesTheAdministratorLogOn) {
    ShareWindow window;
    window.run(QStringLiteral("set txtServer(0) SERVER1\nset txtServer(1) db2\nclick cmdOpenDir(0)\n"
                              "click cmdOpenFolder(1)\nclick cmdOpenDirB(1)\n"));
    QStringList opened = window.programs.log(QStringLiteral("xdg-open"), 3);
    opened.sort();
    EXPECT_EQ(opened, (QStringList{QStringLiteral("smb://db2/backup"), QStringLiteral("smb://db2/backup"),
                                   QStringLiteral("smb://server1/backup")}));
    EXPECT_EQ(window.programs.log(QStringLiteral("xdotool"), 5),
              (QStringList{QStringLiteral("key|--clearmodifiers|Down|Down|<>"),
                           QStringLiteral("type|--clearmodifiers|--file|-|<administrator>"),
                           QStringLiteral("key|--clearmodifiers|Tab|<>"),
                           QStringLiteral("type|--clearmodifiers|--file|-|<harbor@579>"),
                           QStringLiteral("key|--clearmodifiers|Return|<>")}));
    // The password is a setting; a changed one is what gets typed.
    window.run(QStringLiteral("set txtShareLogOnPassword Share-Secret-9\nclick cmdOpenDirB(1)\n"));
    EXPECT_EQ(window.programs.log(QStringLiteral("xdotool"), 10).value(8),
              QStringLiteral("type|--clearmodifiers|--file|-|<Share-Secret-9>"));
}

struct LoggedCase {
    const char* name;
    const char* missingProgram;
    const char* script;
    const char* logLine;
};

class NetworkSharePageLogTest : public ::testing::TestWithParam<LoggedCase> {};

TEST_P(NetworkSharePageLogTest, logsWhatTheDesktopCouldNotDo) {
    ShareWindow window(QString::fromUtf8(GetParam().missingProgram));
    window.run(QString::fromUtf8(GetParam().script));
    EXPECT_TRUE(window.log().startsWith(QString::fromUtf8(GetParam().logLine) + QStringLiteral("\r\n")))
        << window.log().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Problems, NetworkSharePageLogTest,
    ::testing::Values(LoggedCase{"keyStrokesWithoutXdotool", "xdotool",
                                 "set txtServer(0) srv\nclick cmdOpenDirB(0)\n",
                                 "Key strokes not sent: xdotool is not installed"},
                      LoggedCase{"promptOnAnUnmappedDrive", "", "click cmdOpenPath(0)\n",
                                 "Command prompt not opened: drive X: is not mapped"},
                      LoggedCase{"folderWithoutXdgOpen", "xdg-open",
                                 "set txtServer(1) srv\nclick cmdOpenDir(1)\n",
                                 "Folder not opened: xdg-open is not installed (package xdg-utils)"},
                      LoggedCase{"folderOfNoServer", "", "click cmdOpenFolder(0)\n",
                                 "Folder not opened: \\\\\\backup names no share"}),
    qormin::test::RowName());

TEST(NetworkSharePageTest, clearConnectionsSendsTheKillLoopForTxtDB) {
    auto server = test::SimTestServer::fromJson(R"({"login": {"user": "sa", "password": "secret"}})");
    ASSERT_TRUE(server && server->isRunning());
    ShareWindow window;
    window.run(QStringLiteral("set txtServer(1) %1\nset txtUserID(1) sa\nset txtPW(1) secret\n"
                              "set txtDB Patient_Data\nclick cmdClearConnections(1)\n")
                   .arg(server->address()));
    EXPECT_EQ(server->statements(),
              QStringList{net::SessionStatements::clearConnections(QStringLiteral("Patient_Data"))});
    EXPECT_TRUE(window.log().contains(QStringLiteral("Done"))) << window.log().toStdString();
}

} // namespace
