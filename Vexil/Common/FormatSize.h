#pragma once

#include <cstdint>
#include <string>

namespace Vexil {

/// A number of bytes for people: "1.5 GiB", "512 MiB", "100 B".
std::string FormatSize(std::uint64_t bytes);

/// Live figures in bytes: "2.0 GiB used of 24 GiB". Where more is said to be free than there is, nothing is used.
std::string FormatUse(std::uint64_t free, std::uint64_t total);

/// The size of a field in MiB. Its first product wraps at 32 bits, so an absurd field prints as a size
/// near zero or near 2^64.
std::string FormatMiB(std::int32_t mib);

}  // namespace Vexil
