#include "cli/Hex.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>

namespace Vexil::Cli {

std::string ToHex(const std::vector<std::uint8_t>& bytes) { return fmt::format("{:02x}", fmt::join(bytes, "")); }

std::vector<std::uint8_t> FromHex(const std::string& digits) {
  std::vector<std::uint8_t> bytes(digits.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char* const pair = digits.data() + i * 2;
    if (std::from_chars(pair, pair + 2, bytes[i], 16).ptr != pair + 2) return {};
  }
  return bytes;
}

}  // namespace Vexil::Cli
