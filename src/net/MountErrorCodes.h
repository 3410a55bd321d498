#pragma once

#include <QString>
#include <cstdint>

namespace qormin::net {

// Reads the failure reports of the Linux SMB tools and names the Windows networking code
// the operator would have seen for the same failure.
namespace MountErrorCodes {

// The error output of "gio mount" (run with LC_ALL=C). "Location is already mounted" is
// not a failure and gives 0.
std::uint32_t fromGioMessage(const QString& message);

// The output of smbclient: its NT_STATUS_... names.
std::uint32_t fromSmbclientOutput(const QString& output);

} // namespace MountErrorCodes

} // namespace qormin::net
