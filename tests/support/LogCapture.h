#pragma once

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/layout.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/loggingevent.h>

#include <memory>
#include <string>
#include <vector>

namespace Vexil::Tests {

/// Keeps what is logged, as its layout formats it; without a layout, as "LEVEL text".
class LogCapture : public log4cxx::AppenderSkeleton {
 public:
  /// Takes over the log: to the root logger nothing else is attached, and everything is logged.
  static std::shared_ptr<LogCapture> Start() {
    auto capture = std::make_shared<LogCapture>();
    const auto root = log4cxx::Logger::getRootLogger();
    root->removeAllAppenders();
    root->addAppender(capture);
    root->setLevel(log4cxx::Level::getDebug());
    return capture;
  }

  std::vector<std::string> lines;

  void close() override {}
  bool requiresLayout() const override { return false; }

 protected:
  void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& pool) override {
    std::string line;
    if (const auto layout = getLayout()) {
      layout->format(line, event, pool);
    } else {
      line = event->getLevel()->toString() + " " + event->getMessage();
    }
    lines.push_back(line);
  }
};

}  // namespace Vexil::Tests
