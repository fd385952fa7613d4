#include "cli/Rematching.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "Vexil/DetectGPUWindows/MainDisplayChoice.h"
#include "Vexil/DetectGPUWindows/Matching.h"
#include "Vexil/DetectGPUWindows/Monitors.h"
#include "cli/Printing.h"

namespace Vexil::Cli {

using FlatBuffers::DetectorsOutputT;
using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;

Rematched RematchResults(const Results& results) {
  // Matching writes into the records, so it gets copies of their own.
  const std::unique_ptr<DetectorsOutputT> raw(
      FlatBuffers::GetDetectionResult(results.buffer.data())->detectors_output()->UnPack());
  Rematched rematched;
  std::vector<std::string> remarks;
  DetectWindowsGPUs(*raw, rematched.matched, rematched.monitors);
  if (!rematched.matched.empty()) ChooseMainDisplayGPU(rematched.matched, rematched.monitors, remarks);
  NameMonitors(rematched.monitors);
  return rematched;
}

std::vector<MatchedGPUT> FindHiddenGPUs(const Session& session) {
  const Results& results = session.results;
  // Matching logs what it does, and of this machine's GPUs it has done so already.
  if (session.run != nullptr && session.run->gpus.size() == results.gpus.size()) return {};
  std::vector<MatchedGPUT> hidden;
  const std::vector<MatchedGPUT> matched = RematchResults(results).matched;
  for (auto entry = matched.begin(); entry != matched.end(); ++entry) {
    const std::string& id = entry->gpu->id;
    const bool is_followed =
        std::any_of(entry + 1, matched.end(), [&](const MatchedGPUT& m) { return m.gpu->id == id; });
    const bool is_stored =
        std::any_of(results.gpus.begin(), results.gpus.end(), [&](const GPUT& gpu) { return gpu.id == id; });
    if (is_followed && is_stored) hidden.push_back(*entry);
  }
  return hidden;
}

void WarnOfHiddenGPUs(const Session& session) {
  for (const MatchedGPUT& hidden : FindHiddenGPUs(session)) {
    PrintLine(session.err,
              fmt::format("vexil: another GPU has the identifier {} too and is not shown", hidden.gpu->id));
  }
}

}  // namespace Vexil::Cli
