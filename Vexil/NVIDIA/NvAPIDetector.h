#pragma once

#include <cstdint>
#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The physical GPUs of NVAPI; none where NVIDIA's driver is not installed.
Answer<FlatBuffers::NvAPIGPUT> GetNvAPIGPUs();

/// The GPU's dedicated memory at this moment, in bytes. Both are 0 where the result is false.
bool GetNvAPIMemoryInfo(const FlatBuffers::NvAPIGPUT& gpu, std::uint64_t& available, std::uint64_t& total);

}  // namespace Vexil
