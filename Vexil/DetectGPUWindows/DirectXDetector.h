#pragma once

#include <vector>

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The hardware adapters of DXGI, without Microsoft's own, each with its outputs and monitors.
std::vector<FlatBuffers::DirectXGPUT> GetDirectXGPUs();

}  // namespace Vexil
