#pragma once

#include <string>
#include <vector>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// Sees to it that one GPU drives the main display, and returns its identifier. There must be a GPU. `remarks` tell
/// where the sources had not settled it.
std::string ChooseMainDisplayGPU(const std::vector<FlatBuffers::MatchedGPUT>& matched,
                                 const std::vector<FlatBuffers::MonitorT>& monitors, std::vector<std::string>& remarks);

}  // namespace Vexil
