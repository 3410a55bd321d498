#include "net/WindowsShareShell.h"

#include "net/KeyStrokeTyping.h"
#include "platform/ShellService.h"

namespace qormin::net {

// Starts are not checked: explorer and cmd.exe report their own troubles in their windows.
QString WindowsShareShell::openShareFolder(const QString& server) {
    m_shell.run(QStringLiteral("explorer \\\\") + server + QStringLiteral("\\backup"), false);
    return QString();
}

QString WindowsShareShell::openCommandPrompt(const QString& drive) {
    m_shell.run(QStringLiteral("cmd.exe"), false);
    letWindowOpen(m_promptWait);
    return sendKeys(drive + QStringLiteral(" {ENTER}"));
}

QString WindowsShareShell::sendKeys(const QString& keys) {
    return typeKeys(m_keys, keys);
}

QString WindowsShareShell::dropMappedDrives() {
    m_shell.run(QStringLiteral("net use * /delete"), false);
    return QString();
}

} // namespace qormin::net
