#include "cli/ReportLines.h"

#include "Vexil/Report/Report.h"

namespace Vexil::Cli {
namespace {

class LineSink final : public ReportSink {
 public:
  bool Wants(LogLevel /*level*/) override { return true; }
  void Write(LogLevel /*level*/, const std::string& line, const LogSite& /*site*/) override { lines.push_back(line); }

  std::vector<std::string> lines;
};

}  // namespace

std::vector<std::string> ReportLines(const Session& session) {
  const Results& results = session.results;
  LineSink sink;
  WriteReport({*results.records.system, results.matched, results.gpus, results.monitors, session.IsThisMachine()},
              sink);
  return sink.lines;
}

}  // namespace Vexil::Cli
