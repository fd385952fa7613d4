#pragma once

#include <optional>
#include <string>

#include "Vexil/DetectorImpl.h"
#include "cli/ResultFile.h"
#include "interfaces/ChildProcess.h"

namespace Vexil::Cli {

/// What a run found. It is packed and read as a saved result is, so that both go the same way from here.
Results ResultsOf(Detector::Impl& run);
/// Detects in this process.
Results DetectHere(Detector::Impl& run);

/// What came of a detection in a child process.
struct IsolatedDetection {
  std::optional<Results> results;  ///< Nothing where there was a fault.
  Interfaces::ChildFault fault = {};
};

IsolatedDetection DetectInChild(const Interfaces::Helper& helper);

/// What a child does then; there is only one work of this kind, whatever its name.
Interfaces::Json DetectAsChild(const std::string& name);
inline constexpr Interfaces::ChildWork kDetectionWork = {"detection", DetectAsChild};

}  // namespace Vexil::Cli
