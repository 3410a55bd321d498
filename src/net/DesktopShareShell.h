#pragma once

#include "net/ShareShell.h"

#include <QProcessEnvironment>
#include <QStringList>

namespace qormin::platform {
class PathMapper;
}

namespace qormin::net {

class KeyStrokeSender;
class MountShareConnector;

// The share buttons on a Linux desktop: the file manager on smb://server/backup (xdg-open),
// a terminal emulator opened in the mapped drive's folder, key strokes through xdotool, and
// Drop Dir as the removal of the drive links and of the mounts this tool made.
class DesktopShareShell : public ShareShell {
public:
    DesktopShareShell(const platform::PathMapper& paths, MountShareConnector& connector,
                      KeyStrokeSender& keys,
                      QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());

    QString openShareFolder(const QString& server) override;
    QString openCommandPrompt(const QString& drive) override;
    QString sendKeys(const QString& keys) override;
    QString dropMappedDrives() override;

    // The terminal emulators tried, in order ($TERMINAL first when set).
    QStringList terminalCandidates() const;

private:
    QString find(const QString& program) const;
    bool startDetached(const QString& program, const QStringList& arguments, const QString& folder) const;

    const platform::PathMapper& m_paths;
    MountShareConnector& m_connector;
    KeyStrokeSender& m_keys;
    QProcessEnvironment m_environment;
};

} // namespace qormin::net
