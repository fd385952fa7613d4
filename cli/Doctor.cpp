#include <fmt/format.h>

#include <algorithm>

#include "Commands.h"
#include "Common/PCILocation.h"
#include "Common/Text.h"
#include "Diagnosis.h"
#include "MatchAnew.h"
#include "Printing.h"

namespace Vexil::Program {

using FlatBuffers::MatchedGPUT;

namespace {

struct Findings {
  std::size_t gpus = 0;
  std::vector<std::string> shared_identifiers;
  std::size_t gpus_that_share = 0;
  std::vector<Diagnosis> sources;
  std::vector<RunLog::Step> steps;  ///< Those that belong to no source.
};

Findings Examine(const Session& session) {
  const RunLog log(session.log);
  std::vector<MatchedGPUT> matched = FindHiddenGPUs(session);
  Findings findings;
  for (const MatchedGPUT& hidden : matched) {
    auto& shared = findings.shared_identifiers;
    if (std::find(shared.begin(), shared.end(), hidden.gpu->id) == shared.end()) shared.push_back(hidden.gpu->id);
  }
  findings.gpus_that_share = matched.size() + findings.shared_identifiers.size();
  matched.insert(matched.end(), session.results.matched.begin(), session.results.matched.end());
  findings.gpus = matched.size();
  findings.sources = DiagnoseSources(session, matched, log);
  for (const char* step : {RunLog::kSystemInfo, RunLog::kMatching, RunLog::kAfterMatching}) {
    if (const RunLog::Step* found = log.Find(step)) findings.steps.push_back(*found);
  }
  return findings;
}

void PrintSource(std::ostream& out, const Diagnosis& diagnosis) {
  const Examination& examination = diagnosis.examination;
  std::string answer = StateText(diagnosis.state);
  if (!examination.failed_call.empty()) answer += ": " + examination.failed_call;
  if (diagnosis.state != SourceState::NotInstalled) answer += ", " + Counted(diagnosis.records, "record");
  if (diagnosis.milliseconds) answer += fmt::format(", {} ms", *diagnosis.milliseconds);
  PrintLine(out, fmt::format("{:<8}  {:<12}  {}", diagnosis.source, diagnosis.library, answer));
  const auto print_missing = [&](const char* title, const std::vector<std::string>& names) {
    if (!names.empty()) PrintLine(out, title + Join(names, ", "));
  };
  print_missing("    missing: ", examination.missing_required);
  print_missing("    missing, but optional: ", examination.missing_optional);
  for (const std::string& message : diagnosis.messages) PrintLine(out, "    " + message);
}

std::string RecordName(const Json& record) {
  const std::string name = record.contains("name") ? "\"" + record["name"].get<std::string>() + "\"" : "a GPU";
  const auto number = [&](const char* field) { return record.value(field, kUnknown); };
  const PCILocation location = {number("pci_bus"), number("pci_device"), number("pci_function")};
  return name + (location.bus == kUnknown ? " at an unknown place" : " at " + PCILocationText(location));
}

void PrintText(std::ostream& out, const Findings& findings) {
  for (const Diagnosis& diagnosis : findings.sources) PrintSource(out, diagnosis);
  for (const RunLog::Step& step : findings.steps) {
    if (step.trouble.empty()) continue;
    PrintLine(out, "");
    PrintLine(out, step.name);
    for (const std::string& message : step.trouble) PrintLine(out, "    " + message);
  }
  PrintLine(out, "");
  std::string matched = Counted(findings.gpus, "GPU") + " matched";
  if (!findings.shared_identifiers.empty()) {
    matched += fmt::format(", {} of them under an identifier that another has: {}", findings.gpus_that_share,
                           Join(findings.shared_identifiers, ", "));
  }
  PrintLine(out, matched + ".");
  for (const Diagnosis& diagnosis : findings.sources) {
    for (const Json& record : diagnosis.unmatched) {
      PrintLine(out, fmt::format("Not matched: {} saw {}", diagnosis.source, RecordName(record)));
    }
  }
}

Json SourceToJson(const Diagnosis& diagnosis) {
  Json json = {{"source", diagnosis.source}};
  if (!diagnosis.library.empty()) json["library"] = diagnosis.library;
  json["state"] = StateText(diagnosis.state);
  if (!diagnosis.examination.failed_call.empty()) json["failed_call"] = diagnosis.examination.failed_call;
  json["records"] = diagnosis.records;
  if (diagnosis.milliseconds) json["milliseconds"] = *diagnosis.milliseconds;
  json["missing_entry_points"] = diagnosis.examination.missing_required;
  json["missing_optional_entry_points"] = diagnosis.examination.missing_optional;
  json["messages"] = diagnosis.messages;
  json["unmatched"] = diagnosis.unmatched;
  return json;
}

Json ToJson(const Findings& findings) {
  Json sources = Json::array();
  for (const Diagnosis& diagnosis : findings.sources) sources.push_back(SourceToJson(diagnosis));
  Json steps = Json::array();
  for (const RunLog::Step& step : findings.steps) steps.push_back({{"step", step.name}, {"messages", step.trouble}});
  return {{"gpus", findings.gpus},
          {"shared_identifiers", findings.shared_identifiers},
          {"sources", std::move(sources)},
          {"steps", std::move(steps)}};
}

}  // namespace

int Doctor(const Session& session) {
  const Findings findings = Examine(session);
  if (session.json) {
    PrintJson(session.out, ToJson(findings));
  } else {
    PrintText(session.out, findings);
  }
  return findings.gpus == 0 ? kFoundNone : kFoundGPUs;
}

}  // namespace Vexil::Program
