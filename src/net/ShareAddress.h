#pragma once

#include <QString>
#include <optional>

namespace qormin::net {

// A share named the Windows way, "\\server\share" with an optional folder below it. The
// server may carry an SMB port ("server:4455") for servers that do not listen on 445.
class ShareAddress {
public:
    // Slashes work as well as backslashes; nothing when the text names no share.
    static std::optional<ShareAddress> parse(const QString& remoteName);

    QString server() const { return m_server; }
    int port() const { return m_port; } // 0: the standard port
    QString share() const { return m_share; }
    QString folder() const { return m_folder; } // below the share, "/" separated, may be empty

    // The same share without the folder below it: what gets mounted.
    ShareAddress root() const;

    // smb://server[:port]/share/folder, percent-encoded where needed.
    QString uri() const;
    // \\server[:port]\share\folder
    QString remoteName() const;

    bool operator==(const ShareAddress&) const = default;

private:
    QString m_server;
    int m_port = 0;
    QString m_share;
    QString m_folder;
};

} // namespace qormin::net
