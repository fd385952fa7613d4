#include <fmt/format.h>
#include <level_zero/ze_api.h>

#include <algorithm>
#include <cstring>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

class LevelZero : public VendorLibrary {
 public:
  LevelZero() : VendorLibrary("ze_loader.dll") {}

  bool Start() { return Open() && Resolve() == nullptr && Starts(zeInit, ze_init_flags_t{ZE_INIT_FLAG_GPU_ONLY}); }

  /// The handles that `query(count, handles)` lists.
  template <typename Handle, typename Query>
  std::vector<Handle> List(const Query& query) {
    std::uint32_t count = 0;
    std::vector<Handle> handles;
    if (!query(&count, nullptr) || count == 0) return handles;
    handles.resize(std::min(count, kMaxItems));
    count = static_cast<std::uint32_t>(handles.size());
    if (!query(&count, handles.data())) return {};
    handles.resize(std::min<std::size_t>(count, handles.size()));
    return handles;
  }

  Entry<int(ze_init_flags_t)> zeInit{*this, "zeInit"};
  Entry<int(std::uint32_t*, ze_driver_handle_t*)> zeDriverGet{*this, "zeDriverGet"};
  Entry<int(ze_driver_handle_t, std::uint32_t*, ze_device_handle_t*)> zeDeviceGet{*this, "zeDeviceGet"};
  Entry<int(ze_device_handle_t, ze_device_properties_t*)> zeDeviceGetProperties{*this, "zeDeviceGetProperties"};
  Entry<int(ze_device_handle_t, ze_pci_ext_properties_t*)> zeDevicePciGetPropertiesExt{
      *this, "zeDevicePciGetPropertiesExt", Need::Optional};
};

void Identify(LevelZero& level_zero, ze_device_handle_t handle, Device& device) {
  // In a call of its own: drivers that do not know the chained structure fail all of it.
  ze_device_luid_ext_properties_t luid = {};
  luid.stype = ZE_STRUCTURE_TYPE_DEVICE_LUID_EXT_PROPERTIES;
  ze_device_properties_t properties = {};
  properties.stype = ZE_STRUCTURE_TYPE_DEVICE_PROPERTIES;
  properties.pNext = &luid;
  if (level_zero.zeDeviceGetProperties(handle, &properties) == ZE_RESULT_SUCCESS) {
    device.luid = ToLUID(luid.luid.id);
    if (device.luid) device.node_mask = luid.nodeMask;
  }
  ze_pci_ext_properties_t place = {};
  place.stype = ZE_STRUCTURE_TYPE_PCI_EXT_PROPERTIES;
  if (level_zero.zeDevicePciGetPropertiesExt &&
      level_zero.Tells("pci", level_zero.zeDevicePciGetPropertiesExt, handle, &place)) {
    // Intel's domain is zero on Windows, wherever the device is.
    device.pci = PCIPlace{{}, place.address.bus, place.address.device, place.address.function};
  }
}

}  // namespace

Findings AskLevelZero() {
  LevelZero level_zero;
  std::vector<Device> devices;
  std::vector<ze_driver_handle_t> drivers;
  if (level_zero.Start()) {
    drivers = level_zero.List<ze_driver_handle_t>([&](std::uint32_t* count, ze_driver_handle_t* list) {
      return level_zero.Lists(level_zero.zeDriverGet, count, list);
    });
  }
  for (std::size_t driver = 0; driver < drivers.size(); ++driver) {
    level_zero.TheAccount().About("driver", static_cast<std::int64_t>(driver));
    const auto handles = level_zero.List<ze_device_handle_t>([&](std::uint32_t* count, ze_device_handle_t* list) {
      return level_zero.Tells("", level_zero.zeDeviceGet, drivers[driver], count, list);
    });
    for (std::size_t index = 0; index < handles.size(); ++index) {
      ze_device_properties_t properties = {};
      properties.stype = ZE_STRUCTURE_TYPE_DEVICE_PROPERTIES;
      if (!level_zero.Tells("", level_zero.zeDeviceGetProperties, handles[index], &properties)) continue;
      // A driver may tell a number that is no enumerator.
      std::uint32_t type = 0;
      std::memcpy(&type, &properties.type, sizeof(type));
      if (type != ZE_DEVICE_TYPE_GPU) continue;
      Device& device = devices.emplace_back();
      device.number = fmt::format("{}:{}", driver, index);
      device.name = TextInBuffer(properties.name);
      device.uuid = UUIDText(properties.uuid.id);
      Identify(level_zero, handles[index], device);
    }
  }
  return MakeFindings(std::move(devices), level_zero.TakeAccount());
}

}  // namespace Vexil::Interfaces
