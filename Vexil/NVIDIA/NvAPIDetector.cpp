#include "Vexil/NVIDIA/NvAPIDetector.h"

#include <algorithm>
#include <span>
#include <string>

#include "Vexil/Common/InsertionOrderedMap.h"
#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/NVIDIA/NvAPI.h"

namespace Vexil {

using FlatBuffers::GPUType;
using FlatBuffers::NvAPIGPUT;

namespace {

constexpr const char* kDisplays = "display_names";

/// NVAPI, up as long as this lives.
class NvAPISession {
 public:
  explicit NvAPISession(Account& account) : m_up(NvAPI_Initialize(account) == NVAPI_OK) {}
  ~NvAPISession() {
    if (m_up) NvAPI_Unload();
  }
  NvAPISession(const NvAPISession&) = delete;
  NvAPISession& operator=(const NvAPISession&) = delete;

  bool IsUp() const { return m_up; }

 private:
  bool m_up;
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
bool ReadText(Account& account, const char* field, const Query& query, Handle handle, std::string& text) {
  NvAPI_ShortString buffer = {};
  if (!query.Tells(account, field, handle, buffer)) return false;
  text = TextInBuffer(buffer);
  return true;
}

template <typename Query>
void ReadNumber(Account& account, const char* name, const Query& query, NvPhysicalGpuHandle gpu, std::int32_t& field) {
  NvU32 value = 0;
  if (query.Tells(account, name, gpu, &value)) field = ToField(value);
}

/// False behind the last display, and where NVAPI fails.
template <typename Handle>
bool GetDisplay(Account& account, const NvAPIFunction<NvU32, Handle*>& query, NvU32 index, Handle& display) {
  const NvAPI_Status status = query(index, &display);
  if (status != NVAPI_OK && status != NVAPI_END_ENUMERATION) query.NoteFailure(account, status, kDisplays);
  return status == NVAPI_OK;
}

void AddAttachedDisplays(Account& account, DisplayTable& displays) {
  for (NvU32 index = 0; index < kMaxItems; ++index) {
    account.About("display", index);
    NvDisplayHandle display = nullptr;
    if (!GetDisplay(account, NvAPI_EnumNvidiaDisplayHandle, index, display)) return;
    std::string name;
    NvPhysicalGpuHandle gpus[NVAPI_MAX_PHYSICAL_GPUS] = {};
    NvU32 count = 0;
    if (!ReadText(account, kDisplays, NvAPI_GetAssociatedNvidiaDisplayName, display, name) ||
        !NvAPI_GetPhysicalGPUsFromDisplay.Tells(account, kDisplays, display, gpus, &count)) {
      continue;
    }
    std::for_each_n(gpus, std::min(count, NVAPI_MAX_PHYSICAL_GPUS),
                    [&](NvPhysicalGpuHandle gpu) { displays.Add(gpu, name); });
  }
}

void AddUnattachedDisplays(Account& account, DisplayTable& displays) {
  for (NvU32 index = 0; index < kMaxItems; ++index) {
    account.About("unattached display", index);
    NvUnAttachedDisplayHandle display = nullptr;
    if (!GetDisplay(account, NvAPI_EnumNvidiaUnAttachedDisplayHandle, index, display)) return;
    std::string name;
    NvPhysicalGpuHandle gpu = nullptr;
    if (ReadText(account, kDisplays, NvAPI_GetUnAttachedAssociatedDisplayName, display, name) &&
        NvAPI_GetPhysicalGPUFromUnAttachedDisplay.Tells(account, kDisplays, display, &gpu)) {
      displays.Add(gpu, name);
    }
  }
}

GPUType ReadGPUType(Account& account, NvPhysicalGpuHandle handle) {
  NvU32 type = 0;
  if (!NvAPI_GPU_GetGPUType.Tells(account, "type", handle, &type)) return GPUType::Unknown;
  switch (type) {
    case NV_SYSTEM_TYPE_IGPU: return GPUType::Integrated;
    case NV_SYSTEM_TYPE_DGPU: return GPUType::Discrete;
    default: return GPUType::Unknown;
  }
}

NvAPIGPUT ReadGPU(Account& account, NvPhysicalGpuHandle handle) {
  NvAPIGPUT gpu;
  gpu.handle = reinterpret_cast<std::uintptr_t>(handle);
  ReadText(account, "name", NvAPI_GPU_GetFullName, handle, gpu.name);
  ReadText(account, "vbios_version", NvAPI_GPU_GetVbiosVersionString, handle, gpu.vbios_version);
  ReadNumber(account, "pci_bus", NvAPI_GPU_GetBusId, handle, gpu.pci_bus);
  ReadNumber(account, "pci_device", NvAPI_GPU_GetBusSlotId, handle, gpu.pci_device);

  NvU32 device = 0;
  NvU32 subsystem = 0;
  NvU32 revision = 0;
  NvU32 external_device = 0;
  if (NvAPI_GPU_GetPCIIdentifiers.Tells(account, "external_device_id, subsystem_id, revision_id", handle, &device,
                                        &subsystem, &revision, &external_device)) {
    gpu.external_device_id = ToField(external_device);
    gpu.subsystem_id = ToField(subsystem);
    gpu.revision_id = ToField(revision);
  }

  ReadNumber(account, "pcie_link_width", NvAPI_GPU_GetCurrentPCIEDownstreamWidth, handle, gpu.pcie_link_width);
  NvU32 system_type = 0;
  gpu.is_laptop =
      NvAPI_GPU_GetSystemType.Tells(account, "is_laptop", handle, &system_type) && system_type == NV_SYSTEM_TYPE_LAPTOP;
  gpu.type = ReadGPUType(account, handle);
  return gpu;
}

std::vector<NvAPIGPUT> ReadGPUs(Account& account) {
  const NvAPISession session(account);
  if (!session.IsUp()) return {};
  NvPhysicalGpuHandle handles[NVAPI_MAX_PHYSICAL_GPUS] = {};
  NvU32 count = 0;
  if (!NvAPI_EnumPhysicalGPUs.Tells(account, "", handles, &count)) return {};

  DisplayTable displays;
  AddAttachedDisplays(account, displays);
  AddUnattachedDisplays(account, displays);
  std::vector<NvAPIGPUT> gpus;
  for (NvU32 index = 0; index < std::min(count, NVAPI_MAX_PHYSICAL_GPUS); ++index) {
    if (handles[index] == nullptr) continue;
    account.About("GPU", index);
    gpus.push_back(ReadGPU(account, handles[index]));
    gpus.back().display_names = displays.NamesOf(handles[index]);
  }
  return gpus;
}

}  // namespace

Answer<NvAPIGPUT> GetNvAPIGPUs() {
  Answer<NvAPIGPUT> answer;
  answer.records = ReadGPUs(answer.account);
  return answer;
}

namespace {

NvAPI_Status ReadMemory(NvPhysicalGpuHandle handle, NV_DISPLAY_DRIVER_MEMORY_INFO_V3& info) {
  info = {};
  info.version = NV_DISPLAY_DRIVER_MEMORY_INFO_VER_3;
  return NvAPI_GPU_GetMemoryInfo(handle, &info);
}

/// The handle that the GPU at this place has by now, of several the last one's; null where there is none.
NvPhysicalGpuHandle FindHandle(std::int32_t bus, std::int32_t device) {
  NvPhysicalGpuHandle handles[NVAPI_MAX_PHYSICAL_GPUS] = {};
  NvU32 count = 0;
  if (bus == kUnknown || device == kUnknown || NvAPI_EnumPhysicalGPUs(handles, &count) != NVAPI_OK) return nullptr;
  const auto is_there = [=](NvPhysicalGpuHandle handle) {
    NvU32 its_bus = 0;
    NvU32 its_slot = 0;
    return handle != nullptr && NvAPI_GPU_GetBusId(handle, &its_bus) == NVAPI_OK && ToField(its_bus) == bus &&
           NvAPI_GPU_GetBusSlotId(handle, &its_slot) == NVAPI_OK && ToField(its_slot) == device;
  };
  const std::span<NvPhysicalGpuHandle> listed(handles, std::min(count, NVAPI_MAX_PHYSICAL_GPUS));
  const auto found = std::find_if(listed.rbegin(), listed.rend(), is_there);
  return found != listed.rend() ? *found : nullptr;
}

}  // namespace

bool GetNvAPIMemoryInfo(const NvAPIGPUT& gpu, std::uint64_t& available, std::uint64_t& total) {
  available = 0;
  total = 0;
  if (gpu.handle == 0) return false;
  NV_DISPLAY_DRIVER_MEMORY_INFO_V3 info = {};
  NvAPI_Status status =
      ReadMemory(reinterpret_cast<NvPhysicalGpuHandle>(static_cast<std::uintptr_t>(gpu.handle)), info);
  // Handles are good until NVAPI goes down or the driver sets up its GPUs again.
  if (status == NVAPI_INVALID_HANDLE || status == NVAPI_HANDLE_INVALIDATED ||
      status == NVAPI_EXPECTED_PHYSICAL_GPU_HANDLE) {
    NvPhysicalGpuHandle handle = FindHandle(gpu.pci_bus, gpu.pci_device);
    if (handle != nullptr) status = ReadMemory(handle, info);
  }
  if (status != NVAPI_OK) return false;
  // 1000 bytes, not 1024, although the driver counts KiB: hosts have always been given these figures.
  available = std::uint64_t{info.curAvailableDedicatedVideoMemory} * 1000;
  total = std::uint64_t{info.availableDedicatedVideoMemory} * 1000;
  return true;
}

}  // namespace Vexil
