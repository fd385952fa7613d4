#include "interfaces/ChildProcess.h"

#include <fmt/format.h>

#include <cstdio>
#include <string_view>

#include "interfaces/platform/Processes.h"
#include "text/CodePage.h"
#include "text/UTF8.h"

namespace Vexil::Interfaces {
namespace {

constexpr std::string_view kChildArgument = "--as-child";

// The answer is one line that begins with this character: drivers print to the same place.
constexpr char kRecordSeparator = '\x1E';

/// Drivers tell texts in the system's code page, and JSON is UTF-8.
void MakeUTF8(Json& json) {
  if (json.is_string()) json = AsUTF8(json.get<std::string>(), SystemCodePage());
  if (!json.is_structured()) return;
  for (Json& part : json) MakeUTF8(part);
}

std::string AnswerLine(const std::string& name, ChildWork work) {
  Json answer = work(name);
  MakeUTF8(answer);
  return kRecordSeparator + answer.dump(-1, ' ', true) + '\n';
}

std::string FaultText(const ProcessEnd& end) {
  switch (end.kind) {
    case ProcessEnd::NotStarted: return fmt::format("its process did not start (error {})", end.code);
    case ProcessEnd::TimedOut: return "hung and was ended";
    default: break;
  }
  // What Windows ends a process with are statuses of this kind.
  if (end.code >= 0xC0000000U) return fmt::format("crashed (0x{:08X})", end.code);
  return fmt::format("ended with status {}", end.code);
}

ChildResult ReadResult(const ProcessEnd& end) {
  const auto start = end.output.rfind(kRecordSeparator);
  if (start != std::string::npos) {
    const auto line = end.output.substr(start + 1, end.output.find('\n', start) - start - 1);
    const Json answer = Json::parse(line, nullptr, false);
    // A driver that crashes at the very end has told all that it knows.
    if (answer.is_object()) return {answer, {}};
  }
  if (end.kind == ProcessEnd::Ended && end.code == 0) return {{}, "ended without an answer"};
  return {{}, FaultText(end)};
}

}  // namespace

std::vector<ChildResult> RunChildren(const std::vector<std::string>& names, ChildWork work,
                                     std::chrono::milliseconds limit) {
  std::vector<std::vector<std::string>> arguments;
  arguments.reserve(names.size());
  for (const std::string& name : names) arguments.push_back({std::string(kChildArgument), name});
  const auto in_this_process = [work](const std::vector<std::string>& of_child) {
    return AnswerLine(of_child.back(), work);
  };
  std::vector<ChildResult> results;
  for (const ProcessEnd& end : RunThisProgram(arguments, limit, in_this_process)) results.push_back(ReadResult(end));
  return results;
}

std::optional<int> ServeAsChild(int argc, const char* const* argv, ChildWork work) {
  if (argc != 3 || argv[1] != kChildArgument) return std::nullopt;
  BecomeChild();
  const std::string line = AnswerLine(argv[2], work);
  const bool is_written = std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fflush(stdout) == 0;
  return is_written ? 0 : 1;
}

}  // namespace Vexil::Interfaces
