#include <fmt/format.h>

#include "cli/Commands.h"
#include "cli/FileOutput.h"
#include "cli/Json.h"
#include "cli/Printing.h"

namespace Vexil::Cli {

int Save(const Session& session, const std::string& path) {
  const Results& results = session.results;
  WriteFileWhole(path, results.buffer);
  if (session.json) {
    Json document = Document("save");
    document.update({{"file", path}, {"gpus", results.gpus.size()}, {"bytes", results.buffer.size()}});
    PrintJson(session.out, document);
  } else {
    PrintLine(session.out, fmt::format("Saved {} and {} to \"{}\", {} bytes.", Counted(results.gpus.size(), "GPU"),
                                       Counted(results.monitors.size(), "monitor"), path, results.buffer.size()));
  }
  return FoundStatus(session, !results.gpus.empty());
}

}  // namespace Vexil::Cli
