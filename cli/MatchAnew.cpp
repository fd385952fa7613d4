#include "MatchAnew.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "DetectGPUWindows/Matching.h"
#include "DetectGPUWindows/Monitors.h"
#include "MainDisplayChoice.h"
#include "Printing.h"

namespace Vexil::Program {

using FlatBuffers::DetectorsOutputT;
using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;

MatchedAnew MatchAnew(const Results& results) {
  // Matching writes into the records, so it gets copies of their own.
  const std::unique_ptr<DetectorsOutputT> raw(
      FlatBuffers::GetDetectionResult(results.buffer.data())->detectors_output()->UnPack());
  MatchedAnew anew;
  DetectWindowsGPUs(*raw, anew.matched, anew.monitors);
  if (!anew.matched.empty()) ChooseMainDisplayGPU(anew.matched, anew.monitors);
  NameMonitors(anew.monitors);
  return anew;
}

std::vector<MatchedGPUT> FindHiddenGPUs(const Session& session) {
  const Results& results = session.results;
  // Matching logs what it does, and of this machine's GPUs it has done so already.
  if (session.IsLive() && session.detector->GetGPUs().size() == results.gpus.size()) return {};
  std::vector<MatchedGPUT> hidden;
  const std::vector<MatchedGPUT> matched = MatchAnew(results).matched;
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

}  // namespace Vexil::Program
