#include "interfaces/Interfaces.h"
#include "interfaces/platform/Adapters.h"

namespace Vexil::Interfaces {

Findings AskWindows() {
  std::vector<Device> devices;
  for (const DisplayNode& node : GetDisplayNodes()) {
    Device& device = devices.emplace_back();
    device.number = node.instance;
    device.name = node.name;
    device.luid = node.luid != 0U ? node.luid : std::nullopt;
    // Devices that are on no bus tell all bits set.
    constexpr std::uint32_t kNone = 0xFFFFFFFF;
    if (node.bus.value_or(kNone) != kNone && node.address.value_or(kNone) != kNone) {
      device.pci = PCIPlace{{}, *node.bus, *node.address >> 16, *node.address & 0xFFFF};
    }
    if (!node.driver_version.empty()) device.more.emplace_back("driver_version", node.driver_version);
    if (!node.driver_date.empty()) device.more.emplace_back("driver_date", node.driver_date);
    if (node.physical_index) device.more.emplace_back("physical_index", std::to_string(*node.physical_index));
  }
  return MakeFindings(std::move(devices), {});
}

}  // namespace Vexil::Interfaces
