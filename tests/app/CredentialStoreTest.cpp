#include "KeyringTestSession.h"
#include "QStringPrinter.h"
#include "RowName.h"
#include "SimTestServer.h"
#include "ToolRun.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::test::KeyringTestSession;

using qormin::test::ToolRun;

// The real program in batch mode on the user's own settings store (no --settings), as a
// desktop session or a scheduler would start it.
ToolRun runTool(const QProcessEnvironment& environment, const QString& commands) {
    return qormin::test::runTool({QStringLiteral("--batch"), QStringLiteral("-")}, commands.toUtf8(),
                                 environment);
}

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

bool isPrivate(const QString& path) {
    constexpr auto everyone = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
                              QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup |
                              QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;
    return (QFileInfo(path).permissions() & everyone) == (QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

const QString notice = QStringLiteral("Passwords are kept in the settings file ");

void writeProgram(const QString& path, const QByteArray& body) {
    QFile script(path);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\nprintf '%s\\n' \"$@\" >> \"$0.arguments\"\nenv >> \"$0.environment\"\n" + body);
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

// Stand-ins for smbclient and gio that note how they were started: arguments, environment
// and input. gio asks for the password as the real one does, and shows the share in folder.
void writeShareTools(const QString& programs, const QString& folder) {
    writeProgram(programs + QStringLiteral("/smbclient"), "cat >> \"$0.input\"\n");
    writeProgram(programs + QStringLiteral("/gio"),
                 QStringLiteral("case \"$1 $2\" in\n'mount -u'*) rmdir '%1';;\n"
                                "mount*) printf 'Password: '; read answer; echo \"$answer\" >> \"$0.input\"; "
                                "mkdir -p '%1';;\ninfo*) echo 'local path: %1';;\nesac\n")
                     .arg(folder)
                     .toUtf8());
}

// One night's work on a desktop with a GNOME keyring: a password left in plain text by an
// older version is moved and still connects, a share is mounted (through GVfs, then through
// smbclient) and a speed test run; no
// password is then found in the file, the output (every log line is echoed there), or a
// command line or environment of a program the tool started.
TEST(CredentialStoreTest, passwordsLiveInTheKeyringAndNowhereElse) {
    KeyringTestSession session;
    QString whyNot;
    if (!session.start(whyNot))
        GTEST_SKIP() << "no GNOME keyring here: " << whyNot.toStdString();
    const QString sqlPassword = QStringLiteral("sqlPw~7x!");
    const QString sharePassword = QStringLiteral("share-Pw 8");
    const auto server = qormin::test::SimTestServer::fromJson(
        QStringLiteral(R"({"login": {"user": "sa", "password": "%1"}})").arg(sqlPassword).toUtf8());
    ASSERT_TRUE(server && server->isRunning());
    QDir().mkpath(QFileInfo(session.settingsFile()).path());
    {
        QSettings old(session.settingsFile(), QSettings::IniFormat);
        old.setValue(QStringLiteral("MIR/txtServer0"), server->address());
        old.setValue(QStringLiteral("MIR/DB0"), sqlPassword);
    }
    const QString programs = session.folder() + QStringLiteral("/programs");
    const QString mountRoot = session.folder() + QStringLiteral("/mnt");
    QDir().mkpath(programs);
    QDir().mkpath(mountRoot + QStringLiteral("/fileserver/backup"));
    writeShareTools(programs, session.folder() + QStringLiteral("/gvfs-share"));
    QProcessEnvironment environment = session.environment();
    environment.insert(QStringLiteral("PATH"), programs + u':' + environment.value(QStringLiteral("PATH")));

    const ToolRun night =
        runTool(environment,
                QStringLiteral(
                    "set txtServer(1) fileserver\nset txtServerUser(1) clerk\nset txtServerPW(1) %2\n"
                    "click cmdNetworkConnect(1)\nclick cmdDropDir\n"
                    "set txtMountRoot %1\nclick cmdNetworkConnect(1)\nset txtDB master\n"
                    "set txtTESTConnection Provider=SQLOLEDB;Server=%3;UID=sa;Database=MASTER;Password=%4\n"
                    "click cmdTest(0)\n")
                    .arg(QString(mountRoot).replace(u'\\', QStringLiteral("\\\\")), sharePassword,
                         server->address(), sqlPassword));
    EXPECT_EQ(night.exitCode, 0) << night.errors.toStdString() << night.output.toStdString();
    EXPECT_TRUE(night.output.contains(QStringLiteral(" left log: Connected."))) << night.output.toStdString();
    EXPECT_FALSE(night.output.contains(notice)) << night.output.toStdString();
    EXPECT_TRUE(readAll(programs + QStringLiteral("/smbclient.input")).contains(sharePassword));
    EXPECT_EQ(readAll(programs + QStringLiteral("/gio.input")), sharePassword + u'\n');
    EXPECT_TRUE(server->statements().contains(
        QStringLiteral("CREATE TABLE master..SpeedTest (DESC2 varchar(100),TransDate DateTime)")));
    EXPECT_EQ(session.lookup(QStringLiteral("MIR/DB0")), sqlPassword);
    EXPECT_EQ(session.lookup(QStringLiteral("MAIN/txtServerPW1")), sharePassword);
    EXPECT_TRUE(isPrivate(session.settingsFile()));

    const ToolRun nextMorning = runTool(environment, QStringLiteral("print lblDBCount(0)\n"));
    EXPECT_TRUE(nextMorning.output.contains(QStringLiteral(" left log: Connected.")))
        << nextMorning.output.toStdString();

    const std::pair<const char*, QString> places[] = {
        {"settings file", readAll(session.settingsFile())},
        {"output", night.output + nextMorning.output},
        {"error output", night.errors + nextMorning.errors},
        {"smbclient's arguments", readAll(programs + QStringLiteral("/smbclient.arguments"))},
        {"smbclient's environment", readAll(programs + QStringLiteral("/smbclient.environment"))},
        {"gio's arguments", readAll(programs + QStringLiteral("/gio.arguments"))},
        {"gio's environment", readAll(programs + QStringLiteral("/gio.environment"))},
    };
    for (const auto& [place, text] : places) {
        for (const QString& password : {sqlPassword, sharePassword})
            EXPECT_FALSE(text.contains(password)) << place << " holds " << password.toStdString();
    }
}

struct FallbackCase {
    const char* name;
    bool silentBus; // a bus that takes the connection and never answers, else no bus at all
    const char* because;
};

class CredentialStoreFallbackTest : public testing::TestWithParam<FallbackCase> {};

// A scheduler's run without a reachable credential store: the passwords stay in the private
// file, the log says so once, and a store that never answers costs its time limit, no more.
TEST_P(CredentialStoreFallbackTest, keepsPasswordsInThePrivateFileAndSaysSoOnce) {
    QTemporaryDir folder;
    const QString bus = folder.filePath(QStringLiteral("bus"));
    QLocalServer silent;
    if (GetParam().silentBus) {
        ASSERT_TRUE(silent.listen(bus)) << silent.errorString().toStdString();
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=") + bus);
    QElapsedTimer took;
    took.start();
    const ToolRun run = runTool(environment, QStringLiteral("set txtPW(0) pw-1\nset txtServerPW(1) pw-2\n"));
    EXPECT_LT(took.elapsed(), 30000);
    EXPECT_EQ(run.exitCode, 0) << run.errors.toStdString();
    EXPECT_EQ(run.output.count(notice), 1) << run.output.toStdString();
    EXPECT_TRUE(run.output.contains(QString::fromLatin1(GetParam().because))) << run.output.toStdString();
    const QString file = folder.filePath(QStringLiteral("config/QORMIN DB Tools/settings.ini"));
    QSettings settings(file, QSettings::IniFormat);
    EXPECT_EQ(settings.value(QStringLiteral("MIR/DB0")).toString(), QStringLiteral("pw-1"));
    EXPECT_EQ(settings.value(QStringLiteral("MAIN/txtServerPW1")).toString(), QStringLiteral("pw-2"));
    EXPECT_TRUE(isPrivate(file));
}

INSTANTIATE_TEST_SUITE_P(
    Buses, CredentialStoreFallbackTest,
    testing::Values(
        FallbackCase{"noSessionBus", false, "the credential store cannot be used (Could not connect"},
        FallbackCase{"busThatNeverAnswers", true, "the credential store did not answer within 10 s"}),
    qormin::test::RowName());

} // namespace
