#include "net/ConfiguredShareMounter.h"

#include "platform/PathMapper.h"

namespace qormin::net {

MountOutcome ConfiguredShareMounter::mount(const ShareAddress& share, const ShareCredentials& credentials) {
    if (m_paths.mountRoot().isEmpty())
        return m_desktop.mount(share, credentials);
    return m_underMountRoot.mount(share, credentials);
}

std::uint32_t ConfiguredShareMounter::unmount(const ShareAddress& share) {
    return m_desktop.unmount(share);
}

} // namespace qormin::net
