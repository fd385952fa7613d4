#include "Vexil/Report/Report.h"
#include "cli/Commands.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"
#include "cli/ResultJson.h"

namespace Vexil::Cli {
namespace {

class OutputSink final : public ReportSink {
 public:
  explicit OutputSink(std::ostream& out) : m_out(out) {}

  bool Wants(LogLevel /*level*/) override { return true; }
  void Write(LogLevel /*level*/, const std::string& line, const LogSite& /*site*/) override { PrintLine(m_out, line); }

 private:
  std::ostream& m_out;
};

}  // namespace

int Report(const Session& session) {
  const Results& results = session.results;
  if (session.json) {
    PrintJson(session.out, ResultToJson(results.records));
  } else {
    OutputSink sink(session.out);
    WriteReport({*results.records.system, results.matched, results.gpus, results.monitors, session.IsThisMachine()},
                sink);
  }
  WarnOfHiddenGPUs(session);
  return FoundStatus(session, !results.gpus.empty());
}

}  // namespace Vexil::Cli
