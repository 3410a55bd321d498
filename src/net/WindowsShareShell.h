#pragma once

#include "net/ShareShell.h"

#include <chrono>

namespace qormin::platform {
class ShellService;
}

namespace qormin::net {

class KeyStrokeSender;

// The share buttons as Windows has them: explorer on the UNC path, cmd.exe told which drive
// to change to, and "net use * /delete", all through the window's shell service.
class WindowsShareShell : public ShareShell {
public:
    // promptWait: how long cmd.exe gets to open before the drive change is typed into it.
    WindowsShareShell(platform::ShellService& shell, KeyStrokeSender& keys,
                      std::chrono::milliseconds promptWait)
        : m_shell(shell), m_keys(keys), m_promptWait(promptWait) {}

    QString openShareFolder(const QString& server) override;
    QString openCommandPrompt(const QString& drive) override;
    QString sendKeys(const QString& keys) override;
    QString dropMappedDrives() override;

private:
    platform::ShellService& m_shell;
    KeyStrokeSender& m_keys;
    std::chrono::milliseconds m_promptWait;
};

} // namespace qormin::net
