#include "interfaces/ChildProcess.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "Vexil/Common/Progress.h"
#include "text/CodePage.h"
#include "text/UTF8.h"

namespace Vexil::Interfaces {
namespace {

constexpr std::string_view kChildArgument = "--as-child";

// Drivers print to the same place, so each line of a child's own begins with one of these characters: its answer, and
// before that each call that it is about to make.
constexpr char kAnswerMark = '\x1E';
constexpr char kCallMark = '\x1F';

/// Drivers tell texts in the system's code page, and JSON is UTF-8.
void MakeUTF8(Json& json) {
  if (json.is_string()) json = AsUTF8(json.get<std::string>(), SystemCodePage());
  if (!json.is_structured()) return;
  for (Json& part : json) MakeUTF8(part);
}

std::string AnswerLine(const std::string& name, const ChildWork& work) {
  Json answer = work.answer(name);
  MakeUTF8(answer);
  return kAnswerMark + answer.dump(-1, ' ', true) + '\n';
}

bool Write(std::string_view line) {
  return std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fflush(stdout) == 0;
}

/// In a child. A loop over one function is one call.
void AnnounceCall(const char* name) {
  static const char* last = nullptr;
  if (name == last) return;
  last = name;
  Write(fmt::format("{}{}\n", kCallMark, name));
}

constexpr ProgressWatcher kAnnouncer = {[](const char* /*source*/) {}, AnnounceCall};

/// The rest of the last line that begins with this mark, if there is one.
std::optional<std::string> LastLine(const std::string& output, char mark) {
  const auto start = output.rfind(mark);
  if (start == std::string::npos) return std::nullopt;
  const auto end = output.find_first_of("\r\n", start);
  return output.substr(start + 1, end == std::string::npos ? end : end - start - 1);
}

ChildFault FaultOf(const ProcessEnd& end, std::chrono::milliseconds limit) {
  ChildFault fault;
  // Longer than any function's name is only what some driver printed.
  constexpr std::size_t kLongestName = 100;
  fault.last_call = LastLine(end.output, kCallMark).value_or("").substr(0, kLongestName);
  const std::string in_call = fault.last_call.empty() ? "" : " in " + fault.last_call;
  switch (end.kind) {
    case ProcessEnd::NotStarted:
      fault.kind = ChildFault::NotStarted;
      fault.text = fmt::format("its process did not start (error {})", end.code);
      return fault;
    case ProcessEnd::TimedOut:
      fault.kind = ChildFault::Hung;
      fault.text = fmt::format("hung{} and was ended after {:g} s", in_call, static_cast<double>(limit.count()) / 1000);
      return fault;
    default: break;
  }
  const auto milliseconds = end.duration.count();
  // What Windows ends a process with are statuses of this kind.
  if (end.code >= 0xC0000000U) {
    fault.kind = ChildFault::Crashed;
    fault.text = fmt::format("crashed{} after {} ms (0x{:08X})", in_call, milliseconds, end.code);
    return fault;
  }
  fault.kind = ChildFault::NoAnswer;
  fault.text = end.code != 0 ? fmt::format("ended with status {}{} after {} ms", end.code, in_call, milliseconds)
                             : kNoAnswer + in_call;
  return fault;
}

ChildResult ReadResult(const ProcessEnd& end, std::chrono::milliseconds limit) {
  if (const auto line = LastLine(end.output, kAnswerMark)) {
    const Json answer = Json::parse(*line, nullptr, false);
    // A driver that crashes at the very end has told all that it knows.
    if (answer.is_object()) return {answer};
  }
  return {{}, FaultOf(end, limit)};
}

}  // namespace

std::vector<ChildResult> RunChildren(const Helper& helper, const std::vector<const char*>& names,
                                     const ChildWork& work) {
  std::vector<std::vector<std::string>> arguments;
  arguments.reserve(names.size());
  for (const char* name : names) arguments.push_back({std::string(kChildArgument), work.kind, name});
  const auto in_this_process = [&](const std::vector<std::string>& of_child) {
    return AnswerLine(of_child.back(), work);
  };
  const auto waits_for = [&](std::size_t child) { NoteSource(names[child]); };
  std::vector<ChildResult> results;
  results.reserve(names.size());
  for (const ProcessEnd& end : RunAtOnce(helper.program, arguments, helper.limit, waits_for, in_this_process)) {
    results.push_back(ReadResult(end, helper.limit));
  }
  NoteSource(nullptr);
  return results;
}

std::optional<int> ServeAsChild(int argc, const char* const* argv, std::span<const ChildWork> works) {
  if (argc != 4 || argv[1] != kChildArgument) return std::nullopt;
  const auto work =
      std::find_if(works.begin(), works.end(), [&](const ChildWork& w) { return argv[2] == std::string_view(w.kind); });
  if (work == works.end()) return std::nullopt;
  BecomeChild();
  progress_watcher = &kAnnouncer;
  const std::string line = AnswerLine(argv[3], *work);
  return Write(line) ? 0 : 1;
}

}  // namespace Vexil::Interfaces
