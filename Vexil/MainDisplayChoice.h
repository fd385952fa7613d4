#pragma once

#include <string>
#include <vector>

#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Sees to it that one GPU drives the main display, and returns its identifier. There must be a GPU.
std::string ChooseMainDisplayGPU(const std::vector<FlatBuffers::MatchedGPUT>& matched,
                                 const std::vector<FlatBuffers::MonitorT>& monitors);
}  // namespace Vexil
