#include "cli/Numbers.h"

#include <algorithm>

#include "Vexil/Common/Unknown.h"
#include "interfaces/FindingsJson.h"

namespace Vexil::Cli {

using Interfaces::Findings;
using Interfaces::Known;
using Interfaces::PCIPlace;
using Interfaces::Told;

namespace {

std::optional<PCIPlace> PlaceOf(const FlatBuffers::GPUT& gpu) {
  if (gpu.pci_bus == kUnknown || gpu.pci_device == kUnknown) return std::nullopt;
  const auto number = [](std::int32_t n) { return static_cast<std::uint32_t>(n); };
  PCIPlace place = {{}, number(gpu.pci_bus), number(gpu.pci_device), {}};
  if (gpu.pci_function != kUnknown) place.function = number(gpu.pci_function);
  return place;
}

}  // namespace

const Findings* Numbers::Of(std::string_view interface) const {
  const auto found = std::find_if(told.begin(), told.end(), [&](const Told& t) { return t.name == interface; });
  return found != told.end() ? &found->findings : nullptr;
}

Numbers AskNumbers(const std::vector<FlatBuffers::GPUT>& gpus, const Interfaces::Helper& helper) {
  std::vector<std::optional<PCIPlace>> places(gpus.size());
  std::transform(gpus.begin(), gpus.end(), places.begin(), PlaceOf);
  auto told = Interfaces::AskInterfaces(helper);
  auto joined = Interfaces::Join(places, told);
  return {std::move(told), std::move(joined)};
}

Json NumbersJson(const std::vector<Known>& known) {
  Json list = Json::array();
  for (const Known& k : known) {
    Json entry = {{"interface", k.interface}, {"joined_by", k.by}, {"disputed", k.is_disputed}};
    entry.update(ToJson(k.device));
    list.push_back(entry);
  }
  return list;
}

Json IdsJson(const std::vector<FlatBuffers::GPUT>& gpus, const Numbers& numbers,
             const std::vector<std::size_t>& chosen) {
  Json list = Json::array();
  for (const std::size_t i : chosen) {
    const auto& gpu = gpus[i];
    list.push_back({{"id", gpu.id}, {"name", gpu.name}, {"known_as", NumbersJson(numbers.joined.gpus[i])}});
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
  document.update({{"gpus", list},
                   {"none_of_these", others},
                   {"contradictions", numbers.joined.contradictions},
                   {"interfaces", interfaces}});
  return document;
}

}  // namespace Vexil::Cli
