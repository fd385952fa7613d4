#include <algorithm>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

struct PCIInfo {
  char bus_id_legacy[16];
  unsigned domain;
  unsigned bus;
  unsigned device;
  unsigned pci_device_id;
  unsigned pci_subsystem_id;
  char bus_id[32];
};
static_assert(sizeof(PCIInfo) == 68);

/// NVIDIA's management library.
class NVML : public VendorLibrary {
 public:
  NVML() : VendorLibrary("nvml.dll") {}
  ~NVML() {
    if (m_is_up) nvmlShutdown();
  }

  bool Start() { return m_is_up = Open() && Resolve() == nullptr && Starts(nvmlInit_v2); }

  using Handle = void*;
  Entry<int()> nvmlInit_v2{*this, "nvmlInit_v2"};
  Entry<int()> nvmlShutdown{*this, "nvmlShutdown"};
  Entry<int(unsigned* count)> nvmlDeviceGetCount_v2{*this, "nvmlDeviceGetCount_v2"};
  Entry<int(unsigned index, Handle*)> nvmlDeviceGetHandleByIndex_v2{*this, "nvmlDeviceGetHandleByIndex_v2"};
  Entry<int(Handle, char* uuid, unsigned length)> nvmlDeviceGetUUID{*this, "nvmlDeviceGetUUID", Need::Optional};
  Entry<int(Handle, PCIInfo*)> nvmlDeviceGetPciInfo_v3{*this, "nvmlDeviceGetPciInfo_v3", Need::Optional};

 private:
  bool m_is_up = false;
};

Device Describe(NVML& nvml, NVML::Handle handle) {
  Device device;
  // As long as the texts of parts of a GPU are.
  char uuid[96] = {};
  if (nvml.nvmlDeviceGetUUID &&
      nvml.Tells("uuid", nvml.nvmlDeviceGetUUID, handle, uuid, static_cast<unsigned>(sizeof(uuid)))) {
    device.uuid = TextInBuffer(uuid);
    device.has_shared_uuid = !device.uuid.empty();
  }
  PCIInfo info = {};
  if (nvml.nvmlDeviceGetPciInfo_v3 && nvml.Tells("pci", nvml.nvmlDeviceGetPciInfo_v3, handle, &info)) {
    // NVML has no functions of a device but the first.
    device.pci = PCIPlace{info.domain, info.bus, info.device, 0};
  }
  return device;
}

}  // namespace

Findings AskNVML() {
  NVML nvml;
  std::vector<Device> devices;
  unsigned count = 0;
  if (nvml.Start() && nvml.Lists(nvml.nvmlDeviceGetCount_v2, &count)) {
    for (unsigned index = 0; index < std::min(count, kMaxItems); ++index) {
      nvml.TheAccount().About("device", index);
      NVML::Handle handle = nullptr;
      if (!nvml.Tells("", nvml.nvmlDeviceGetHandleByIndex_v2, index, &handle)) continue;
      devices.push_back(Describe(nvml, handle));
      devices.back().number = std::to_string(index);
    }
  }
  return MakeFindings(std::move(devices), nvml.TakeAccount());
}

}  // namespace Vexil::Interfaces
