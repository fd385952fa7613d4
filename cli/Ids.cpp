#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/IdsTables.h"
#include "cli/KnownAs.h"
#include "cli/Printing.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;

int Ids(const Session& session, const std::optional<std::string>& id) {
  if (!session.IsThisMachine()) throw Error(kOnlyOfARunningMachine);
  std::vector<std::size_t> chosen(session.results.gpus.size());
  for (std::size_t i = 0; i < chosen.size(); ++i) chosen[i] = i;
  if (id) {
    const MatchedGPUT* matched = SelectGPU(session, *id);
    if (matched == nullptr) return kFoundNone;
    chosen = {IndexOf(session, *matched)};
  }
  const Numbers& numbers = FindNumbers(session);
  if (session.json) {
    PrintJson(session.out, IdsJson(session.results.gpus, numbers, chosen));
  } else if (id) {
    const auto& gpu = session.results.gpus[chosen[0]];
    PrintLine(session.out, FullName(gpu) + " (" + gpu.id + ")");
    NumbersTable(numbers.joined.gpus[chosen[0]]).Print(session.out, "  ");
    PrintRemarks(session.out, numbers);
  } else {
    if (!chosen.empty()) {
      NumbersOfAll(session, numbers).Print(session.out);
      session.out << '\n';
      IdentitiesOfAll(session, numbers).Print(session.out);
      session.out << '\n';
    }
    PrintRemarks(session.out, numbers);
  }
  return FoundStatus(session, !chosen.empty());
}

}  // namespace Vexil::Cli
