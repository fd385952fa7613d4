#include "cli/Selection.h"

#include <algorithm>

#include "Vexil/Results/Queries.h"
#include "cli/ExitStatus.h"
#include "cli/Printing.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;

namespace {

/// The identifiers that each filter leaves, one set per filter.
std::vector<GPUIDs> Apply(const std::vector<GPUT>& gpus, const Filter& filter) {
  std::vector<GPUIDs> answers;
  if (filter.vendor) answers.push_back(GetGPUIDsByVendor(gpus, *filter.vendor));
  if (filter.type) answers.push_back(GetGPUIDsByType(gpus, *filter.type));
  if (filter.api) answers.push_back(GetGPUIDsByAPI(gpus, *filter.api));
  if (filter.text) answers.push_back(FindGPUIDs(gpus, *filter.text));
  return answers;
}

}  // namespace

std::vector<const MatchedGPUT*> SelectGPUs(const Session& session, const Filter& filter) {
  const auto answers = Apply(session.results.gpus, filter);
  std::vector<const MatchedGPUT*> selected;
  for (const MatchedGPUT& matched : session.results.matched) {
    const auto has_it = [&](const GPUIDs& ids) { return ids.contains(matched.gpu->id); };
    if (std::all_of(answers.begin(), answers.end(), has_it)) selected.push_back(&matched);
  }
  return selected;
}

const MatchedGPUT* SelectGPU(const Session& session, const std::string& id_or_text) {
  for (const MatchedGPUT& matched : session.results.matched) {
    if (matched.gpu->id == id_or_text) return &matched;
  }
  Filter filter;
  filter.text = id_or_text;
  const auto found = SelectGPUs(session, filter);
  if (found.size() > 1) {
    std::string message = "\"" + id_or_text + "\" could be any of";
    for (const MatchedGPUT* matched : found) {
      message += "\n  " + Printable(matched->gpu->id + "  " + FullName(*matched->gpu));
    }
    throw Error(message);
  }
  if (!found.empty()) return found.front();
  PrintLine(session.err, "vexil: there is no GPU \"" + id_or_text + "\"");
  return nullptr;
}

std::string FullName(const GPUT& gpu) {
  const std::string vendor = EnumNameVendor(gpu.vendor);
  return vendor.empty() ? gpu.name : vendor + " " + gpu.name;
}

int FoundStatus(const Session& session, bool has_found) {
  if (has_found) return kFoundGPUs;
  if (session.results.gpus.empty()) {
    session.err << "vexil: no GPU was found; \"vexil doctor\" prints the status of each source\n";
  }
  return kFoundNone;
}

}  // namespace Vexil::Cli
