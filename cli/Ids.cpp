#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/IdsTables.h"
#include "cli/KnownAs.h"
#include "cli/Printing.h"
#include "interfaces/FindingsJson.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using Interfaces::Told;

namespace {

Json ToJson(const Session& session, const Numbers& numbers, const std::vector<std::size_t>& chosen) {
  Json gpus = Json::array();
  for (const std::size_t i : chosen) {
    const auto& gpu = session.results.gpus[i];
    gpus.push_back({{"id", gpu.id}, {"name", gpu.name}, {"known_as", NumbersJson(numbers.joined.gpus[i])}});
  }
  Json others = Json::array();
  for (const auto& other : numbers.joined.others) {
    others.push_back({{"interface", other.interface}});
    others.back().update(Interfaces::ToJson(other.device));
  }
  Json interfaces = Json::array();
  for (const Told& told : numbers.told) {
    interfaces.push_back({{"interface", told.name},
                          {"state", StateName(told.findings.state)},
                          {"problems", told.findings.problems},
                          {"cleared_variables", told.findings.cleared}});
  }
  Json document = Document("ids");
  document.update({{"gpus", gpus},
                   {"none_of_these", others},
                   {"contradictions", numbers.joined.contradictions},
                   {"interfaces", interfaces}});
  return document;
}

}  // namespace

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
    PrintJson(session.out, ToJson(session, numbers, chosen));
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
