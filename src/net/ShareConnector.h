#pragma once

#include <cstdint>
#include <string>

namespace qormin::net {

// Connects and disconnects network shares as local drive letters. Plain C++ with 8-bit
// texts, so the Windows implementation stays free of Qt. Results are Windows networking
// codes (NetworkErrorCodes), 0 for success.
class ShareConnector {
public:
    virtual ~ShareConnector() = default;

    // remoteName: "\\server\share"; localName: "X:".
    virtual std::uint32_t addConnection(const std::string& remoteName, const std::string& localName,
                                        const std::string& user, const std::string& password) = 0;
    virtual std::uint32_t cancelConnection(const std::string& localName) = 0;
    // A few words on the last failure for the operator's log; empty when there is nothing to add.
    virtual std::string lastDetail() const = 0;
};

} // namespace qormin::net
