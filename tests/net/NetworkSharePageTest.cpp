#include "SambaTestServer.h"
#include "SimTestServer.h"
#include "app/PathMapper.h"
#include "app/SettingsStore.h"
#include "app/batch/BatchMessageBoxService.h"
#include "app/batch/BatchRunner.h"
#include "app/frmMain.h"
#include "app/platform/LocalFileSystemService.h"
#include "app/platform/PlatformServices.h"
#include "app/platform/ShellService.h"
#include "db/LogBuffer.h"
#include "net/SessionStatements.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>
#include <gtest/gtest.h>

namespace {

using namespace qormin;

class UnusedShell : public app::ShellService {
public:
    int run(const QString&, bool) override { return -1; }
    bool openFolder(const QString&) override { return false; }
};

// Programs of the desktop that only write down how they were started (arguments, the
// folder they were started in, what they read), one line per start, into "<name>.log".
class FakeDesktopPrograms {
public:
    explicit FakeDesktopPrograms(const QString& folder) : m_folder(folder) {
        QDir().mkpath(folder);
        add(QStringLiteral("xdg-open"), "printf '%s\\n' \"$*\" >> \"$0.log\"\n");
        add(QStringLiteral("x-terminal-emulator"), "pwd -P >> \"$0.log\"\n");
        add(QStringLiteral("xdotool"),
            "printf '%s|' \"$@\" >> \"$0.log\"\nprintf '<%s>\\n' \"$(cat)\" >> \"$0.log\"\n");
    }
    void remove(const QString& name) { QFile::remove(m_folder + u'/' + name); }
    // Detached programs finish in their own time; wait for the lines expected.
    QStringList log(const QString& name, int lines) const {
        QStringList found;
        const QDeadlineTimer deadline(std::chrono::seconds(20));
        while (!deadline.hasExpired()) {
            QFile file(m_folder + u'/' + name + QStringLiteral(".log"));
            if (file.open(QIODevice::ReadOnly))
                found = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
            if (found.size() >= lines)
                break;
            QThread::msleep(20);
        }
        return found;
    }

private:
    void add(const QString& name, const char* body) {
        QFile script(m_folder + u'/' + name);
        script.open(QIODevice::WriteOnly);
        script.write(QByteArray("#!/bin/sh\n") + body);
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString m_folder;
};

// The main window with the share buttons, run in batch mode. Shares are checked with
// smbclient and provided by a mount root (GVfs is covered by the mapping tests).
class ShareWindow {
public:
    ShareWindow()
        : m_settings(app::SettingsStore::openFile(m_root.filePath(QStringLiteral("settings.ini")))),
          m_paths(app::PathMapper::Platform::Posix, m_root.filePath(QStringLiteral("gvfs")),
                  m_root.filePath(QStringLiteral("drives"))),
          m_files(m_paths), m_programs(m_root.filePath(QStringLiteral("bin"))), m_outputStream(&m_output),
          m_errorStream(&m_errors), m_messageBoxes(m_outputStream, m_errorStream) {
        // The window installs the share buttons itself, with the environment it starts in.
        const QByteArray path = qgetenv("PATH");
        const QByteArray terminal = qgetenv("TERMINAL");
        qputenv("PATH", QFile::encodeName(m_root.filePath(QStringLiteral("bin"))) + ':' + path);
        qunsetenv("TERMINAL");
        app::PlatformServices services{m_settings.get(), &m_paths,
                                       &m_files,         &m_shell,
                                       &m_messageBoxes,  m_root.filePath(QStringLiteral("data"))};
        m_window = std::make_unique<app::frmMain>(services);
        qputenv("PATH", path);
        if (!terminal.isEmpty())
            qputenv("TERMINAL", terminal);
    }

    // The share as the system would have mounted it under the mount root.
    QString mountRootFor(const test::SambaTestServer& samba) {
        const QString root = m_root.filePath(QStringLiteral("mnt"));
        QDir().mkpath(root + u'/' + samba.serverText());
        QFile::link(samba.backupFolder(), root + u'/' + samba.serverText() + QStringLiteral("/backup"));
        return root;
    }

    QString run(const QString& script) {
        QString text = script;
        QTextStream input(&text);
        const qsizetype before = m_output.size();
        app::BatchRunner runner(*m_window, m_messageBoxes, m_outputStream, m_errorStream);
        const int exitCode = runner.run(input);
        m_outputStream.flush();
        m_errorStream.flush();
        EXPECT_EQ(exitCode, 0) << m_errors.toStdString();
        return m_output.mid(before);
    }

    QString log() { return m_window->serverAccess().log().text(); }
    app::PathMapper& paths() { return m_paths; }
    FakeDesktopPrograms& programs() { return m_programs; }
    QString driveFolder(const QString& letter) const {
        return m_root.filePath(QStringLiteral("drives/") + letter);
    }

private:
    QTemporaryDir m_root;
    std::unique_ptr<app::SettingsStore> m_settings;
    app::PathMapper m_paths;
    app::LocalFileSystemService m_files;
    UnusedShell m_shell;
    FakeDesktopPrograms m_programs;
    QString m_output;
    QString m_errors;
    QTextStream m_outputStream;
    QTextStream m_errorStream;
    app::BatchMessageBoxService m_messageBoxes;
    std::unique_ptr<app::frmMain> m_window;
};

QString escaped(QString value) {
    return value.replace(u'\\', QStringLiteral("\\\\"));
}

class NetworkSharePageSambaTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        if (!m_samba.start(whyNot))
            GTEST_SKIP() << "Samba cannot run here: " << whyNot.toStdString();
        QDir(m_samba.backupFolder()).mkpath(QStringLiteral("MIR"));
        QFile certificate(m_samba.backupFolder() + QStringLiteral("/MIR/SERVER2.cer"));
        ASSERT_TRUE(certificate.open(QIODevice::WriteOnly));
        certificate.write("right server certificate");
    }

    QString sideSettings(int side, const QString& password) const {
        const QString index = QString::number(side);
        return QStringLiteral("set txtServer(%1) %2\nset txtServerUser(%1) %3\nset txtServerPW(%1) %4\n")
            .arg(index, m_samba.serverText(), escaped(m_samba.user()), escaped(password));
    }

    test::SambaTestServer m_samba;
};

struct ConnectCase {
    const char* name;
    int side;
    bool rightPassword;
    bool mapTwice;
    const char* output;
    const char* drive;
};

void PrintTo(const ConnectCase& c, std::ostream* out) {
    *out << c.name;
}

class NetworkConnectTest : public NetworkSharePageSambaTest,
                           public ::testing::WithParamInterface<ConnectCase> {};

TEST_P(NetworkConnectTest, mapsTheSidesDriveAndShowsOnlyRealFailures) {
    const ConnectCase& c = GetParam();
    ShareWindow window;
    QString script = QStringLiteral("set txtMountRoot ") + escaped(window.mountRootFor(m_samba)) + u'\n' +
                     sideSettings(c.side, c.rightPassword ? m_samba.password() : QStringLiteral("wrong")) +
                     QStringLiteral("click cmdNetworkConnect(%1)\n").arg(c.side);
    if (c.mapTwice)
        script += QStringLiteral("click cmdNetworkConnect(%1)\n").arg(c.side);
    EXPECT_EQ(window.run(script).toStdString(), c.output);
    const QString certificate =
        window.paths().resolve(QString::fromUtf8(c.drive) + QStringLiteral(":\\MIR\\SERVER2.cer"));
    EXPECT_EQ(QFileInfo::exists(certificate), c.rightPassword) << certificate.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Sides, NetworkConnectTest,
                         ::testing::Values(ConnectCase{"leftSideIsDriveX", 0, true, false, "", "x"},
                                           ConnectCase{"rightSideIsDriveY", 1, true, false, "", "y"},
                                           ConnectCase{"alreadyAssignedIsSilent", 1, true, true, "", "y"},
                                           ConnectCase{"wrongPasswordShowsItsText", 0, false, false,
                                                       "MSGBOX: Invalid Password -> ok\n", "x"}),
                         [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST_F(NetworkSharePageSambaTest, commandPromptOpensInTheMappedDrive) {
    ShareWindow window;
    window.run(QStringLiteral("set txtMountRoot ") + escaped(window.mountRootFor(m_samba)) + u'\n' +
               sideSettings(1, m_samba.password()) +
               QStringLiteral("click cmdNetworkConnect(1)\nclick cmdOpenPath(1)\n"));
    EXPECT_EQ(window.programs().log(QStringLiteral("x-terminal-emulator"), 1),
              QStringList{QFileInfo(m_samba.backupFolder()).canonicalFilePath()});
}

TEST_F(NetworkSharePageSambaTest, dropDirRemovesBothDrives) {
    ShareWindow window;
    window.run(QStringLiteral("set txtMountRoot ") + escaped(window.mountRootFor(m_samba)) + u'\n' +
               sideSettings(0, m_samba.password()) + sideSettings(1, m_samba.password()) +
               QStringLiteral("click cmdNetworkConnect(0)\nclick cmdNetworkConnect(1)\n"));
    ASSERT_TRUE(QFileInfo(window.driveFolder(QStringLiteral("x"))).isDir());
    ASSERT_TRUE(QFileInfo(window.driveFolder(QStringLiteral("y"))).isDir());
    window.run(QStringLiteral("click cmdDropDir\n"));
    EXPECT_FALSE(QFileInfo(window.driveFolder(QStringLiteral("x"))).isSymLink());
    EXPECT_FALSE(QFileInfo(window.driveFolder(QStringLiteral("y"))).isSymLink());
    EXPECT_TRUE(QFileInfo::exists(m_samba.backupFolder() + QStringLiteral("/MIR/SERVER2.cer")));
}

TEST(NetworkSharePageTest, openDirAndOpenFolderShowTheSidesBackupShare) {
    ShareWindow window;
    window.run(QStringLiteral("set txtServer(0) SERVER1\nset txtServer(1) db2\nclick cmdOpenDir(0)\n"
                              "click cmdOpenFolder(1)\n"));
    EXPECT_EQ(window.programs().log(QStringLiteral("xdg-open"), 2),
              (QStringList{QStringLiteral("smb://server1/backup"), QStringLiteral("smb://db2/backup")}));
}

TEST(NetworkSharePageTest, openDirBTypesTheAdministratorLogOn) {
    ShareWindow window;
    window.run(QStringLiteral("set txtServer(1) db2\nclick cmdOpenDirB(1)\n"));
    EXPECT_EQ(window.programs().log(QStringLiteral("xdg-open"), 1),
              QStringList{QStringLiteral("smb://db2/backup")});
    EXPECT_EQ(window.programs().log(QStringLiteral("xdotool"), 5),
              (QStringList{QStringLiteral("key|--clearmodifiers|Down|Down|<>"),
                           QStringLiteral("type|--clearmodifiers|--file|-|<administrator>"),
                           QStringLiteral("key|--clearmodifiers|Tab|<>"),
                           QStringLiteral("type|--clearmodifiers|--file|-|<harbor@579>"),
                           QStringLiteral("key|--clearmodifiers|Return|<>")}));
}

struct LoggedCase {
    const char* name;
    const char* missingProgram;
    const char* script;
    const char* logLine;
};

void PrintTo(const LoggedCase& c, std::ostream* out) {
    *out << c.name;
}

class NetworkSharePageLogTest : public ::testing::TestWithParam<LoggedCase> {};

TEST_P(NetworkSharePageLogTest, logsWhatTheDesktopCouldNotDo) {
    ShareWindow window;
    window.programs().remove(QString::fromUtf8(GetParam().missingProgram));
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
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

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
