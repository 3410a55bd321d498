#include "net/Win32ShareConnector.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#include <winnetwk.h>

#include <vector>

namespace qormin::net {

namespace {

// The API takes non-const pointers; it reads them only, from NUL-terminated copies.
std::vector<char> writable(const std::string& text) {
    std::vector<char> copy(text.begin(), text.end());
    copy.push_back('\0');
    return copy;
}

} // namespace

std::uint32_t Win32ShareConnector::addConnection(const std::string& remoteName, const std::string& localName,
                                                 const std::string& user, const std::string& password) {
    std::vector<char> local = writable(localName);
    std::vector<char> remote = writable(remoteName);
    std::vector<char> provider = writable(std::string());
    NETRESOURCEA resource{};
    resource.dwScope = 0;
    resource.dwType = RESOURCETYPE_DISK;
    resource.dwDisplayType = 0;
    resource.dwUsage = 0;
    resource.lpLocalName = local.data();
    resource.lpRemoteName = remote.data();
    resource.lpComment = nullptr;
    resource.lpProvider = provider.data();
    // Flags 0: the mapping lasts for this log-on only, like the Linux mounts.
    const DWORD result = WNetAddConnection2A(&resource, password.c_str(), user.c_str(), 0);
    return static_cast<std::uint32_t>(result);
}

std::uint32_t Win32ShareConnector::cancelConnection(const std::string& localName) {
    return static_cast<std::uint32_t>(WNetCancelConnection2A(localName.c_str(), 0, FALSE));
}

} // namespace qormin::net
