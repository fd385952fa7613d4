#include "cli/Diagnosis.h"

#include <fmt/format.h>

#include <algorithm>

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;

namespace {

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

State StateOf(const Diagnosis& diagnosis) {
  if (diagnosis.account == nullptr) return {"saved", "saved"};
  const Account& account = *diagnosis.account;
  const auto failure = [&](const char* what) { return what + ReasonText(account.failed_calls.back()); };
  switch (account.state) {
    case SourceState::LibraryMissing: {
      const std::int64_t error = account.failed_calls.back().status.value_or(0);
      const std::string text = SystemErrorText(static_cast<std::uint32_t>(error));
      return {"library-missing", fmt::format("library not installed or not loadable (error {}{}{})", error,
                                             text.empty() ? "" : ": ", text)};
    }
    case SourceState::EntryPointMissing: return {"entry-point-missing", "entry point missing"};
    case SourceState::StartFailed: return {"start-failed", failure("did not start: ")};
    case SourceState::CallFailed: return {"call-failed", failure("call failed: ")};
    default: break;
  }
  const bool is_complete = account.failed_calls.empty() && account.remarks.empty();
  return is_complete ? State{"answered", "answered"} : State{"incomplete", "answered with errors"};
}

template <typename Record>
Diagnosis Diagnose(const Source<Record>& source, const Account* account, const Results& results,
                   const std::vector<MatchedGPUT>& matched) {
  const auto& records = (*results.records.detectors_output).*source.list;
  Diagnosis diagnosis = {source.name, source.library, account, records.size(), {}};
  for (const auto& record : records) {
    const auto is_its = [&](const MatchedGPUT& entry) {
      const auto& of_entry = entry.*source.record;
      return of_entry != nullptr && *of_entry == *record;
    };
    if (std::none_of(matched.begin(), matched.end(), is_its)) diagnosis.unmatched.push_back(ToJson(*record));
  }
  return diagnosis;
}

}  // namespace

std::vector<Diagnosis> DiagnoseSources(const Session& session, const std::vector<MatchedGPUT>& matched) {
  std::vector<Diagnosis> diagnoses;
  ForEachSource([&](const auto& source) {
    const Account* account = session.run != nullptr ? &session.run->account.sources.at(diagnoses.size()) : nullptr;
    diagnoses.push_back(Diagnose(source, account, session.results, matched));
  });
  return diagnoses;
}

std::string StateCode(const Diagnosis& diagnosis) { return StateOf(diagnosis).code; }
std::string StateText(const Diagnosis& diagnosis) { return StateOf(diagnosis).text; }

std::string FailureText(const FailedCall& call) {
  const std::string lost = call.unknown.empty() ? "not listed" : "unknown";
  std::string what = call.unknown;
  if (!call.subject.empty()) what += (what.empty() ? "" : " of ") + call.subject;
  if (what.empty()) what = "records";
  return what + " " + lost + ": " + ReasonText(call);
}

}  // namespace Vexil::Cli
