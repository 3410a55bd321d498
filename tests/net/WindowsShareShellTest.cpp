#include "net/WindowsShareShell.h"
#include "app/platform/ShellService.h"
#include "net/KeyStrokeSender.h"
#include "net/SendKeysParser.h"

#include <QStringList>
#include <functional>
#include <gtest/gtest.h>

namespace {

using qormin::net::KeyStroke;
using qormin::net::WindowsShareShell;

// Commands and key strokes in the order they would have happened.
class Recorder : public qormin::app::ShellService, public qormin::net::KeyStrokeSender {
public:
    int run(const QString& commandLine, bool wait) override {
        events << (wait ? QStringLiteral("run and wait: ") : QStringLiteral("run: ")) + commandLine;
        return 0;
    }
    bool openFolder(const QString& folder) override {
        events << QStringLiteral("open: ") + folder;
        return true;
    }
    std::string send(const std::vector<KeyStroke>& strokes) override {
        events << QStringLiteral("keys: %1 strokes").arg(strokes.size());
        sent.insert(sent.end(), strokes.begin(), strokes.end());
        return refusal;
    }
    QStringList events;
    std::vector<KeyStroke> sent;
    std::string refusal;
};

struct WindowsCase {
    const char* name;
    std::function<QString(WindowsShareShell&)> press;
    QStringList events;
    std::u16string keys;
};

void PrintTo(const WindowsCase& c, std::ostream* out) {
    *out << c.name;
}

class WindowsShareShellTest : public ::testing::TestWithParam<WindowsCase> {};

TEST_P(WindowsShareShellTest, runsTheWindowsCommandsAndKeys) {
    Recorder recorder;
    WindowsShareShell shell(recorder, recorder, std::chrono::milliseconds(0));
    EXPECT_EQ(GetParam().press(shell), QString());
    EXPECT_EQ(recorder.events, GetParam().events);
    EXPECT_EQ(recorder.sent, qormin::net::SendKeysParser::parse(GetParam().keys).strokes);
}

INSTANTIATE_TEST_SUITE_P(
    Buttons, WindowsShareShellTest,
    ::testing::Values(
        WindowsCase{"explorerOnTheBackupShare",
                    [](WindowsShareShell& s) { return s.openShareFolder(QStringLiteral("SERVER1")); },
                    {QStringLiteral("run: explorer \\\\SERVER1\\backup")},
                    u""},
        WindowsCase{"promptOnTheRightDrive",
                    [](WindowsShareShell& s) { return s.openCommandPrompt(QStringLiteral("y:")); },
                    {QStringLiteral("run: cmd.exe"), QStringLiteral("keys: 4 strokes")},
                    u"y: {ENTER}"},
        WindowsCase{"dropDirDeletesEveryNetworkDrive",
                    [](WindowsShareShell& s) { return s.dropMappedDrives(); },
                    {QStringLiteral("run: net use * /delete")},
                    u""}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST(WindowsShareShellKeysTest, reportsKeysThatCouldNotBeSentOrRead) {
    Recorder recorder;
    WindowsShareShell shell(recorder, recorder, std::chrono::milliseconds(0));
    EXPECT_EQ(shell.sendKeys(QStringLiteral("{NOPE}")),
              QStringLiteral("Key strokes not sent: unknown key {NOPE} at position 1"));
    EXPECT_TRUE(recorder.events.isEmpty());
    recorder.refusal = "input is blocked";
    EXPECT_EQ(shell.sendKeys(QStringLiteral("{ENTER}")),
              QStringLiteral("Key strokes not sent: input is blocked"));
}

} // namespace
