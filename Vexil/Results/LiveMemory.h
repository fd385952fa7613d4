#pragma once

#include <cstdint>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Asks Windows for the machine's physical memory at this moment, in bytes. False where it does not tell, which
/// leaves the outputs untouched.
bool QuerySystemMemory(std::uint64_t& available, std::uint64_t& total);

/// Asks the driver for a GPU's video memory at this moment, in bytes. False where there is no way to
/// ask, which leaves the outputs untouched, and where the driver fails, which makes them 0.
bool QueryGPUMemory(const FlatBuffers::MatchedGPUT& matched, std::uint64_t& free, std::uint64_t& total);

}  // namespace Vexil
