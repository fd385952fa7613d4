#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "Vexil/Common/Text.h"
#include "cli/Commands.h"
#include "cli/ExitStatus.h"
#include "cli/KnownAs.h"
#include "cli/Printing.h"
#include "interfaces/FindingsJson.h"

namespace Vexil::Cli {

using FlatBuffers::MatchedGPUT;
using Interfaces::Known;
using Interfaces::State;
using Interfaces::Told;

namespace {

/// Those whose numbers are too long for a column.
bool HasLongNumbers(const Told& told) {
  return told.name == std::string_view("Windows") || told.name == std::string_view("Display");
}

std::vector<const Known*> KnownTo(const std::vector<Known>& known, std::string_view interface) {
  std::vector<const Known*> list;
  for (const Known& k : known) {
    if (k.interface == interface) list.push_back(&k);
  }
  return list;
}

/// "0", "0:1 2:0" where there are several, "-" where there is none, "?" where that is not known.
std::string NumberText(const std::vector<Known>& known, const Told& told) {
  std::vector<std::string> numbers;
  for (const Known* k : KnownTo(known, told.name)) numbers.push_back(k->device.number + (k->is_disputed ? "?" : ""));
  if (!numbers.empty()) return Join(numbers, " ");
  return told.findings.state == State::Failed ? "?" : "-";
}

/// The first that is told, by whichever interface.
template <typename Tell>
std::string FirstText(const std::vector<Known>& known, const Tell& tell) {
  for (const Known& k : known) {
    std::string text = k.is_disputed ? std::string() : tell(k.device);
    if (!text.empty()) return text;
  }
  return "-";
}

void PrintNumbers(const Session& session, const Numbers& numbers) {
  TextTable table;
  std::vector<std::string> titles = {"#", "GPU"};
  for (const Told& told : numbers.told) {
    if (told.findings.state != State::Absent && !HasLongNumbers(told)) titles.emplace_back(told.name);
  }
  table.Add(titles);
  for (std::size_t i = 0; i < numbers.joined.gpus.size(); ++i) {
    std::vector<std::string> row = {std::to_string(i), FullName(session.results.gpus[i])};
    for (const Told& told : numbers.told) {
      if (told.findings.state != State::Absent && !HasLongNumbers(told)) {
        row.push_back(NumberText(numbers.joined.gpus[i], told));
      }
    }
    table.Add(row);
  }
  table.Print(session.out);
}

void PrintIdentities(const Session& session, const Numbers& numbers) {
  TextTable table;
  table.Add({"#", "identifier", "PCI place", "LUID", "NVIDIA UUID", "outputs"});
  for (std::size_t i = 0; i < numbers.joined.gpus.size(); ++i) {
    const auto& known = numbers.joined.gpus[i];
    table.Add({std::to_string(i), session.results.gpus[i].id,
               FirstText(known, [](const auto& d) { return d.pci ? PCIText(*d.pci) : std::string(); }),
               FirstText(known, [](const auto& d) { return d.luid ? Interfaces::LUIDText(*d.luid) : std::string(); }),
               FirstText(known, [](const auto& d) { return d.has_shared_uuid ? d.uuid : std::string(); }),
               FirstText(known, [](const auto& d) { return d.More("outputs"); })});
  }
  table.Print(session.out);
}

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
      PrintNumbers(session, numbers);
      session.out << '\n';
      PrintIdentities(session, numbers);
      session.out << '\n';
    }
    PrintRemarks(session.out, numbers);
  }
  return FoundStatus(session, !chosen.empty());
}

}  // namespace Vexil::Cli
