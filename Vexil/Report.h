#pragma once

#include <vector>

#include "DetectorImpl.h"

namespace Vexil {

/// Logs what a run found: the system, each matched GPU, the monitors. The results must be stored
/// already; the caller holds their lock, so nothing here goes through the Detector's operations.
void LogReport(const Detector::Impl& results, const std::vector<FlatBuffers::MatchedGPUT>& matched);

}  // namespace Vexil
