#include "cli/Detection.h"

#include "Vexil/Common/Log.h"
#include "Vexil/Results/ResultOutput.h"
#include "cli/Hex.h"

namespace Vexil::Cli {

using Interfaces::ChildFault;
using Interfaces::ChildResult;
using Interfaces::Json;

namespace {

constexpr const char* kResult = "result";

}  // namespace

Results ResultsOf(Detector::Impl& run) {
  std::vector<std::uint8_t> buffer;
  PackResult(run.ToResult(), buffer);
  return UnpackOwnResults(std::move(buffer));
}

Results DetectHere(Detector::Impl& run) {
  run.Detect();
  return ResultsOf(run);
}

IsolatedDetection DetectInChild(const Interfaces::Helper& helper) {
  const ChildResult child = Interfaces::RunChildren(helper, {"all"}, kDetectionWork).front();
  if (child.fault.kind != ChildFault::None) return {{}, child.fault};
  try {
    const auto result = child.answer.find(kResult);
    if (result != child.answer.end() && result->is_string()) {
      return {UnpackResults(FromHex(result->get_ref<const std::string&>()), "the answer"), {}};
    }
  } catch (const Error&) {
    // As if it had said nothing.
  }
  return {{}, {ChildFault::NoAnswer, Interfaces::kNoAnswer}};
}

Json DetectAsChild(const std::string& /*name*/) {
  SetUpLogging();
  const LogSilencer silencer(true);
  Detector::Impl run;
  return {{kResult, ToHex(DetectHere(run).buffer)}};
}

}  // namespace Vexil::Cli
