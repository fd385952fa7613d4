#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "LogRecorder.h"

namespace Vexil::Program {

/// The log of a run, put in order: which step took how long, and what went wrong in it.
class RunLog {
 public:
  struct Step {
    std::string name;  ///< As the step's timing line calls it.
    std::optional<std::int64_t> milliseconds;
    std::vector<std::string> trouble;  ///< Warnings and errors.
    bool has_errors = false;
  };

  static constexpr const char* kSystemInfo = "System Info";
  static constexpr const char* kMatching = "GPU Matching";
  static constexpr const char* kAfterMatching = "After matching";

  explicit RunLog(const std::vector<LogLine>& lines);

  /// Null where the log has no such step.
  const Step* Find(std::string_view name) const;

 private:
  std::vector<Step> m_steps;
};

}  // namespace Vexil::Program
