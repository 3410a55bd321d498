#pragma once

#include "net/ShareConnector.h"

namespace qormin::net {

// Drive letters through Windows networking (WNetAddConnection2A / WNetCancelConnection2A).
// Plain C++ and windows.h only.
class Win32ShareConnector : public ShareConnector {
public:
    std::uint32_t addConnection(const std::string& remoteName, const std::string& localName,
                                const std::string& user, const std::string& password) override;
    std::uint32_t cancelConnection(const std::string& localName) override;
    std::string lastDetail() const override { return {}; }
};

} // namespace qormin::net
