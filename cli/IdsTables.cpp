#include "cli/IdsTables.h"

#include <string_view>

#include "Vexil/Common/Text.h"
#include "cli/Selection.h"

namespace Vexil::Cli {

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

}  // namespace

TextTable NumbersOfAll(const Session& session, const Numbers& numbers) {
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
  return table;
}

TextTable IdentitiesOfAll(const Session& session, const Numbers& numbers) {
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
  return table;
}

}  // namespace Vexil::Cli
