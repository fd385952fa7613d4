#include "Common/FormatSize.h"

#include <fmt/format.h>

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

}  // namespace Vexil
