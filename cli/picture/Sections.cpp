#include "cli/picture/Sections.h"

#include <sstream>

#include "Vexil/Common/Text.h"
#include "cli/IdsTables.h"
#include "cli/KnownAs.h"
#include "cli/MonitorList.h"
#include "cli/ReportLines.h"

namespace Vexil::Cli {

std::vector<Section> FindSections(const Session& session) {
  std::vector<Section> sections;
  const auto monitors = FindMonitors(session);
  if (!monitors.empty()) sections.push_back({"Monitors", {MonitorTable(session, monitors)}, {}});
  Section numbers = {"By which number each interface knows them", {}, {}};
  if (session.IsThisMachine()) {
    const Numbers& found = FindNumbers(session);
    if (!session.results.gpus.empty()) {
      numbers.tables = {NumbersOfAll(session, found), IdentitiesOfAll(session, found)};
    }
    std::ostringstream remarks;
    PrintRemarks(remarks, found);
    numbers.lines = Split(remarks.str(), '\n', EmptyPieces::Drop);
  } else {
    numbers.lines.emplace_back(kOnlyOfARunningMachine);
  }
  if (!numbers.tables.empty() || !numbers.lines.empty()) sections.push_back(std::move(numbers));
  sections.push_back({"Report", {}, ReportLines(session)});
  return sections;
}

}  // namespace Vexil::Cli
