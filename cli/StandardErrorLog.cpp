#include <fmt/chrono.h>

#include <chrono>
#include <cstdio>

#include "Vexil/Common/Log.h"

// The programs' log: standard error, in the form that the library's own set-up of log4cxx has. The programs are single
// files, and log4cxx would be the largest part of them.

namespace Vexil {
namespace {

bool is_silent = false;

const char* Name(LogLevel level) {
  switch (level) {
    case LogLevel::Debug: return "DEBUG";
    case LogLevel::Info: return "INFO";
    case LogLevel::Warn: return "WARN";
    default: return "ERROR";
  }
}

}  // namespace

void SetUpLogging() {}

bool IsLogEnabled(LogLevel /*level*/) { return !is_silent; }

void WriteLog(LogLevel level, const std::string& text, const LogSite& /*site*/) {
  using std::chrono::milliseconds, std::chrono::system_clock;
  const auto now = system_clock::now();
  const auto fraction = std::chrono::duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
  const std::string line =
      fmt::format("{:%H:%M:%S},{:03} | {:<5} | {:<18} | {}\n", fmt::localtime(system_clock::to_time_t(now)), fraction,
                  Name(level), "Vexil", text);
  // A standard error that nobody reads any more is no reason to stop.
  static_cast<void>(std::fputs(line.c_str(), stderr));
}

std::uint64_t LostLogLines() { return 0; }

struct LogSilencer::SavedLevel {
  bool was_silent;
};

LogSilencer::LogSilencer(bool silent) {
  if (!silent) return;
  m_saved = std::make_unique<SavedLevel>(SavedLevel{is_silent});
  is_silent = true;
}

LogSilencer::~LogSilencer() {
  if (m_saved != nullptr) is_silent = m_saved->was_silent;
}

}  // namespace Vexil
