#pragma once

#include <vector>

#include "cli/Session.h"

namespace Vexil::Cli {

struct Rematched {
  std::vector<FlatBuffers::MatchedGPUT> matched;
  std::vector<FlatBuffers::MonitorT> monitors;
};

/// What matching makes of a result's raw records now.
Rematched RematchResults(const Results& results);

/// The GPUs that the results lack: of several with one identifier they hold the last.
std::vector<FlatBuffers::MatchedGPUT> FindHiddenGPUs(const Session& session);

/// Tells of hidden GPUs on standard error, for commands that would show them.
void WarnOfHiddenGPUs(const Session& session);

}  // namespace Vexil::Cli
