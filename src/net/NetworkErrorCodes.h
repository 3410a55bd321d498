#pragma once

#include <cstdint>

namespace qormin::net {

// The Windows networking result codes the tool reports. Every platform reports its share
// failures with these, so the operator sees the same texts everywhere.
namespace NetworkErrorCodes {
inline constexpr std::uint32_t success = 0;
inline constexpr std::uint32_t accessDenied = 5;
inline constexpr std::uint32_t generalFailure = 31;
inline constexpr std::uint32_t badNetPath = 53;
inline constexpr std::uint32_t badDevice = 66;
inline constexpr std::uint32_t badNetName = 67;
inline constexpr std::uint32_t alreadyAssigned = 85;
inline constexpr std::uint32_t invalidPassword = 86;
inline constexpr std::uint32_t noNetOrBadPath = 1203;
inline constexpr std::uint32_t noNetwork = 1222;
inline constexpr std::uint32_t notConnected = 2250;
inline constexpr std::uint32_t connectionInUse = 2404;
} // namespace NetworkErrorCodes

} // namespace qormin::net
