#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Vexil::Cli {

/// Bytes as JSON can have them.
std::string ToHex(const std::vector<std::uint8_t>& bytes);
/// Empty where it is no such text.
std::vector<std::uint8_t> FromHex(const std::string& digits);

}  // namespace Vexil::Cli
