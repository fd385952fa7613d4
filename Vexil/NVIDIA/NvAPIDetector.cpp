#include "NVIDIA/NvAPIDetector.h"

#include <algorithm>
#include <string>

#include "Common/InsertionOrderedMap.h"
#include "Common/Limits.h"
#include "Common/Text.h"
#include "Common/Unknown.h"
#include "NVIDIA/NvAPI.h"

namespace Vexil {

using FlatBuffers::GPUType;
using FlatBuffers::NvAPIGPUT;

namespace {

/// NVAPI, up as long as this lives.
class NvAPISession {
 public:
  NvAPISession() = default;
  ~NvAPISession() {
    if (m_up) NvAPI_Unload();
  }
  NvAPISession(const NvAPISession&) = delete;
  NvAPISession& operator=(const NvAPISession&) = delete;

  bool IsUp() const { return m_up; }

 private:
  bool m_up = NvAPI_Initialize() == NVAPI_OK;
};

/// Which displays hang off which GPU; each name once.
class DisplayTable {
 public:
  void Add(NvPhysicalGpuHandle gpu, const std::string& display) {
    auto& names = m_names[gpu];
    if (std::find(names.begin(), names.end(), display) == names.end()) names.push_back(display);
  }
  const std::vector<std::string>& NamesOf(NvPhysicalGpuHandle gpu) { return m_names[gpu]; }

 private:
  InsertionOrderedMap<NvPhysicalGpuHandle, std::vector<std::string>> m_names;
};

template <typename Handle, typename Query>
bool ReadText(const Query& query, Handle handle, std::string& text) {
  NvAPI_ShortString buffer = {};
  if (query(handle, buffer) != NVAPI_OK) return false;
  text = TextInBuffer(buffer);
  return true;
}

template <typename Query>
void ReadNumber(const Query& query, NvPhysicalGpuHandle gpu, std::int32_t& field) {
  NvU32 value = 0;
  if (query(gpu, &value) == NVAPI_OK) field = ToField(value);
}

void AddAttachedDisplays(DisplayTable& displays) {
  for (NvU32 index = 0; index < kMaxItems; ++index) {
    NvDisplayHandle display = nullptr;
    if (NvAPI_EnumNvidiaDisplayHandle(index, &display) != NVAPI_OK) return;
    std::string name;
    NvPhysicalGpuHandle gpus[NVAPI_MAX_PHYSICAL_GPUS] = {};
    NvU32 count = 0;
    if (!ReadText(NvAPI_GetAssociatedNvidiaDisplayName, display, name) ||
        NvAPI_GetPhysicalGPUsFromDisplay(display, gpus, &count) != NVAPI_OK) {
      continue;
    }
    std::for_each_n(gpus, std::min(count, NVAPI_MAX_PHYSICAL_GPUS),
                    [&](NvPhysicalGpuHandle gpu) { displays.Add(gpu, name); });
  }
}

void AddUnattachedDisplays(DisplayTable& displays) {
  for (NvU32 index = 0; index < kMaxItems; ++index) {
    NvUnAttachedDisplayHandle display = nullptr;
    if (NvAPI_EnumNvidiaUnAttachedDisplayHandle(index, &display) != NVAPI_OK) return;
    std::string name;
    NvPhysicalGpuHandle gpu = nullptr;
    if (ReadText(NvAPI_GetUnAttachedAssociatedDisplayName, display, name) &&
        NvAPI_GetPhysicalGPUFromUnAttachedDisplay(display, &gpu) == NVAPI_OK) {
      displays.Add(gpu, name);
    }
  }
}

GPUType ReadGPUType(NvPhysicalGpuHandle handle) {
  NvU32 type = 0;
  if (NvAPI_GPU_GetGPUType(handle, &type) != NVAPI_OK) return GPUType::Unknown;
  switch (type) {
    case NV_SYSTEM_TYPE_IGPU: return GPUType::Integrated;
    case NV_SYSTEM_TYPE_DGPU: return GPUType::Discrete;
    default: return GPUType::Unknown;
  }
}

NvAPIGPUT ReadGPU(NvPhysicalGpuHandle handle) {
  NvAPIGPUT gpu;
  gpu.handle = reinterpret_cast<std::uintptr_t>(handle);
  ReadText(NvAPI_GPU_GetFullName, handle, gpu.name);
  ReadText(NvAPI_GPU_GetVbiosVersionString, handle, gpu.vbios_version);
  ReadNumber(NvAPI_GPU_GetBusId, handle, gpu.pci_bus);
  ReadNumber(NvAPI_GPU_GetBusSlotId, handle, gpu.pci_device);

  NvU32 device = 0;
  NvU32 subsystem = 0;
  NvU32 revision = 0;
  NvU32 external_device = 0;
  if (NvAPI_GPU_GetPCIIdentifiers(handle, &device, &subsystem, &revision, &external_device) == NVAPI_OK) {
    gpu.external_device_id = ToField(external_device);
    gpu.subsystem_id = ToField(subsystem);
    gpu.revision_id = ToField(revision);
  }

  ReadNumber(NvAPI_GPU_GetCurrentPCIEDownstreamWidth, handle, gpu.pcie_link_width);
  NvU32 system_type = 0;
  gpu.is_laptop = NvAPI_GPU_GetSystemType(handle, &system_type) == NVAPI_OK && system_type == NV_SYSTEM_TYPE_LAPTOP;
  gpu.type = ReadGPUType(handle);
  return gpu;
}

}  // namespace

std::vector<NvAPIGPUT> GetNvAPIGPUs() {
  const NvAPISession session;
  if (!session.IsUp()) return {};
  NvPhysicalGpuHandle handles[NVAPI_MAX_PHYSICAL_GPUS] = {};
  NvU32 count = 0;
  if (NvAPI_EnumPhysicalGPUs(handles, &count) != NVAPI_OK) return {};

  DisplayTable displays;
  AddAttachedDisplays(displays);
  AddUnattachedDisplays(displays);
  std::vector<NvAPIGPUT> gpus;
  std::for_each_n(handles, std::min(count, NVAPI_MAX_PHYSICAL_GPUS), [&](NvPhysicalGpuHandle handle) {
    if (handle == nullptr) return;
    gpus.push_back(ReadGPU(handle));
    gpus.back().display_names = displays.NamesOf(handle);
  });
  return gpus;
}

bool GetNvAPIMemoryInfo(const NvAPIGPUT& gpu, std::uint64_t& available, std::uint64_t& total) {
  available = 0;
  total = 0;
  if (gpu.handle == 0) return false;
  NV_DISPLAY_DRIVER_MEMORY_INFO_V3 info = {};
  info.version = NV_DISPLAY_DRIVER_MEMORY_INFO_VER_3;
  const auto handle = reinterpret_cast<NvPhysicalGpuHandle>(static_cast<std::uintptr_t>(gpu.handle));
  if (NvAPI_GPU_GetMemoryInfo(handle, &info) != NVAPI_OK) return false;
  // The driver counts kilobytes of 1000 bytes for this purpose.
  available = std::uint64_t{info.curAvailableDedicatedVideoMemory} * 1000;
  total = std::uint64_t{info.availableDedicatedVideoMemory} * 1000;
  return true;
}

}  // namespace Vexil
