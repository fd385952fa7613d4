#include "Vexil/Report/LogReport.h"

namespace Vexil {
namespace {

class LogSink final : public ReportSink {
 public:
  bool Wants(LogLevel level) override { return IsLogEnabled(level); }
  void Write(LogLevel level, const std::string& line, const LogSite& site) override { WriteLog(level, line, site); }
};

}  // namespace

void LogReport(const ReportedResults& results) {
  LogSink sink;
  WriteReport(results, sink);
}

}  // namespace Vexil
