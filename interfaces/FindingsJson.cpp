#include "interfaces/FindingsJson.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Vexil::Interfaces {
namespace {

constexpr std::array kStateNames = {"answered", "absent", "failed"};

Device DeviceFromJson(const Json& json) {
  Device device;
  for (const auto& [name, value] : json.items()) {
    if (name == "node_mask") {
      device.node_mask = value.get<std::uint32_t>();
    } else if (name == "shared_uuid") {
      device.has_shared_uuid = value.get<bool>();
    } else if (const auto text = value.get<std::string>(); name == "number") {
      device.number = text;
    } else if (name == "name") {
      device.name = text;
    } else if (name == "luid") {
      std::uint64_t luid = 0;
      if (text.size() > 2) std::from_chars(text.data() + 2, text.data() + text.size(), luid, 16);
      device.luid = ToLUID(&luid);
    } else if (name == "pci") {
      device.pci = ParsePCIText(text);
    } else if (name == "uuid") {
      device.uuid = text;
    } else {
      device.more.emplace_back(name, text);
    }
  }
  return device;
}

}  // namespace

const char* StateName(State state) { return kStateNames.at(static_cast<std::size_t>(state)); }

Json ToJson(const Device& device) {
  Json json = {{"number", device.number}};
  if (!device.name.empty()) json["name"] = device.name;
  if (device.luid) json["luid"] = LUIDText(*device.luid);
  if (device.node_mask) json["node_mask"] = *device.node_mask;
  if (device.pci) json["pci"] = PCIText(*device.pci);
  if (!device.uuid.empty()) json["uuid"] = device.uuid;
  if (device.has_shared_uuid) json["shared_uuid"] = true;
  for (const auto& [name, value] : device.more) json[name] = value;
  return json;
}

Json ToJson(const Findings& findings) {
  Json json = {{"state", StateName(findings.state)},
               {"problems", findings.problems},
               {"cleared", findings.cleared},
               {"devices", Json::array()}};
  for (const Device& device : findings.devices) json["devices"].push_back(ToJson(device));
  return json;
}

std::optional<Findings> FromJson(const Json& json) {
  try {
    Findings findings;
    const auto state = std::find(kStateNames.begin(), kStateNames.end(), json.at("state").get<std::string>());
    if (state == kStateNames.end()) return std::nullopt;
    findings.state = static_cast<State>(state - kStateNames.begin());
    json.at("problems").get_to(findings.problems);
    json.at("cleared").get_to(findings.cleared);
    for (const Json& device : json.at("devices")) findings.devices.push_back(DeviceFromJson(device));
    return findings;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

}  // namespace Vexil::Interfaces
