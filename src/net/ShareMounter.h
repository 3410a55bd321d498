#pragma once

#include "net/MountOutcome.h"

#include <cstdint>

namespace qormin::net {

class ShareAddress;
struct ShareCredentials;

// Makes an SMB share available as a local folder for the current user.
class ShareMounter {
public:
    virtual ~ShareMounter() = default;
    virtual MountOutcome mount(const ShareAddress& share, const ShareCredentials& credentials) = 0;
    // Undoes a mount this mounter made; a Windows networking code.
    virtual std::uint32_t unmount(const ShareAddress& share) = 0;
};

} // namespace qormin::net
