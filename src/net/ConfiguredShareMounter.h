#pragma once

#include "net/ShareMounter.h"

namespace qormin::platform {
class PathMapper;
}

namespace qormin::net {

// Follows the share mount root of the Options page at each mapping: without one the shares
// are mounted through GVfs, with one they are the system's mounts under it and are only
// checked. Unmounting always goes to GVfs: the other way never mounts anything.
class ConfiguredShareMounter : public ShareMounter {
public:
    ConfiguredShareMounter(const platform::PathMapper& paths, ShareMounter& desktop,
                           ShareMounter& underMountRoot)
        : m_paths(paths), m_desktop(desktop), m_underMountRoot(underMountRoot) {}

    MountOutcome mount(const ShareAddress& share, const ShareCredentials& credentials) override;
    std::uint32_t unmount(const ShareAddress& share) override;

private:
    const platform::PathMapper& m_paths;
    ShareMounter& m_desktop;
    ShareMounter& m_underMountRoot;
};

} // namespace qormin::net
