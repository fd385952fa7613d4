#pragma once

#include <cstdint>
#include <string>

namespace Vexil {

/// A number of bytes for people: "1.5 GiB", "512 MiB", "100 B".
std::string FormatSize(std::uint64_t bytes);

/// Live figures in bytes: "2.0 GiB used of 24 GiB". Where more is said to be free than there is, nothing is used.
std::string FormatUse(std::uint64_t free, std::uint64_t total);

/// The size that a field in MiB holds, which is cut to the field's 32 bits.
std::string FormatMiB(std::int32_t mib);

/// The same in a report: its first product wraps at 32 bits, so 2 TiB and more print as a size near zero or near 2^64.
std::string FormatMiBInReport(std::int32_t mib);

}  // namespace Vexil
