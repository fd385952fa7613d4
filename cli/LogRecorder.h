#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Common/Log.h"

namespace Vexil::Program {

struct LogLine {
  LogLevel level;
  std::string text;
};

/// Takes down what the library logs, from DEBUG up, as long as it lives.
class LogRecorder {
 public:
  enum class Others { GetLines, GetNothing };

  /// With `GetNothing` the lines go nowhere else meanwhile.
  explicit LogRecorder(Others others);
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  const std::vector<LogLine>& Lines() const;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace Vexil::Program
