#include "LogRecorder.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/loggingevent.h>

namespace Vexil::Program {
namespace {

LogLevel ToLogLevel(const log4cxx::Level& level) {
  if (level.isGreaterOrEqual(log4cxx::Level::getError())) return LogLevel::Error;
  if (level.isGreaterOrEqual(log4cxx::Level::getWarn())) return LogLevel::Warn;
  return level.isGreaterOrEqual(log4cxx::Level::getInfo()) ? LogLevel::Info : LogLevel::Debug;
}

class LineAppender : public log4cxx::AppenderSkeleton {
 public:
  void close() override {}
  bool requiresLayout() const override { return false; }

  std::vector<LogLine> lines;

 protected:
  void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override {
    lines.push_back({ToLogLevel(*event->getLevel()), event->getMessage()});
  }
};

}  // namespace

struct LogRecorder::State {
  log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Vexil");
  log4cxx::LevelPtr level = logger->getLevel();
  bool additivity = logger->getAdditivity();
  log4cxx::AppenderList others;
  std::shared_ptr<LineAppender> appender = std::make_shared<LineAppender>();
};

LogRecorder::LogRecorder(Others others) : m_state(std::make_unique<State>()) {
  log4cxx::Logger& logger = *m_state->logger;
  if (others == Others::GetNothing) {
    m_state->others = logger.getAllAppenders();
    for (const auto& appender : m_state->others) logger.removeAppender(appender);
    logger.setAdditivity(false);
  }
  logger.addAppender(m_state->appender);
  logger.setLevel(log4cxx::Level::getDebug());
}

LogRecorder::~LogRecorder() {
  log4cxx::Logger& logger = *m_state->logger;
  logger.setLevel(m_state->level);
  logger.removeAppender(m_state->appender);
  logger.setAdditivity(m_state->additivity);
  for (const auto& appender : m_state->others) logger.addAppender(appender);
}

const std::vector<LogLine>& LogRecorder::Lines() const { return m_state->appender->lines; }

}  // namespace Vexil::Program
