#pragma once

#include <cstdint>
#include <optional>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Cli {

/// Bytes at one moment.
struct MemoryUse {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
};

/// The machine's physical memory. Nothing where Windows does not tell.
std::optional<MemoryUse> AskSystemMemory();

/// Video memory, asked of the driver. Nothing where it does not tell.
std::optional<MemoryUse> AskGPUMemory(const FlatBuffers::MatchedGPUT& matched);

}  // namespace Vexil::Cli
