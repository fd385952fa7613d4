#pragma once

#include <cstdint>
#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The GPU devices of every OpenCL platform; none where OpenCL is not installed.
Answer<FlatBuffers::OpenCLGPUT> GetOpenCLGPUs();

/// The memory of an AMD device at this moment, in bytes. Both are 0 where the result is false.
bool GetAMDDeviceMemoryInfo(std::uint64_t device, std::uint64_t& available, std::uint64_t& total);

}  // namespace Vexil
