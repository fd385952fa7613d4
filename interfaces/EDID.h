#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace Vexil::Interfaces {

/// What a monitor says of itself. What it does not say is empty, or 0.
struct EDID {
  std::string maker;  ///< Three letters.
  std::uint16_t product = 0;
  std::string serial;  ///< The text, or the number where it has none.
  std::string name;
  unsigned width_mm = 0;
  unsigned height_mm = 0;
};

/// From the first block; nothing where that is not whole.
std::optional<EDID> ParseEDID(std::span<const unsigned char> bytes);

}  // namespace Vexil::Interfaces
