#include <fmt/format.h>

#include <algorithm>

#include "Vexil/Common/PCILocation.h"
#include "Vexil/Common/Text.h"
#include "cli/Commands.h"
#include "cli/Diagnosis.h"
#include "cli/ExitStatus.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;

namespace {

struct MachineDiagnosis {
  std::size_t gpus = 0;
  std::vector<std::string> shared_identifiers;
  std::size_t gpus_that_share = 0;
  std::vector<Diagnosis> sources;
  Account system;
  std::vector<std::string> main_display_remarks;
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
  if (session.run != nullptr) {
    diagnosis.system = session.run->account.system;
    diagnosis.main_display_remarks = session.run->account.main_display_remarks;
  }
  return diagnosis;
}

std::int64_t Milliseconds(const Account& account) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(account.duration).count();
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
  const Account* account = diagnosis.account;
  const bool was_asked = account == nullptr || account->state != SourceState::LibraryMissing;
  if (was_asked) answer += ", " + Counted(diagnosis.records, "record");
  if (account != nullptr) answer += fmt::format(", {} ms", Milliseconds(*account));
  const char* library = diagnosis.library != nullptr ? diagnosis.library : "";
  PrintLine(out, fmt::format("{:<8}  {:<12}  {}", diagnosis.source, library, answer));
  if (account != nullptr) PrintDetails(out, *account);
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

void PrintText(std::ostream& out, const MachineDiagnosis& diagnosis) {
  for (const Diagnosis& source : diagnosis.sources) PrintSource(out, source);
  if (!diagnosis.system.failed_calls.empty()) {
    PrintSection(out, "System");
    PrintDetails(out, diagnosis.system);
  }
  if (!diagnosis.main_display_remarks.empty()) PrintSection(out, "Main display");
  for (const std::string& remark : diagnosis.main_display_remarks) PrintLine(out, "    " + remark);
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
}

Json ToJson(const FailedCall& call) {
  Json json = {{"call", call.call}};
  if (call.status) json["status"] = *call.status;
  if (!call.status_name.empty()) json["status_name"] = call.status_name;
  if (!call.subject.empty()) json["about"] = call.subject;
  if (!call.unknown.empty()) json["unknown"] = call.unknown;
  return json;
}

Json ToJson(const std::vector<FailedCall>& calls) {
  Json json = Json::array();
  for (const FailedCall& call : calls) json.push_back(ToJson(call));
  return json;
}

Json ToJson(const Diagnosis& diagnosis) {
  Json json = {{"source", diagnosis.source}};
  if (diagnosis.library != nullptr) json["library"] = diagnosis.library;
  json["state"] = StateCode(diagnosis);
  json["records"] = diagnosis.records;
  if (const Account* account = diagnosis.account) {
    json["milliseconds"] = Milliseconds(*account);
    json["missing_entry_points"] = account->missing_required;
    json["missing_optional_entry_points"] = account->missing_optional;
    json["failed_calls"] = ToJson(account->failed_calls);
    json["remarks"] = account->remarks;
  }
  json["unmatched"] = diagnosis.unmatched;
  return json;
}

Json ToJson(const MachineDiagnosis& diagnosis) {
  Json sources = Json::array();
  for (const Diagnosis& source : diagnosis.sources) sources.push_back(ToJson(source));
  Json document = Document("doctor");
  document.update({{"gpus", diagnosis.gpus},
                   {"shared_identifiers", diagnosis.shared_identifiers},
                   {"sources", std::move(sources)},
                   {"system", {{"failed_calls", ToJson(diagnosis.system.failed_calls)}}},
                   {"main_display", {{"remarks", diagnosis.main_display_remarks}}}});
  return document;
}

}  // namespace

int Doctor(const Session& session) {
  const MachineDiagnosis diagnosis = Diagnose(session);
  if (session.json) {
    PrintJson(session.out, ToJson(diagnosis));
  } else {
    PrintText(session.out, diagnosis);
  }
  return diagnosis.gpus == 0 ? kFoundNone : kFoundGPUs;
}

}  // namespace Vexil::Cli
