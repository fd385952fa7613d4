#pragma once

#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Decides which records of all sources are the same physical GPU, and which monitors hang off it.
/// Appends the GPUs, those of NVAPI first, then those of the AMD Display Library, then those that only
/// DirectX knows. The records are shared, not copied; of their contents only the monitors' gpu_id is
/// written. Always true.
bool DetectWindowsGPUs(const FlatBuffers::DetectorsOutputT& detectors, std::vector<FlatBuffers::MatchedGPUT>& matched,
                       std::vector<FlatBuffers::MonitorT>& monitors);

}  // namespace Vexil
