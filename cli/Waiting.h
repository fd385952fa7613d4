#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <mutex>
#include <thread>

namespace Vexil::Cli {

/// From now on this process keeps in mind which source it is asking.
void FollowProgress();

/// For ExplainCrashes: which source was being asked.
std::size_t WriteCrashMessage(std::uint32_t code, char* buffer, std::size_t size);

/// While this lives, somebody who waits at a terminal for longer than `patience` reads which source is being asked, on
/// a line that is wiped in the end.
class WaitingLine {
 public:
  /// Says nothing where standard error is no terminal, or has the log.
  explicit WaitingLine(std::ostream& err);
  WaitingLine(std::ostream& terminal, std::chrono::milliseconds patience);
  ~WaitingLine();
  WaitingLine(const WaitingLine&) = delete;
  WaitingLine& operator=(const WaitingLine&) = delete;

 private:
  void Run(std::chrono::milliseconds patience);
  void Show(const char* source);

  std::ostream& m_terminal;
  std::size_t m_width = 0;
  std::mutex m_mutex;
  std::condition_variable m_end;
  bool m_is_over = false;
  std::thread m_thread;
};

}  // namespace Vexil::Cli
