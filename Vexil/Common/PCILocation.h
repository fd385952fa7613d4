#pragma once

#include <cstdint>
#include <string>

#include "Vexil/Common/Unknown.h"

namespace Vexil {

/// Where a device sits on the PCI bus, as far as its source tells.
struct PCILocation {
  std::int32_t bus = kUnknown;
  std::int32_t device = kUnknown;
  std::int32_t function = kUnknown;
};

/// Device and function as Windows packs them: 0x00030001 is device 3, function 1.
constexpr void SetDeviceAndFunction(PCILocation& location, std::uint32_t address) {
  location.device = static_cast<std::int32_t>(address >> 16);
  location.function = static_cast<std::int32_t>(address & 0xFFFFU);
}

template <typename Record>
void SetPCILocation(Record& record, const PCILocation& location) {
  record.pci_bus = location.bus;
  record.pci_device = location.device;
  record.pci_function = location.function;
}

/// "PCI:bus:device", and ".function" where that is known. Unknown numbers read -1.
std::string PCILocationText(const PCILocation& location);

/// True when a record of some source says that it is at this bus and device. The function does not
/// count: most sources cannot tell it.
template <typename Record>
bool IsAt(const Record& record, std::int32_t bus, std::int32_t device) {
  return record.pci_bus == bus && record.pci_device == device;
}

}  // namespace Vexil
