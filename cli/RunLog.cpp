#include "RunLog.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Vexil::Program {
namespace {

// The lines are those of Vexil/DetectionRun.cpp.
constexpr std::string_view kStart = "  - ";
constexpr std::string_view kEnd = " ms.";

bool IsTimingLine(std::string_view text) {
  return text.size() > kStart.size() + kEnd.size() && text.substr(0, kStart.size()) == kStart &&
         text.substr(text.size() - kEnd.size()) == kEnd && text.find(": ") != std::string_view::npos;
}

/// "  - CUDA: 2 detected in 12 ms."
RunLog::Step ReadTimingLine(std::string_view text) {
  text = text.substr(kStart.size(), text.size() - kStart.size() - kEnd.size());
  RunLog::Step step;
  step.name = text.substr(0, text.find(": "));
  const std::string_view number = text.substr(text.rfind(' ') + 1);
  std::int64_t milliseconds = 0;
  if (std::from_chars(number.data(), number.data() + number.size(), milliseconds).ec == std::errc()) {
    step.milliseconds = milliseconds;
  }
  return step;
}

}  // namespace

RunLog::RunLog(const std::vector<LogLine>& lines) {
  // A step's timing line comes at its end.
  std::vector<std::string> trouble;
  bool has_errors = false;
  const auto add = [&](Step step) {
    step.trouble = std::exchange(trouble, {});
    step.has_errors = std::exchange(has_errors, false);
    m_steps.push_back(std::move(step));
  };
  for (const LogLine& line : lines) {
    if (IsTimingLine(line.text)) {
      add(ReadTimingLine(line.text));
    } else if (line.level >= LogLevel::Warn && line.text.rfind(' ', 0) != 0) {
      // An indented line belongs to the report, whose lines make sense together only.
      trouble.push_back(line.text);
      has_errors = has_errors || line.level == LogLevel::Error;
    }
  }
  if (!lines.empty()) add({kAfterMatching, std::nullopt, {}, false});
}

const RunLog::Step* RunLog::Find(std::string_view name) const {
  const auto found = std::find_if(m_steps.begin(), m_steps.end(), [=](const Step& step) { return step.name == name; });
  return found != m_steps.end() ? &*found : nullptr;
}

}  // namespace Vexil::Program
