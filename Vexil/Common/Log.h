#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Vexil {

enum class LogLevel { Debug, Info, Warn, Error };

/// Where a log line comes from.
struct LogSite {
  const char* file;
  const char* function;
  int line;
};

/// Sends the library's log lines to standard error, unless the host has configured log4cxx. To be
/// called before any other function here: fetching a logger configures log4cxx by itself, and after
/// that nobody can tell whether the host had done so.
void SetUpLogging();

bool IsLogEnabled(LogLevel level);
/// An appender of the host's that throws loses the line, and nothing else.
void WriteLog(LogLevel level, const std::string& text, const LogSite& site);
/// How many lines were lost in this process.
std::uint64_t LostLogLines();

/// Turns the library's logger off and, when it goes, gives back the level that the logger had of its
/// own, which may be none.
class LogSilencer {
 public:
  explicit LogSilencer(bool silent);
  ~LogSilencer();
  LogSilencer(const LogSilencer&) = delete;
  LogSilencer& operator=(const LogSilencer&) = delete;

 private:
  struct SavedLevel;
  std::unique_ptr<SavedLevel> m_saved;
};

}  // namespace Vexil

#ifdef _MSC_VER
#define VEXIL_FUNCTION __FUNCSIG__
#else
#define VEXIL_FUNCTION __PRETTY_FUNCTION__
#endif

/// The place in the code where this stands.
#define VEXIL_LOG_SITE (::Vexil::LogSite{__FILE__, VEXIL_FUNCTION, __LINE__})

// Macros, because a line that is not logged must not be composed, and because a log line names the
// function that wrote it. The arguments are a fmt format string and what goes into it.
#define VEXIL_LOG(level, ...) \
  (::Vexil::IsLogEnabled(level) ? ::Vexil::WriteLog(level, ::fmt::format(__VA_ARGS__), VEXIL_LOG_SITE) : void())

// The same for a line that also goes into the account of the run: it is appended to `remarks`.
#define VEXIL_LOG_AND_REMARK(level, remarks, ...) \
  ((remarks).push_back(::fmt::format(__VA_ARGS__)), VEXIL_LOG(level, "{}", (remarks).back()))

#define LOG_DEBUG(...) VEXIL_LOG(::Vexil::LogLevel::Debug, __VA_ARGS__)
#define LOG_INFO(...) VEXIL_LOG(::Vexil::LogLevel::Info, __VA_ARGS__)
#define LOG_WARN(...) VEXIL_LOG(::Vexil::LogLevel::Warn, __VA_ARGS__)
#define LOG_ERROR(...) VEXIL_LOG(::Vexil::LogLevel::Error, __VA_ARGS__)
#define LOG_WARN_AND_REMARK(...) VEXIL_LOG_AND_REMARK(::Vexil::LogLevel::Warn, __VA_ARGS__)
#define LOG_ERROR_AND_REMARK(...) VEXIL_LOG_AND_REMARK(::Vexil::LogLevel::Error, __VA_ARGS__)
