#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Vexil::Program {

struct LogLine {
  bool is_trouble;  ///< A warning or an error.
  std::string text;
};

/// Takes down what the library logs, from DEBUG up, as long as it lives.
class LogCapture {
 public:
  enum class Others { GetLines, GetNothing };

  /// With `GetNothing` the lines go nowhere else meanwhile.
  explicit LogCapture(Others others);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogLine>& Lines() const;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace Vexil::Program
