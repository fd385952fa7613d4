#pragma once

#include <cstdint>
#include <vector>

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The devices of the CUDA Driver API; none where there is no driver for them.
std::vector<FlatBuffers::CUDAGPUT> GetCUDAGPUs();

/// The newest CUDA version that the driver supports. Both numbers are unknown where the result is
/// false. A version once read is kept for the life of the process.
bool GetCUDADriverVersion(std::int32_t& major, std::int32_t& minor);

}  // namespace Vexil
