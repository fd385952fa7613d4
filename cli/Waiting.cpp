#include "cli/Waiting.h"

#include <fmt/format.h>

#include <atomic>
#include <iostream>
#include <ostream>
#include <string>

#include "Vexil/Common/Log.h"
#include "Vexil/Common/Progress.h"
#include "cli/platform/Terminal.h"

namespace Vexil::Cli {
namespace {

constexpr std::chrono::seconds kPatience(1);

// Null where nothing is asked.
std::atomic<const char*> the_source = nullptr;
std::atomic<const char*> the_call = nullptr;

void KeepSource(const char* name) {
  the_call = nullptr;
  the_source = name;
}

void KeepCall(const char* name) { the_call.store(name, std::memory_order_relaxed); }

constexpr ProgressWatcher kFollower = {KeepSource, KeepCall};

}  // namespace

void FollowProgress() { progress_watcher = &kFollower; }

std::size_t WriteCrashMessage(std::uint32_t code, char* buffer, std::size_t size) {
  const char* source = the_source;
  const char* call = the_call;
  // The line's start may hold what a waiting line says, which is shorter.
  const auto end =
      fmt::format_to_n(buffer, size, "\rvexil: crashed{}{}{}{}{} (0x{:08X}); \"vexil doctor\" tells more\n",
                       call != nullptr ? " in " : "", call != nullptr ? call : "", source != nullptr ? " while " : "",
                       source != nullptr ? source : "", source != nullptr ? " was asked" : "", code);
  return end.size < size ? end.size : size;
}

WaitingLine::WaitingLine(std::ostream& err) : m_terminal(err) {
  if (&err == &std::cerr && IsErrorTerminal() && !IsLogEnabled(LogLevel::Info)) {
    m_thread = std::thread([this] { Run(kPatience); });
  }
}

WaitingLine::WaitingLine(std::ostream& terminal, std::chrono::milliseconds patience)
    : m_terminal(terminal), m_thread([this, patience] { Run(patience); }) {}

WaitingLine::~WaitingLine() {
  if (!m_thread.joinable()) return;
  {
    const std::lock_guard lock(m_mutex);
    m_is_over = true;
  }
  m_end.notify_one();
  m_thread.join();
  Show(nullptr);
}

void WaitingLine::Run(std::chrono::milliseconds patience) {
  const auto is_over = [this] { return m_is_over; };
  std::unique_lock lock(m_mutex);
  if (m_end.wait_for(lock, patience, is_over)) return;
  const char* shown = nullptr;
  constexpr std::chrono::milliseconds kPause(50);
  do {
    const char* source = the_source;
    if (source != shown) Show(source);
    shown = source;
  } while (!m_end.wait_for(lock, kPause, is_over));
}

void WaitingLine::Show(const char* source) {
  // Spaces work on every console.
  if (m_width > 0) m_terminal << '\r' << std::string(m_width, ' ') << '\r';
  const std::string text = source != nullptr ? fmt::format("asking {} ...", source) : std::string();
  m_width = text.size();
  m_terminal << text << std::flush;
}

}  // namespace Vexil::Cli
