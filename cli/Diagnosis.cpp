#include "cli/Diagnosis.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "Vexil/Common/Naming.h"
#include "cli/AccountJson.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::Vendor;
using Interfaces::ChildFault;

namespace {

/// What one source alone lists.
struct SoleSource {
  const char* source;
  Vendor vendor;
  const char* sentence;
};
constexpr std::array kSoleSources = {
    SoleSource{"NVAPI", Vendor::NVIDIA, "NVIDIA cards are listed only through NVAPI."},
    SoleSource{"AMDDL", Vendor::AMD, "AMD cards are listed only through the AMD Display Library."},
    SoleSource{"DirectX", Vendor::Intel, "Intel GPUs, and the monitors of all, are listed only through DirectX."},
};

/// "cuInit, CUDA_ERROR_NO_DEVICE (100)"
std::string ReasonText(const FailedCall& call) {
  if (!call.status) return call.call;
  // HRESULTs are known by their bits.
  const bool is_hresult = *call.status < -0x40000000LL;
  const std::string number =
      is_hresult ? fmt::format("0x{:08X}", static_cast<std::uint32_t>(*call.status)) : fmt::format("{}", *call.status);
  if (call.status_name.empty()) return fmt::format("{}, status {}", call.call, number);
  return fmt::format("{}, {} ({})", call.call, call.status_name, number);
}

struct State {
  const char* code;
  std::string text;
};

std::string LoadFailureText(const Diagnosis& diagnosis) {
  const std::int64_t error = diagnosis.account->failed_calls.back().status.value_or(0);
  const std::string text = SystemErrorText(static_cast<std::uint32_t>(error));
  return fmt::format("{} (error {}{}{})", diagnosis.file ? "library does not load" : "library not installed", error,
                     text.empty() ? "" : ": ", text);
}

State StateOf(const Diagnosis& diagnosis) {
  if (diagnosis.account == nullptr) return {"saved", "saved"};
  switch (diagnosis.fault->kind) {
    case ChildFault::NotStarted: return {"not-asked", diagnosis.fault->text};
    case ChildFault::Crashed: return {"crashed", diagnosis.fault->text};
    case ChildFault::Hung: return {"hung", diagnosis.fault->text};
    case ChildFault::NoAnswer: return {"no-answer", diagnosis.fault->text};
    default: break;
  }
  const Account& account = *diagnosis.account;
  const char* code = StateCode(account.state);
  const auto failure = [&](const char* what) { return what + ReasonText(account.failed_calls.back()); };
  switch (account.state) {
    case SourceState::LibraryMissing: return {code, LoadFailureText(diagnosis)};
    case SourceState::EntryPointMissing: return {code, "entry point missing"};
    case SourceState::StartFailed: return {code, failure("did not start: ")};
    case SourceState::CallFailed: return {code, failure("call failed: ")};
    default: break;
  }
  const bool is_complete = account.failed_calls.empty() && account.remarks.empty();
  return is_complete ? State{code, "answered"} : State{"incomplete", "answered with errors"};
}

template <typename Record>
Diagnosis Diagnose(const Source<Record>& source, const Results& results, const std::vector<MatchedGPUT>& matched) {
  const auto& records = (*results.records.detectors_output).*source.list;
  Diagnosis diagnosis = {source.name, source.library, nullptr, nullptr, {}, records.size(), {}};
  for (const auto& record : records) {
    const auto is_its = [&](const MatchedGPUT& entry) {
      const auto& of_entry = entry.*source.record;
      return of_entry != nullptr && *of_entry == *record;
    };
    if (std::none_of(matched.begin(), matched.end(), is_its)) diagnosis.unmatched.push_back(ToJson(*record));
  }
  return diagnosis;
}

/// The maker of a GPU that a source saw.
Vendor VendorOf(std::string_view source, const Json& record) {
  if (source == "CUDA" || source == "NVML") return Vendor::NVIDIA;
  return VendorFromText(record.value("vendor", std::string()) + " " + record.value("name", std::string()));
}

}  // namespace

std::vector<Diagnosis> DiagnoseSources(const Session& session, const std::vector<MatchedGPUT>& matched) {
  std::vector<Diagnosis> diagnoses;
  ForEachSource([&](const auto& source) {
    const std::size_t place = diagnoses.size();
    Diagnosis& diagnosis = diagnoses.emplace_back(Diagnose(source, session.results, matched));
    if (!session.apart) return;
    diagnosis.account = &session.apart->run->account.sources.at(place);
    diagnosis.fault = &session.apart->sources.at(place);
    if (source.library != nullptr) diagnosis.file = Interfaces::FindLibraryFile(source.library);
  });
  return diagnoses;
}

std::string StateCode(const Diagnosis& diagnosis) { return StateOf(diagnosis).code; }
std::string StateText(const Diagnosis& diagnosis) { return StateOf(diagnosis).text; }

std::vector<std::string> FindLosses(const std::vector<Diagnosis>& diagnoses, std::size_t gpus) {
  const auto has_seen = [&](Vendor vendor) {
    return std::any_of(diagnoses.begin(), diagnoses.end(), [=](const Diagnosis& diagnosis) {
      return std::any_of(diagnosis.unmatched.begin(), diagnosis.unmatched.end(),
                         [&](const Json& record) { return VendorOf(diagnosis.source, record) == vendor; });
    });
  };
  std::vector<std::string> sentences;
  for (const SoleSource& sole : kSoleSources) {
    const auto diagnosis = std::find_if(diagnoses.begin(), diagnoses.end(),
                                        [&](const Diagnosis& d) { return d.source == std::string_view(sole.source); });
    const bool has_failed = diagnosis->account != nullptr && (diagnosis->fault->kind != ChildFault::None ||
                                                              diagnosis->account->state != SourceState::Answered);
    // Of monitors nobody else tells that there are any.
    const bool hides_monitors = has_failed && sole.vendor == Vendor::Intel;
    if (diagnosis->records == 0 && (gpus == 0 || has_seen(sole.vendor) || hides_monitors)) {
      sentences.emplace_back(sole.sentence);
    }
  }
  return sentences;
}

std::string FailureText(const FailedCall& call) {
  const std::string lost = call.unknown.empty() ? "not listed" : "unknown";
  std::string what = call.unknown;
  if (!call.subject.empty()) what += (what.empty() ? "" : " of ") + call.subject;
  if (what.empty()) what = "records";
  return what + " " + lost + ": " + ReasonText(call);
}

}  // namespace Vexil::Cli
