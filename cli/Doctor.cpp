#include <fmt/format.h>

#include <algorithm>

#include "Vexil/Common/PCILocation.h"
#include "Vexil/Common/Text.h"
#include "cli/AccountJson.h"
#include "cli/Commands.h"
#include "cli/Diagnosis.h"
#include "cli/ExitStatus.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"
#include "interfaces/Interfaces.h"
#include "interfaces/platform/Environment.h"
#include "interfaces/platform/RemoteSession.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using Interfaces::ChildFault;

namespace {

struct MachineDiagnosis {
  std::size_t gpus = 0;
  std::vector<std::string> shared_identifiers;
  std::size_t gpus_that_share = 0;
  std::vector<Diagnosis> sources;
  /// Null where the results are saved ones.
  const DetectionApart* apart = nullptr;
  std::vector<std::string> main_display_remarks;
  std::vector<std::string> losses;
  std::vector<std::string> hiding_variables;
  std::optional<bool> is_remote_session;
  bool has_citrix_display = false;
};

MachineDiagnosis Diagnose(const Session& session) {
  std::vector<MatchedGPUT> matched = FindHiddenGPUs(session);
  MachineDiagnosis diagnosis;
  for (const MatchedGPUT& hidden : matched) {
    auto& shared = diagnosis.shared_identifiers;
    if (std::find(shared.begin(), shared.end(), hidden.gpu->id) == shared.end()) shared.push_back(hidden.gpu->id);
  }
  diagnosis.gpus_that_share = matched.size() + diagnosis.shared_identifiers.size();
  matched.insert(matched.end(), session.results.matched.begin(), session.results.matched.end());
  diagnosis.gpus = matched.size();
  diagnosis.sources = DiagnoseSources(session, matched);
  diagnosis.losses = FindLosses(diagnosis.sources, diagnosis.gpus);
  diagnosis.has_citrix_display = session.results.records.system->citrix_indirect_display;
  if (!session.apart) return diagnosis;
  diagnosis.apart = &*session.apart;
  diagnosis.main_display_remarks = session.apart->run->account.main_display_remarks;
  diagnosis.is_remote_session = Interfaces::IsRemoteSession();
  for (const char* name : Interfaces::HidingVariables()) {
    if (const auto value = Interfaces::GetVariable(name)) {
      diagnosis.hiding_variables.push_back(std::string(name) + "=" + *value);
    }
  }
  return diagnosis;
}

bool HasAnswered(const Diagnosis& diagnosis) {
  return diagnosis.account != nullptr && diagnosis.fault->kind == ChildFault::None;
}

/// The calls whose failure is no part of the source's state.
std::vector<FailedCall> OtherFailures(const Account& account) {
  std::vector<FailedCall> calls = account.failed_calls;
  const bool has_reason = account.state != SourceState::Answered && account.state != SourceState::EntryPointMissing;
  if (has_reason) calls.pop_back();
  return calls;
}

void PrintDetails(std::ostream& out, const Account& account) {
  const auto print_missing = [&](const char* title, const std::vector<std::string>& names) {
    if (!names.empty()) PrintLine(out, title + Join(names, ", "));
  };
  print_missing("    missing: ", account.missing_required);
  print_missing("    missing, but optional: ", account.missing_optional);
  for (const FailedCall& call : OtherFailures(account)) PrintLine(out, "    " + FailureText(call));
  for (const std::string& remark : account.remarks) PrintLine(out, "    " + remark);
}

void PrintSource(std::ostream& out, const Diagnosis& diagnosis) {
  std::string answer = StateText(diagnosis);
  const bool is_saved = diagnosis.account == nullptr;
  const bool has_answered = HasAnswered(diagnosis);
  if (is_saved || (has_answered && diagnosis.account->state != SourceState::LibraryMissing)) {
    answer += ", " + Counted(diagnosis.records, "record");
  }
  if (has_answered) {
    using std::chrono::milliseconds;
    answer += fmt::format(", {} ms", std::chrono::duration_cast<milliseconds>(diagnosis.account->duration).count());
  }
  const char* library = diagnosis.library != nullptr ? diagnosis.library : "";
  PrintLine(out, fmt::format("{:<8}  {:<12}  {}", diagnosis.source, library, answer));
  if (const auto& file = diagnosis.file) {
    PrintLine(out, "    " + file->path + (file->version.empty() ? "" : ", version " + file->version));
  }
  if (!is_saved) PrintDetails(out, *diagnosis.account);
}

std::string RecordName(const Json& record) {
  const std::string name = record.contains("name") ? "\"" + record["name"].get<std::string>() + "\"" : "a GPU";
  const auto number = [&](const char* field) { return record.value(field, kUnknown); };
  const PCILocation location = {number("pci_bus"), number("pci_device"), number("pci_function")};
  return name + (location.bus == kUnknown ? " at an unknown place" : " at " + PCILocationText(location));
}

void PrintSection(std::ostream& out, const char* title) {
  PrintLine(out, "");
  PrintLine(out, title);
}

void PrintSection(std::ostream& out, const char* title, const std::vector<std::string>& lines) {
  if (lines.empty()) return;
  PrintSection(out, title);
  for (const std::string& line : lines) PrintLine(out, "    " + line);
}

void PrintSystem(std::ostream& out, const DetectionApart& apart) {
  const Account& account = apart.run->account.system;
  const bool has_answered = apart.system.kind == ChildFault::None;
  if (has_answered && account.failed_calls.empty() && account.missing_optional.empty()) return;
  PrintSection(out, "System");
  if (!has_answered) PrintLine(out, "    all unknown: " + apart.system.text);
  PrintDetails(out, account);
}

std::vector<std::string> SessionLines(const MachineDiagnosis& diagnosis) {
  std::vector<std::string> lines;
  if (diagnosis.is_remote_session.value_or(false)) {
    lines.emplace_back("It is a remote one: Windows may hide GPUs and monitors from it, or show others.");
  }
  if (diagnosis.has_citrix_display) lines.emplace_back("Citrix's indirect display adapter draws its desktop.");
  for (const std::string& variable : diagnosis.hiding_variables) {
    lines.push_back(variable + " may hide devices, or bring them into another order.");
  }
  return lines;
}

void PrintText(std::ostream& out, const MachineDiagnosis& diagnosis) {
  for (const Diagnosis& source : diagnosis.sources) PrintSource(out, source);
  if (diagnosis.apart != nullptr) PrintSystem(out, *diagnosis.apart);
  PrintSection(out, "Main display", diagnosis.main_display_remarks);
  PrintSection(out, "This session", SessionLines(diagnosis));
  PrintLine(out, "");
  std::string matched = Counted(diagnosis.gpus, "GPU") + " matched";
  if (!diagnosis.shared_identifiers.empty()) {
    matched += fmt::format(", {} of them under an identifier that another has: {}", diagnosis.gpus_that_share,
                           Join(diagnosis.shared_identifiers, ", "));
  }
  PrintLine(out, matched + ".");
  for (const Diagnosis& source : diagnosis.sources) {
    for (const Json& record : source.unmatched) {
      PrintLine(out, fmt::format("Not matched: {} saw {}", source.source, RecordName(record)));
    }
  }
  for (const std::string& sentence : diagnosis.losses) PrintLine(out, sentence);
}

/// Lists are there also where nothing is known of them.
void AddAccount(Json& json, const Account& account, const ChildFault* fault) {
  json.update(ToJson(account));
  const bool has_answered = fault != nullptr && fault->kind == ChildFault::None;
  if (!has_answered) json.erase("milliseconds");
  if (fault == nullptr || has_answered) return;
  json["fault"] = fault->text;
  if (!fault->last_call.empty()) json["last_call"] = fault->last_call;
}

Json SourceToJson(const Diagnosis& diagnosis) {
  Json json = {{"source", diagnosis.source}};
  if (diagnosis.library != nullptr) json["library"] = diagnosis.library;
  if (const auto& file = diagnosis.file) {
    json["path"] = file->path;
    if (!file->version.empty()) json["version"] = file->version;
  }
  json["records"] = diagnosis.records;
  AddAccount(json, diagnosis.account != nullptr ? *diagnosis.account : Account(), diagnosis.fault);
  json["state"] = StateCode(diagnosis);
  json["reason"] = StateText(diagnosis);
  json["unmatched"] = diagnosis.unmatched;
  return json;
}

Json SystemToJson(const DetectionApart* apart) {
  Json json;
  AddAccount(json, apart != nullptr ? apart->run->account.system : Account(),
             apart != nullptr ? &apart->system : nullptr);
  json.erase("state");
  return json;
}

Json SessionToJson(const MachineDiagnosis& diagnosis) {
  Json json = {{"hiding_variables", diagnosis.hiding_variables},
               {"citrix_indirect_display", diagnosis.has_citrix_display}};
  if (diagnosis.is_remote_session) json["remote"] = *diagnosis.is_remote_session;
  return json;
}

Json MachineToJson(const MachineDiagnosis& diagnosis) {
  Json sources = Json::array();
  for (const Diagnosis& source : diagnosis.sources) sources.push_back(SourceToJson(source));
  Json document = Document("doctor");
  document.update({{"gpus", diagnosis.gpus},
                   {"shared_identifiers", diagnosis.shared_identifiers},
                   {"sources", std::move(sources)},
                   {"system", SystemToJson(diagnosis.apart)},
                   {"main_display", {{"remarks", diagnosis.main_display_remarks}}},
                   {"session", SessionToJson(diagnosis)},
                   {"losses", diagnosis.losses}});
  return document;
}

}  // namespace

int Doctor(const Session& session) {
  const MachineDiagnosis diagnosis = Diagnose(session);
  if (session.json) {
    PrintJson(session.out, MachineToJson(diagnosis));
  } else {
    PrintText(session.out, diagnosis);
  }
  return diagnosis.gpus == 0 ? kFoundNone : kFoundGPUs;
}

}  // namespace Vexil::Cli
