#include "net/WindowsShareShell.h"
#include "net/KeyStrokeSender.h"
#include "net/SendKeysParser.h"
#include "platform/ShellService.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace {

using qormin::net::KeyStroke;
using qormin::net::WindowsShareShell;

// Commands and key strokes in the order they would have happened.
class Recorder : public qormin::platform::ShellService, public qormin::net::KeyStrokeSender {
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

TEST(WindowsShareShellTest, runsTheWindowsCommandsAndKeysOfTheButtonsAndReportsKeysNotSent) {
    Recorder recorder;
    WindowsShareShell shell(recorder, recorder, std::chrono::milliseconds(0));
    EXPECT_EQ(shell.sendKeys(QStringLiteral("{NOPE}")),
              QStringLiteral("Key strokes not sent: unknown key {NOPE} at position 1"));
    EXPECT_TRUE(recorder.events.isEmpty());
    EXPECT_EQ(shell.openShareFolder(QStringLiteral("SERVER1")), QString());
    EXPECT_EQ(shell.openCommandPrompt(QStringLiteral("y:")), QString());
    EXPECT_EQ(shell.dropMappedDrives(), QString());
    EXPECT_EQ(recorder.events, (QStringList{QStringLiteral("run: explorer \\\\SERVER1\\backup"),
                                            QStringLiteral("run: cmd.exe"), QStringLiteral("keys: 4 strokes"),
                                            QStringLiteral("run: net use * /delete")}));
    EXPECT_EQ(recorder.sent, qormin::net::SendKeysParser::parse(u"y: {ENTER}").strokes);
    recorder.refusal = "input is blocked";
    EXPECT_EQ(shell.sendKeys(QStringLiteral("{ENTER}")),
              QStringLiteral("Key strokes not sent: input is blocked"));
}

} // namespace
