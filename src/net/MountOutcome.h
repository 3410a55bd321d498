#pragma once

#include <QString>
#include <cstdint>

namespace qormin::net {

// How mounting a share went: a Windows networking code, and on success the local folder
// that shows the share.
struct MountOutcome {
    std::uint32_t code = 0;
    QString folder;
    // False when the share was mounted already (by the desktop or by someone else), so
    // dropping the drive must leave the mount alone.
    bool mountedHere = false;
    QString detail;
};

} // namespace qormin::net
