#include "c_interface/Log.h"

#include <utility>

#include "Vexil/Common/Log.h"
#include "text/CodePage.h"
#include "text/UTF8.h"

// The library's log, as this interface has it: each detection has its own, in the thread that detects.

namespace Vexil {
namespace {

struct Target {
  vexil_log_function function;
  void* context;
};
thread_local Target t_target = {};

static_assert(int{VEXIL_LOG_DEBUG} == static_cast<int>(LogLevel::Debug));
static_assert(int{VEXIL_LOG_INFO} == static_cast<int>(LogLevel::Info));
static_assert(int{VEXIL_LOG_WARNING} == static_cast<int>(LogLevel::Warn));
static_assert(int{VEXIL_LOG_ERROR} == static_cast<int>(LogLevel::Error));

}  // namespace

C::LogTo::LogTo(vexil_log_function function, void* context) { t_target = {function, context}; }
C::LogTo::~LogTo() { t_target = {}; }

void SetUpLogging() {}

bool IsLogEnabled(LogLevel /*level*/) { return t_target.function != nullptr; }

void WriteLog(LogLevel level, const std::string& text, const LogSite& /*site*/) {
  t_target.function(t_target.context, static_cast<std::int32_t>(level), AsUTF8(text, SystemCodePage()).c_str());
}

std::uint64_t LostLogLines() { return 0; }

struct LogSilencer::SavedLevel {
  Target target;
};

LogSilencer::LogSilencer(bool silent) {
  if (silent) m_saved = std::make_unique<SavedLevel>(SavedLevel{std::exchange(t_target, {})});
}

LogSilencer::~LogSilencer() {
  if (m_saved != nullptr) t_target = m_saved->target;
}

}  // namespace Vexil
