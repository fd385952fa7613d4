#pragma once

#include <cstdint>

namespace Vexil {

/// What a 32-bit field of a record holds until a source fills it.
constexpr std::int32_t kUnknown = -1;

/// A driver's unsigned answer as the signed field of a record. Wraps: all bits set is "unknown".
constexpr std::int32_t ToField(std::uint32_t value) { return static_cast<std::int32_t>(value); }

/// Bytes as MiB, cut to the field's 32 bits.
constexpr std::int32_t BytesToMiB(std::uint64_t bytes) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes >> 20));
}

}  // namespace Vexil
