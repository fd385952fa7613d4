#pragma once

#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// The hardware adapters of DXGI, without Microsoft's own, each with its outputs and monitors.
Answer<FlatBuffers::DirectXGPUT> GetDirectXGPUs();

}  // namespace Vexil
