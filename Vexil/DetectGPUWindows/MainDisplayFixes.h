#pragma once

#include <cstddef>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Linked cards reach DXGI as fewer adapters than there are cards, and its first adapter may then be
/// the wrong card. Where that is so, and all cards are of one vendor, takes that vendor's word, or the
/// window system's, for which of them drives the main display.
void FixMainDisplayGPU(std::size_t directx_adapters, const std::vector<FlatBuffers::MatchedGPUT>& matched);

}  // namespace Vexil
