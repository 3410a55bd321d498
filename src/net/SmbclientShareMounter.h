#pragma once

#include "net/ShareMounter.h"

#include <QProcessEnvironment>
#include <QString>
#include <chrono>
#include <functional>

namespace qormin::net {

// For machines where the shares are mounted by the system (CIFS mounts under a share mount
// root, e.g. /mnt/smb/<server>/<share>): smbclient checks that the server takes the
// operator's account and has the share, and the mount root provides the folder. The password
// reaches smbclient through its standard input (PASSWD_FD=0).
class SmbclientShareMounter : public ShareMounter {
public:
    using FolderOf = std::function<QString(const ShareAddress&)>;

    explicit SmbclientShareMounter(FolderOf folderOf,
                                   QProcessEnvironment environment = QProcessEnvironment::systemEnvironment(),
                                   std::chrono::milliseconds limit = std::chrono::seconds(60));

    MountOutcome mount(const ShareAddress& share, const ShareCredentials& credentials) override;
    // The system's mount is not this tool's to undo.
    std::uint32_t unmount(const ShareAddress& share) override;

private:
    FolderOf m_folderOf;
    QProcessEnvironment m_environment;
    std::chrono::milliseconds m_limit;
};

} // namespace qormin::net
