#pragma once

#include "net/ShareMounter.h"
#include "net/ToolProcess.h"

#include <QProcessEnvironment>
#include <QString>
#include <chrono>

namespace qormin::net {

// Mounts shares through the desktop's GVfs ("gio mount"), the way the file manager does; the
// share then appears as a folder under $XDG_RUNTIME_DIR/gvfs through gvfsd-fuse. Credentials
// travel on gio's standard input only.
class GioShareMounter : public ShareMounter {
public:
    // environment: where gio finds the session bus (DBUS_SESSION_BUS_ADDRESS, XDG_RUNTIME_DIR).
    explicit GioShareMounter(QProcessEnvironment environment = QProcessEnvironment::systemEnvironment(),
                             std::chrono::milliseconds limit = std::chrono::seconds(90));

    MountOutcome mount(const ShareAddress& share, const ShareCredentials& credentials) override;
    std::uint32_t unmount(const ShareAddress& share) override;

private:
    MountOutcome mountRoot(const ShareAddress& share, const ShareCredentials& credentials) const;
    MountOutcome findLocalFolder(const ShareAddress& share, MountOutcome mounted);
    ToolProcess::Result information(const ShareAddress& share) const;
    static QString localFolder(const ToolProcess::Result& information);

    QString m_gio;
    QProcessEnvironment m_environment;
    std::chrono::milliseconds m_limit;
};

} // namespace qormin::net
