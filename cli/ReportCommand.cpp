#include "cli/Commands.h"
#include "cli/Printing.h"
#include "cli/Rematching.h"
#include "cli/ReportLines.h"
#include "cli/ResultJson.h"

namespace Vexil::Cli {
int Report(const Session& session) {
  const Results& results = session.results;
  if (session.json) {
    PrintJson(session.out, ResultToJson(results.records));
  } else {
    for (const std::string& line : ReportLines(session)) PrintLine(session.out, line);
  }
  WarnOfHiddenGPUs(session);
  return FoundStatus(session, !results.gpus.empty());
}

}  // namespace Vexil::Cli
