#include "Vexil/DetectGPUWindows/DisplayDeviceDetector.h"

#include "Vexil/Common/InsertionOrderedMap.h"
#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Log.h"
#include "Vexil/Common/Patterns.h"
#include "Vexil/Common/Text.h"
#include "Vexil/DetectGPUWindows/Monitors.h"
#include "Vexil/Platform/DisplayClass.h"
#include "Vexil/Platform/DisplayDevices.h"
#include "Vexil/Platform/Registry.h"

namespace Vexil {

using FlatBuffers::EnumDisplayDevicesGPUT;

namespace {

bool HasFlag(const DisplayDevice& device, std::uint32_t flag) { return (device.state_flags & flag) != 0; }

/// Visits every output of every adapter until `visit` returns false.
template <typename Visit>
void ForEachAdapterOutput(const Visit& visit) {
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    const auto output = GetAdapterOutput(index);
    if (!output || !visit(*output)) return;
  }
}

void AddOutput(const DisplayDevice& output, EnumDisplayDevicesGPUT& gpu, Account& account) {
  gpu.device_names.push_back(output.name);
  if (HasFlag(output, kAttachedToDesktop) && !HasFlag(output, kMirroringDriver)) {
    AddMonitorsOn(output.name, HasFlag(output, kPrimaryDevice), gpu.monitors, account);
  }
}

/// The record of an adapter met for the first time. False where it has no driver.
bool MakeGPU(const DisplayDevice& output, EnumDisplayDevicesGPUT& gpu, Account& account) {
  AddOutput(output, gpu, account);
  gpu.name = output.description;
  gpu.device_id = output.id;
  gpu.provider = GetAdapterProviderName(output.key);
  gpu.driver = GetAdapterDriverKey(output.key);
  if (gpu.provider.empty() || gpu.driver.empty()) {
    LOG_ERROR_AND_REMARK(account.remarks,
                         "Failed to find provider information of device '{}': provider '{}' driver '{}'", gpu.name,
                         gpu.provider, gpu.driver);
    return false;
  }
  gpu.is_primary = HasFlag(output, kPrimaryDevice);
  gpu.is_removable = HasFlag(output, kRemovable);
  SetPCILocation(gpu, GetAdapterPCILocation(gpu.driver, account));
  return true;
}

}  // namespace

Answer<EnumDisplayDevicesGPUT> GetEnumDisplayDevicesGPUs() {
  Answer<EnumDisplayDevicesGPUT> answer;
  InsertionOrderedMap<std::string, EnumDisplayDevicesGPUT> gpu_with;
  bool has_outputs = false;
  ForEachAdapterOutput([&](const DisplayDevice& output) {
    has_outputs = true;
    answer.account.About(output.name);
    const std::string key = BracedText(output.key);
    if (key.empty()) return true;
    if (EnumDisplayDevicesGPUT* known = gpu_with.Find(key)) {
      AddOutput(output, *known, answer.account);
      return true;
    }
    EnumDisplayDevicesGPUT gpu;
    gpu.key = key;
    if (MakeGPU(output, gpu, answer.account)) gpu_with[key] = std::move(gpu);
    return true;
  });

  if (!has_outputs) answer.account.Miss("", "EnumDisplayDevicesA");
  for (auto& [key, gpu] : gpu_with) answer.records.push_back(std::move(gpu));
  return answer;
}

bool HasCitrixIndirectDisplay() {
  bool found = false;
  ForEachAdapterOutput([&](const DisplayDevice& output) {
    found = ContainsNoCase(output.description, "Citrix Indirect Display Adapter");
    return !found;
  });
  return found;
}

std::string GetAdapterDriverKey(const std::string& device_key) {
  const std::string path = CurrentControlSetParentPath(device_key);
  return path.empty() ? std::string() : ReadRegistryString(path + "\\Video", "Driver");
}

std::string GetAdapterProviderName(const std::string& device_key) {
  const std::string path = CurrentControlSetPath(device_key);
  return path.empty() ? std::string() : ReadRegistryString(path, "ProviderName");
}

PCILocation GetAdapterPCILocation(const std::string& driver_key, Account& account) {
  PCILocation location;
  const char* failed_call = "SetupDiGetDeviceRegistryPropertyA SPDRP_DRIVER";
  DisplayClassDevices devices;
  while (devices.Next()) {
    if (devices.DriverKey() != driver_key) continue;
    const auto bus = devices.BusNumber();
    const auto address = bus ? devices.Address() : std::nullopt;
    if (address) {
      location.bus = ToField(*bus);
      SetDeviceAndFunction(location, *address);
      return location;
    }
    failed_call =
        bus ? "SetupDiGetDeviceRegistryPropertyA SPDRP_ADDRESS" : "SetupDiGetDeviceRegistryPropertyA SPDRP_BUSNUMBER";
  }
  account.Miss("pci_bus, pci_device, pci_function", failed_call);
  return location;
}

}  // namespace Vexil
