#include "net/DesktopShareShell.h"

#include "net/KeyStrokeTyping.h"
#include "net/MountShareConnector.h"
#include "net/NetErrorText.h"
#include "net/ShareAddress.h"
#include "net/ToolProcess.h"
#include "platform/PathMapper.h"

#include <QFileInfo>
#include <QProcess>

namespace qormin::net {

DesktopShareShell::DesktopShareShell(const platform::PathMapper& paths, MountShareConnector& connector,
                                     KeyStrokeSender& keys, QProcessEnvironment environment)
    : m_paths(paths), m_connector(connector), m_keys(keys), m_environment(std::move(environment)) {}

QString DesktopShareShell::find(const QString& program) const {
    return ToolProcess::find(program, m_environment);
}

bool DesktopShareShell::startDetached(const QString& program, const QStringList& arguments,
                                      const QString& folder) const {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(m_environment);
    process.setWorkingDirectory(folder);
    return process.startDetached();
}

QStringList DesktopShareShell::terminalCandidates() const {
    QStringList candidates;
    const QString chosen = m_environment.value(QStringLiteral("TERMINAL"));
    if (!chosen.isEmpty())
        candidates << chosen;
    candidates << QStringLiteral("x-terminal-emulator") << QStringLiteral("gnome-terminal")
               << QStringLiteral("konsole") << QStringLiteral("xfce4-terminal")
               << QStringLiteral("mate-terminal") << QStringLiteral("lxterminal")
               << QStringLiteral("qterminal") << QStringLiteral("kitty") << QStringLiteral("alacritty")
               << QStringLiteral("xterm");
    return candidates;
}

QString DesktopShareShell::openShareFolder(const QString& server) {
    const QString remote = QStringLiteral("\\\\") + server + QStringLiteral("\\backup");
    const auto share = ShareAddress::parse(remote);
    if (!share)
        return QStringLiteral("Folder not opened: ") + remote + QStringLiteral(" names no share");
    const QString opener = find(QStringLiteral("xdg-open"));
    if (opener.isEmpty())
        return QStringLiteral("Folder not opened: xdg-open is not installed (package xdg-utils)");
    if (!startDetached(opener, {share->uri()}, QString()))
        return QStringLiteral("Folder not opened: xdg-open could not be started");
    return QString();
}

QString DesktopShareShell::openCommandPrompt(const QString& drive) {
    const QString folder = m_paths.resolve(drive + u'\\');
    if (!QFileInfo(folder).isDir())
        return QStringLiteral("Command prompt not opened: drive ") + drive.toUpper() +
               QStringLiteral(" is not mapped");
    for (const QString& candidate : terminalCandidates()) {
        const QString terminal = find(candidate);
        if (terminal.isEmpty())
            continue;
        // Terminals start their shell in the folder they were started in.
        if (startDetached(terminal, {}, folder))
            return QString();
        return QStringLiteral("Command prompt not opened: ") + candidate +
               QStringLiteral(" could not be started");
    }
    return QStringLiteral("Command prompt not opened: no terminal emulator is installed");
}

QString DesktopShareShell::sendKeys(const QString& keys) {
    return typeKeys(m_keys, keys);
}

QString DesktopShareShell::dropMappedDrives() {
    const std::uint32_t code = m_connector.cancelAllConnections();
    if (code == 0)
        return QString();
    return QStringLiteral("Drop Dir: ") + NetErrorText(static_cast<int>(code)) + QStringLiteral(" (") +
           QString::fromStdString(m_connector.lastDetail()) + u')';
}

} // namespace qormin::net
