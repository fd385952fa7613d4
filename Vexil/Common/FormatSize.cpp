#include "Vexil/Common/FormatSize.h"

#include <fmt/format.h>

#include <algorithm>

namespace Vexil {

std::string FormatSize(std::uint64_t bytes) {
  constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;
  constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
  if (bytes > kGiB) {
    const int decimals = bytes % kGiB == 0 ? 0 : 1;
    return fmt::format("{:.{}f} GiB", static_cast<double>(bytes) / static_cast<double>(kGiB), decimals);
  }
  if (bytes > kMiB) return fmt::format("{} MiB", bytes / kMiB);
  return fmt::format("{} B", bytes);
}

std::string FormatUse(std::uint64_t free, std::uint64_t total) {
  return FormatSize(total - std::min(free, total)) + " used of " + FormatSize(total);
}

std::string FormatMiB(std::int32_t mib) { return FormatSize(std::uint64_t{static_cast<std::uint32_t>(mib)} << 20); }

std::string FormatMiBInReport(std::int32_t mib) {
  const auto kib = static_cast<std::int32_t>(static_cast<std::uint32_t>(mib) << 10);
  return FormatSize(static_cast<std::uint64_t>(std::int64_t{kib}) << 10);
}

}  // namespace Vexil
