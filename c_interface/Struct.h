#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "c_interface/Border.h"

namespace Vexil::C {

// Structs that cross the border begin with their size. A host's may be shorter than this library's, or longer.

/// Throws where no version of any struct has this size, as a host's that was never set.
inline void CheckSize(std::uint32_t size) {
  // Members stand in eights, so that none is cut in two.
  constexpr std::uint32_t kUnit = 8;
  constexpr std::uint32_t kLargest = 4096;
  if (size < kUnit || size > kLargest || size % kUnit != 0) {
    throw Failure{VEXIL_INVALID_SIZE, "the size " + std::to_string(size) + " is that of no struct"};
  }
}

/// Fills what the host's struct has room for, with zeros where it has more than this library knows.
template <typename Struct>
void Give(const Struct& from, Struct* to) {
  static_assert(sizeof(Struct) % 8 == 0);
  const std::uint32_t room = to->size;
  CheckSize(room);
  const auto known = std::min(room, static_cast<std::uint32_t>(sizeof(Struct)));
  auto* const bytes = reinterpret_cast<std::byte*>(to);
  std::memcpy(bytes, &from, known);
  std::memset(bytes + known, 0, room - known);
  std::memcpy(bytes, &known, sizeof(known));
}

/// What the host's struct says; zeros where it has less than this library knows.
template <typename Struct>
Struct Take(const Struct* from) {
  static_assert(sizeof(Struct) % 8 == 0);
  Struct taken = {};
  const std::uint32_t size = from->size;
  CheckSize(size);
  const auto* const bytes = reinterpret_cast<const std::byte*>(from);
  const auto known = std::min(size, static_cast<std::uint32_t>(sizeof(Struct)));
  std::memcpy(&taken, bytes, known);
  const auto is_set = [](std::byte byte) { return byte != std::byte(); };
  if (std::any_of(bytes + known, bytes + size, is_set)) {
    throw Failure{VEXIL_INVALID_ARGUMENT, "an option that this version does not know"};
  }
  return taken;
}

}  // namespace Vexil::C
