#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "cli/MemoryUse.h"

namespace Vexil::Cli {

struct GPUReading {
  std::size_t number = 0;  ///< In the list of GPUs.
  const FlatBuffers::MatchedGPUT* matched = nullptr;
  std::optional<MemoryUse> use;
};

/// The memory of a machine at one moment.
struct Reading {
  std::optional<std::time_t> time;  ///< Nothing where the figures are saved ones.
  std::optional<MemoryUse> system;
  std::int32_t ram_mib = 0;
  std::vector<GPUReading> gpus;
};

}  // namespace Vexil::Cli
