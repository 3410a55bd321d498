#include "net/MountErrorCodes.h"

#include "net/NetworkErrorCodes.h"

#include <array>
#include <utility>

namespace qormin::net::MountErrorCodes {

namespace {

using Pattern = std::pair<const char*, std::uint32_t>;

template <std::size_t size>
std::uint32_t firstMatch(const QString& text, const std::array<Pattern, size>& patterns) {
    for (const auto& [pattern, code] : patterns) {
        if (text.contains(QLatin1String(pattern), Qt::CaseInsensitive))
            return code;
    }
    return NetworkErrorCodes::generalFailure;
}

} // namespace

std::uint32_t fromGioMessage(const QString& message) {
    using namespace NetworkErrorCodes;
    // GVfs passes on the C library's text for the errno libsmbclient chose.
    static const std::array patterns{
        Pattern{"Location is already mounted", success},
        Pattern{"No such file or directory", badNetName},
        Pattern{"Permission denied", accessDenied},
        Pattern{"Access denied", accessDenied},
        Pattern{"Network is unreachable", noNetwork},
        Pattern{"Connection refused", badNetPath},
        Pattern{"No route to host", badNetPath},
        Pattern{"Host is down", badNetPath},
        Pattern{"Connection timed out", badNetPath},
        Pattern{"Name or service not known", badNetPath},
        Pattern{"Device or resource busy", connectionInUse},
        // Without GVfs (or without a session bus) GIO knows no smb:// at all.
        Pattern{"not supported", noNetwork},
    };
    return firstMatch(message, patterns);
}

std::uint32_t fromSmbclientOutput(const QString& output) {
    using namespace NetworkErrorCodes;
    static const std::array patterns{
        Pattern{"NT_STATUS_LOGON_FAILURE", invalidPassword},
        Pattern{"NT_STATUS_WRONG_PASSWORD", invalidPassword},
        Pattern{"NT_STATUS_ACCESS_DENIED", accessDenied},
        Pattern{"NT_STATUS_BAD_NETWORK_NAME", badNetName},
        Pattern{"NT_STATUS_OBJECT_NAME_NOT_FOUND", badNetName},
        Pattern{"NT_STATUS_OBJECT_PATH_NOT_FOUND", badNetName},
        Pattern{"NT_STATUS_NETWORK_UNREACHABLE", noNetwork},
        Pattern{"NT_STATUS_CONNECTION_REFUSED", badNetPath},
        Pattern{"NT_STATUS_HOST_UNREACHABLE", badNetPath},
        Pattern{"NT_STATUS_IO_TIMEOUT", badNetPath},
        Pattern{"NT_STATUS_UNSUCCESSFUL", badNetPath},
        Pattern{"NT_STATUS_ACCOUNT_DISABLED", 1331},
        Pattern{"NT_STATUS_ACCOUNT_LOCKED_OUT", 1909},
        Pattern{"NT_STATUS_PASSWORD_EXPIRED", 1330},
        Pattern{"NT_STATUS_PASSWORD_MUST_CHANGE", 1907},
    };
    return firstMatch(output, patterns);
}

} // namespace qormin::net::MountErrorCodes
