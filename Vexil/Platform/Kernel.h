#pragma once

#include <cstdint>
#include <optional>

namespace Vexil {

/// Bytes.
struct PhysicalMemory {
  std::uint64_t available;
  std::uint64_t total;
};

/// Nothing where Windows does not tell.
std::optional<PhysicalMemory> GetPhysicalMemory();

/// Logical processors.
std::uint32_t GetProcessorCount();

}  // namespace Vexil
