#include "Vexil/Common/Log.h"

#include <log4cxx/helpers/properties.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/propertyconfigurator.h>
#include <log4cxx/spi/location/locationinfo.h>
#include <log4cxx/spi/loggerrepository.h>

#include <atomic>

namespace Vexil {
namespace {

std::atomic<std::uint64_t> lost_lines = 0;

const log4cxx::LoggerPtr& VexilLogger() {
  static const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Vexil");
  return logger;
}

log4cxx::LevelPtr ToLog4cxx(LogLevel level) {
  switch (level) {
    case LogLevel::Debug: return log4cxx::Level::getDebug();
    case LogLevel::Info: return log4cxx::Level::getInfo();
    case LogLevel::Warn: return log4cxx::Level::getWarn();
    default: return log4cxx::Level::getError();
  }
}

void ConfigureLog4cxx() {
  // Through the configurator, so that every object is made by log4cxx itself: an appender made here
  // would outlive this library's code when the host unloads it.
  log4cxx::helpers::Properties properties;
  const auto set = [&properties](const log4cxx::LogString& key, const log4cxx::LogString& value) {
    properties.setProperty(key, value);
  };
  set(LOG4CXX_STR("log4j.rootLogger"), LOG4CXX_STR("DEBUG"));
  // No level before the comma: whatever level the logger has stays.
  set(LOG4CXX_STR("log4j.logger.Vexil"), LOG4CXX_STR(", VexilConsole"));
  set(LOG4CXX_STR("log4j.appender.VexilConsole"), LOG4CXX_STR("org.apache.log4j.ConsoleAppender"));
  set(LOG4CXX_STR("log4j.appender.VexilConsole.target"), LOG4CXX_STR("System.err"));
  set(LOG4CXX_STR("log4j.appender.VexilConsole.layout"), LOG4CXX_STR("org.apache.log4j.PatternLayout"));
  set(LOG4CXX_STR("log4j.appender.VexilConsole.layout.ConversionPattern"),
      LOG4CXX_STR("%d{HH:mm:ss,SSS} | %-5p | %-18.32c | %m\n"));
  log4cxx::PropertyConfigurator::configure(properties);
}

}  // namespace

void SetUpLogging() {
  if (!log4cxx::LogManager::getLoggerRepository()->isConfigured()) ConfigureLog4cxx();
  // While the answer still holds: where the host shuts log4cxx down, fetching a logger would look for
  // configuration files.
  VexilLogger();
}

bool IsLogEnabled(LogLevel level) { return VexilLogger()->isEnabledFor(ToLog4cxx(level)); }

void WriteLog(LogLevel level, const std::string& text, const LogSite& site) {
  using log4cxx::spi::LocationInfo;
  try {
    const LocationInfo location(site.file, LocationInfo::calcShortFileName(site.file), site.function, site.line);
    VexilLogger()->forcedLog(ToLog4cxx(level), text, location);
  } catch (...) {
    ++lost_lines;
  }
}

std::uint64_t LostLogLines() { return lost_lines; }

struct LogSilencer::SavedLevel {
  log4cxx::LevelPtr level;
};

LogSilencer::LogSilencer(bool silent) {
  if (!silent) return;
  m_saved = std::make_unique<SavedLevel>(SavedLevel{VexilLogger()->getLevel()});
  VexilLogger()->setLevel(log4cxx::Level::getOff());
}

LogSilencer::~LogSilencer() {
  if (m_saved != nullptr) VexilLogger()->setLevel(m_saved->level);
}

}  // namespace Vexil
