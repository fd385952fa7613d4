#pragma once

#include <cstdint>
#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The devices of the CUDA Driver API; none where there is no driver for them.
Answer<FlatBuffers::CUDAGPUT> GetCUDAGPUs();

/// The newest CUDA version that the driver supports. Both numbers are unknown where the result is
/// false; calls that failed are added to the account. A version once read is kept for the life of the process.
bool GetCUDADriverVersion(std::int32_t& major, std::int32_t& minor, Account& account);

}  // namespace Vexil
