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

namespace {

/// Every record of NVAPI and of the AMD Display Library makes a GPU. Where one belongs to none of those stored, its GPU
/// is hidden behind another.
bool HasHiddenGPUs(const Results& results) {
  const DetectorsOutputT& raw = *results.records.detectors_output;
  const auto is_seed = [](const MatchedGPUT& matched) { return matched.nvapi != nullptr || matched.amddl != nullptr; };
  const auto seeds = std::count_if(results.matched.begin(), results.matched.end(), is_seed);
  return raw.nvapi.size() + raw.amddl.size() > static_cast<std::size_t>(seeds);
}

}  // namespace

std::vector<MatchedGPUT> FindHiddenGPUs(const Session& session) {
  const Results& results = session.results;
  if (!HasHiddenGPUs(results)) return {};
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
