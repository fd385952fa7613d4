#pragma once

#include <cstdint>
#include <string>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Cli {

/// A GPU's own memory.
struct VRAM {
  std::int32_t mib;
  bool is_from_dxgi;  ///< Only DXGI tells it.
};
VRAM FindVRAM(const FlatBuffers::MatchedGPUT& matched);

/// "24.0 GiB", "128 MiB (DXGI)", "unknown"
std::string VRAMText(const FlatBuffers::MatchedGPUT& matched);

}  // namespace Vexil::Cli
