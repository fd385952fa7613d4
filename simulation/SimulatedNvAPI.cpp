#include <array>
#include <cstddef>
#include <cstring>

#include "simulation/SimulatedLibraries.h"

// nvapi64.dll: one export, which hands out the functions by number.

namespace Vexil::Simulation {
namespace {

using Number = std::uint32_t;
using Handle = void*;
using ShortString = char[64];
constexpr std::size_t kMostGPUs = 64;

constexpr int kOK = 0;
constexpr int kError = -1;
constexpr int kNotInitialized = -4;
constexpr int kEndEnumeration = -7;
constexpr int kIncompatibleStructVersion = -9;
constexpr int kHandleInvalidated = -10;
constexpr int kNotSupported = -104;

constexpr const char* kName = "nvapi64.dll";
constexpr std::uintptr_t kFirstGPU = 0xA0100;
constexpr std::uintptr_t kFirstDisplay = 0xA0200;

/// The GPUs' handles die with the last NvAPI_Unload: when NVAPI is up again they have other values.
std::uintptr_t FirstGPU() {
  const auto starts = Observed().starts.find(kName);
  return kFirstGPU + (starts != Observed().starts.end() ? static_cast<std::uintptr_t>(starts->second - 1) * 0x1000 : 0);
}

Handle GPUHandle(std::size_t index) { return reinterpret_cast<Handle>(FirstGPU() + index); }
std::int64_t IndexFrom(std::uintptr_t first, Handle handle) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(handle)) - static_cast<std::int64_t>(first);
}

/// Why a call cannot be answered; 0 where it can.
int Refusal(const char* call, std::int64_t device = kNoDevice) {
  if (EntryFails(SimulatedNVAPI(), call, {}, device)) return kError;
  return IsUp(kName) ? kOK : kNotInitialized;
}

int Refusal(const char* call, Handle gpu, const NVAPIGPU*& found) {
  if (const int refusal = Refusal(call, IndexFrom(FirstGPU(), gpu))) return refusal;
  found = At(TheMachine().nvapi->gpus, IndexFrom(FirstGPU(), gpu));
  return found != nullptr ? kOK : kHandleInvalidated;
}

int Refusal(const char* call, Handle display, const NVAPIDisplay*& found) {
  if (const int refusal = Refusal(call, IndexFrom(kFirstDisplay, display))) return refusal;
  found = At(TheMachine().nvapi->displays, IndexFrom(kFirstDisplay, display));
  return found != nullptr ? kOK : kHandleInvalidated;
}

int Initialize() {
  if (EntryFails(SimulatedNVAPI(), "NvAPI_Initialize")) return kError;
  CountUp(kName, 1);
  return kOK;
}

int Unload() { return CountDown(kName, Refusal("NvAPI_Unload")); }

int GetDriverAndBranchVersion(Number* version, ShortString branch) {
  if (const int refusal = Refusal("NvAPI_SYS_GetDriverAndBranchVersion")) return refusal;
  *version = TheMachine().nvapi->driver_version;
  WriteText("r535_00", branch, sizeof(ShortString));
  return kOK;
}

int EnumPhysicalGPUs(Handle* gpus, Number* count) {
  if (const int refusal = Refusal("NvAPI_EnumPhysicalGPUs")) return refusal;
  const NVAPI& nvapi = *TheMachine().nvapi;
  for (std::size_t index = 0; index < std::min(nvapi.gpus.size(), kMostGPUs); ++index) gpus[index] = GPUHandle(index);
  *count = Count<Number>(nvapi.claimed_count, nvapi.gpus);
  return kOK;
}

int EnumDisplays(const char* call, bool attached, Number index, Handle* display) {
  if (const int refusal = Refusal(call, index)) return refusal;
  const NVAPI& nvapi = *TheMachine().nvapi;
  std::vector<Handle> found;
  for (std::size_t i = 0; i < nvapi.displays.size(); ++i) {
    if (nvapi.displays[i].attached == attached) found.push_back(reinterpret_cast<Handle>(kFirstDisplay + i));
  }
  if (found.empty() || (index >= found.size() && !nvapi.has_endless_displays)) return kEndEnumeration;
  *display = found[index % found.size()];
  return kOK;
}

int EnumDisplayHandle(Number index, Handle* display) {
  return EnumDisplays("NvAPI_EnumNvidiaDisplayHandle", true, index, display);
}

int EnumUnAttachedDisplayHandle(Number index, Handle* display) {
  return EnumDisplays("NvAPI_EnumNvidiaUnAttachedDisplayHandle", false, index, display);
}

int TellDisplayName(const char* call, Handle display, char* name) {
  const NVAPIDisplay* found = nullptr;
  if (const int refusal = Refusal(call, display, found)) return refusal;
  WriteText(found->name, name, sizeof(ShortString));
  return kOK;
}

int GetAssociatedDisplayName(Handle display, ShortString name) {
  return TellDisplayName("NvAPI_GetAssociatedNvidiaDisplayName", display, name);
}

int GetUnAttachedAssociatedDisplayName(Handle display, ShortString name) {
  return TellDisplayName("NvAPI_GetUnAttachedAssociatedDisplayName", display, name);
}

int GetPhysicalGPUsFromDisplay(Handle display, Handle* gpus, Number* count) {
  const NVAPIDisplay* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GetPhysicalGPUsFromDisplay", display, found)) return refusal;
  for (std::size_t i = 0; i < std::min(found->gpus.size(), kMostGPUs); ++i) gpus[i] = GPUHandle(found->gpus[i]);
  *count = Count<Number>(found->claimed_gpus, found->gpus);
  return kOK;
}

int GetPhysicalGPUFromUnAttachedDisplay(Handle display, Handle* gpu) {
  const NVAPIDisplay* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GetPhysicalGPUFromUnAttachedDisplay", display, found)) return refusal;
  if (found->gpus.empty()) return kError;
  *gpu = GPUHandle(found->gpus.front());
  return kOK;
}

int GetFullName(Handle gpu, ShortString name) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GPU_GetFullName", gpu, found)) return refusal;
  WriteText(found->name, name, sizeof(ShortString));
  return kOK;
}

int GetVbiosVersionString(Handle gpu, ShortString version) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GPU_GetVbiosVersionString", gpu, found)) return refusal;
  WriteText(found->vbios, version, sizeof(ShortString));
  return kOK;
}

template <typename Read>
int TellNumber(const char* call, Handle gpu, Number* value, const Read& read) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal(call, gpu, found)) return refusal;
  const std::optional<Number> number = read(*found);
  if (!number) return kNotSupported;
  *value = *number;
  return kOK;
}

int GetBusId(Handle gpu, Number* value) {
  return TellNumber("NvAPI_GPU_GetBusId", gpu, value,
                    [](const NVAPIGPU& found) { return found.pci ? std::optional(found.pci->bus) : std::nullopt; });
}

int GetBusSlotId(Handle gpu, Number* value) {
  return TellNumber("NvAPI_GPU_GetBusSlotId", gpu, value,
                    [](const NVAPIGPU& found) { return found.pci ? std::optional(found.pci->device) : std::nullopt; });
}

int GetCurrentPCIEDownstreamWidth(Handle gpu, Number* value) {
  return TellNumber("NvAPI_GPU_GetCurrentPCIEDownstreamWidth", gpu, value,
                    [](const NVAPIGPU& found) { return found.width; });
}

int GetSystemType(Handle gpu, Number* value) {
  return TellNumber("NvAPI_GPU_GetSystemType", gpu, value, [](const NVAPIGPU& found) { return found.system_type; });
}

int GetGPUType(Handle gpu, Number* value) {
  return TellNumber("NvAPI_GPU_GetGPUType", gpu, value, [](const NVAPIGPU& found) { return found.gpu_type; });
}

int GetPCIIdentifiers(Handle gpu, Number* device, Number* subsystem, Number* revision, Number* external_device) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GPU_GetPCIIdentifiers", gpu, found)) return refusal;
  if (!found->ids) return kNotSupported;
  *device = found->ids->device;
  *subsystem = found->ids->subsystem;
  *revision = found->ids->revision;
  *external_device = found->ids->external_device;
  return kOK;
}

/// Version 3: version, dedicated, available dedicated, system, shared, current available dedicated, size and
/// number of evictions.
using MemoryInfo = std::array<Number, 8>;

int GetMemoryInfo(Handle gpu, MemoryInfo* info) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GPU_GetMemoryInfo", gpu, found)) return refusal;
  if (info->at(0) != 0x00030020) return kIncompatibleStructVersion;
  if (!found->memory_kib) return kNotSupported;
  *info = {info->at(0), *found->memory_kib, *found->memory_kib, 0, 16777216, found->free_memory_kib, 0, 0};
  return kOK;
}

// Without links between them every GPU is a logical one, too.

constexpr std::uintptr_t kLogical = 0x100000;

int GetLogicalGPUFromPhysicalGPU(Handle gpu, Handle* logical) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal("NvAPI_GetLogicalGPUFromPhysicalGPU", gpu, found)) return refusal;
  *logical = reinterpret_cast<Handle>(reinterpret_cast<std::uintptr_t>(gpu) + kLogical);
  return kOK;
}

struct LogicalGPUData {
  Number version;
  void* os_adapter_id;
  Number count;
  Handle gpus[kMostGPUs];
  Number reserved[8];
};
static_assert(offsetof(LogicalGPUData, os_adapter_id) == 8 && offsetof(LogicalGPUData, reserved) == 536);

int TellLUID(const char* call, Handle gpu, void* luid) {
  const NVAPIGPU* found = nullptr;
  if (const int refusal = Refusal(call, gpu, found)) return refusal;
  if (!found->luid) return kNotSupported;
  std::memcpy(luid, &*found->luid, sizeof(*found->luid));
  return kOK;
}

int GetLogicalGpuInfo(Handle logical, LogicalGPUData* data) {
  constexpr const char* kCall = "NvAPI_GPU_GetLogicalGpuInfo";
  if (data->version != (sizeof(LogicalGPUData) | 1 << 16)) return kIncompatibleStructVersion;
  if (data->os_adapter_id == nullptr) return kError;
  const auto gpu = reinterpret_cast<Handle>(reinterpret_cast<std::uintptr_t>(logical) - kLogical);
  const int status = TellLUID(kCall, gpu, data->os_adapter_id);
  data->count = status == kOK ? 1 : 0;
  data->gpus[0] = gpu;
  return status;
}

int GetAdapterIdFromPhysicalGpu(Handle gpu, void* luid) {
  return TellLUID("NvAPI_GPU_GetAdapterIdFromPhysicalGpu", gpu, luid);
}

struct Function {
  Number id;
  const char* name;
  Symbol symbol;
};

const std::array kFunctions = {
    Function{0x0150E828, "NvAPI_Initialize", ToSymbol<Initialize>()},
    Function{0xD22BDD7E, "NvAPI_Unload", ToSymbol<Unload>()},
    Function{0x2926AAAD, "NvAPI_SYS_GetDriverAndBranchVersion", ToSymbol<GetDriverAndBranchVersion>()},
    Function{0xE5AC921F, "NvAPI_EnumPhysicalGPUs", ToSymbol<EnumPhysicalGPUs>()},
    Function{0x9ABDD40D, "NvAPI_EnumNvidiaDisplayHandle", ToSymbol<EnumDisplayHandle>()},
    Function{0x22A78B05, "NvAPI_GetAssociatedNvidiaDisplayName", ToSymbol<GetAssociatedDisplayName>()},
    Function{0x34EF9506, "NvAPI_GetPhysicalGPUsFromDisplay", ToSymbol<GetPhysicalGPUsFromDisplay>()},
    Function{0x20DE9260, "NvAPI_EnumNvidiaUnAttachedDisplayHandle", ToSymbol<EnumUnAttachedDisplayHandle>()},
    Function{0x4888D790, "NvAPI_GetUnAttachedAssociatedDisplayName", ToSymbol<GetUnAttachedAssociatedDisplayName>()},
    Function{0x5018ED61, "NvAPI_GetPhysicalGPUFromUnAttachedDisplay", ToSymbol<GetPhysicalGPUFromUnAttachedDisplay>()},
    Function{0xCEEE8E9F, "NvAPI_GPU_GetFullName", ToSymbol<GetFullName>()},
    Function{0xA561FD7D, "NvAPI_GPU_GetVbiosVersionString", ToSymbol<GetVbiosVersionString>()},
    Function{0x1BE0B8E5, "NvAPI_GPU_GetBusId", ToSymbol<GetBusId>()},
    Function{0x2A0A350F, "NvAPI_GPU_GetBusSlotId", ToSymbol<GetBusSlotId>()},
    Function{0x2DDFB66E, "NvAPI_GPU_GetPCIIdentifiers", ToSymbol<GetPCIIdentifiers>()},
    Function{0xD048C3B1, "NvAPI_GPU_GetCurrentPCIEDownstreamWidth", ToSymbol<GetCurrentPCIEDownstreamWidth>()},
    Function{0xBAAABFCC, "NvAPI_GPU_GetSystemType", ToSymbol<GetSystemType>()},
    Function{0xC33BAEB1, "NvAPI_GPU_GetGPUType", ToSymbol<GetGPUType>()},
    Function{0xADD604D1, "NvAPI_GetLogicalGPUFromPhysicalGPU", ToSymbol<GetLogicalGPUFromPhysicalGPU>()},
    Function{0x842B066E, "NvAPI_GPU_GetLogicalGpuInfo", ToSymbol<GetLogicalGpuInfo>()},
    Function{0x0FF07FDE, "NvAPI_GPU_GetAdapterIdFromPhysicalGpu", ToSymbol<GetAdapterIdFromPhysicalGpu>()},
    Function{0x07F9B368, "NvAPI_GPU_GetMemoryInfo", ToSymbol<GetMemoryInfo>()},
};

void* QueryInterface(Number id) {
  for (const Function& function : kFunctions) {
    if (function.id != id) continue;
    const bool fails = EntryFails(SimulatedNVAPI(), "nvapi_QueryInterface", function.name);
    return fails || TheMachine().nvapi->missing.contains(function.name) ? nullptr
                                                                        : reinterpret_cast<void*>(function.symbol);
  }
  ReportMisuse("NVAPI never had a function " + Hex(id));
  return nullptr;
}

std::set<std::string> FunctionNames() {
  std::set<std::string> names;
  for (const Function& function : kFunctions) names.insert(function.name);
  return names;
}

}  // namespace

const SimulatedLibrary& SimulatedNVAPI() {
  static const SimulatedLibrary library = {kName,
                                           [] { return Installed(TheMachine().nvapi); },
                                           {{"nvapi_QueryInterface", ToSymbol<QueryInterface>()}},
                                           FunctionNames()};
  return library;
}

}  // namespace Vexil::Simulation
