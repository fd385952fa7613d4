#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Examination.h"
#include "Json.h"
#include "RunLog.h"
#include "Session.h"

namespace Vexil::Program {

enum class SourceState {
  Answered,
  AnsweredWithErrors,  ///< Some of what it was asked.
  NotInstalled,
  EntryPointMissing,
  CallFailed,
  Saved,  ///< What the source answered on another day cannot be examined.
};
const char* StateText(SourceState state);

struct Diagnosis {
  std::string source;
  std::string library;  ///< Empty where the source is a part of Windows.
  SourceState state = SourceState::Answered;
  Examination examination;
  std::size_t records = 0;
  std::optional<std::int64_t> milliseconds;
  std::vector<std::string> messages;
  std::vector<Json> unmatched;
};

/// What each source had to say, in the order in which they are asked. `matched` are all GPUs, hidden ones too.
std::vector<Diagnosis> DiagnoseSources(const Session& session, const std::vector<FlatBuffers::MatchedGPUT>& matched,
                                       const RunLog& log);

}  // namespace Vexil::Program
