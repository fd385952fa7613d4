#include "simulation/SimulatedLibraries.h"

// nvml.dll

namespace Vexil::Simulation {
namespace {

constexpr int kSuccess = 0;
constexpr int kUninitialized = 1;
constexpr int kInvalidArgument = 2;
constexpr int kNotSupported = 3;
constexpr int kUnknownError = 999;

constexpr const char* kName = "nvml.dll";

using Device = void*;
constexpr std::uintptr_t kFirstDevice = 0x4D0000;

struct PCIInfo {
  char bus_id_legacy[16];
  unsigned domain;
  unsigned bus;
  unsigned device;
  unsigned pci_device_id;
  unsigned pci_subsystem_id;
  char bus_id[32];
};

std::int64_t IndexOf(Device device) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(device)) - std::int64_t{kFirstDevice};
}

/// Why a call cannot be answered; 0 where it can.
int Refusal(const char* call, std::int64_t device = kNoDevice, std::string_view parameter = {}) {
  if (EntryFails(SimulatedNVML(), call, parameter, device)) return kUnknownError;
  return IsUp(kName) ? kSuccess : kUninitialized;
}

/// The same for a call about a device, which `found` is to become.
int Refusal(const char* call, Device device, const NVMLDevice*& found, std::string_view parameter = {}) {
  if (const int refusal = Refusal(call, IndexOf(device), parameter)) return refusal;
  found = At(TheMachine().nvml->devices, IndexOf(device));
  return found != nullptr ? kSuccess : kInvalidArgument;
}

void Write(const PCIAddress& from, PCIInfo* to) {
  *to = {};
  to->bus = from.bus;
  to->device = from.device;
}

int nvmlInit_v2() {
  if (EntryFails(SimulatedNVML(), "nvmlInit_v2")) return kUnknownError;
  CountUp(kName, 1);
  return kSuccess;
}

int nvmlShutdown() { return CountDown(kName, Refusal("nvmlShutdown")); }

const char* nvmlErrorString(int result) {
  if (EntryFails(SimulatedNVML(), "nvmlErrorString")) return nullptr;
  return result == kNotSupported ? "Not Supported" : result == kUnknownError ? "Unknown Error" : "Invalid Argument";
}

int nvmlSystemGetDriverVersion(char* /*version*/, unsigned /*size*/) {
  ReportMisuse("nobody asks NVML for the driver version");
  const int refusal = Refusal("nvmlSystemGetDriverVersion");
  return refusal != kSuccess ? refusal : kNotSupported;
}

int nvmlDeviceGetCount_v2(unsigned* count) {
  if (const int refusal = Refusal("nvmlDeviceGetCount_v2")) return refusal;
  *count = Count<unsigned>(TheMachine().nvml->claimed_count, TheMachine().nvml->devices);
  return kSuccess;
}

int nvmlDeviceGetHandleByIndex_v2(unsigned index, Device* device) {
  if (const int refusal = Refusal("nvmlDeviceGetHandleByIndex_v2", std::int64_t{index})) return refusal;
  if (At(TheMachine().nvml->devices, index) == nullptr) return kInvalidArgument;
  *device = reinterpret_cast<Device>(kFirstDevice + index);
  return kSuccess;
}

int nvmlDeviceGetPciInfo_v3(Device device, PCIInfo* info) {
  const NVMLDevice* found = nullptr;
  if (const int refusal = Refusal("nvmlDeviceGetPciInfo_v3", device, found)) return refusal;
  if (!found->pci) return kNotSupported;
  Write(*found->pci, info);
  return kSuccess;
}

/// With a NUL, or not at all.
int nvmlDeviceGetUUID(Device device, char* uuid, unsigned length) {
  constexpr int kInsufficientSize = 7;
  const NVMLDevice* found = nullptr;
  if (const int refusal = Refusal("nvmlDeviceGetUUID", device, found)) return refusal;
  if (!found->uuid) return kNotSupported;
  const std::string text = "GPU-" + ToText(*found->uuid);
  if (length <= text.size()) return kInsufficientSize;
  WriteText(text, uuid, length);
  return kSuccess;
}

int TellNumber(const char* call, Device device, std::optional<std::uint32_t> NVMLDevice::*number, unsigned* value) {
  const NVMLDevice* found = nullptr;
  if (const int refusal = Refusal(call, device, found)) return refusal;
  if (!(found->*number)) return kNotSupported;
  *value = *(found->*number);
  return kSuccess;
}

int nvmlDeviceGetCurrPcieLinkGeneration(Device device, unsigned* value) {
  return TellNumber("nvmlDeviceGetCurrPcieLinkGeneration", device, &NVMLDevice::generation, value);
}
int nvmlDeviceGetMaxPcieLinkGeneration(Device device, unsigned* value) {
  return TellNumber("nvmlDeviceGetMaxPcieLinkGeneration", device, &NVMLDevice::max_generation, value);
}
int nvmlDeviceGetCurrPcieLinkWidth(Device device, unsigned* value) {
  return TellNumber("nvmlDeviceGetCurrPcieLinkWidth", device, &NVMLDevice::width, value);
}
int nvmlDeviceGetMaxPcieLinkWidth(Device device, unsigned* value) {
  return TellNumber("nvmlDeviceGetMaxPcieLinkWidth", device, &NVMLDevice::max_width, value);
}

const NvLink* FindLink(const NVMLDevice& device, std::size_t link) {
  const bool is_repeated = device.has_endless_links && !device.links.empty();
  return At(device.links, static_cast<std::int64_t>(is_repeated ? link % device.links.size() : link));
}

int nvmlDeviceGetNvLinkRemotePciInfo_v2(Device device, unsigned link, PCIInfo* info) {
  const NVMLDevice* found = nullptr;
  if (const int refusal = Refusal("nvmlDeviceGetNvLinkRemotePciInfo_v2", device, found, std::to_string(link))) {
    return refusal;
  }
  const NvLink* there = FindLink(*found, link);
  if (there == nullptr) return kInvalidArgument;
  Write(there->remote, info);
  return kSuccess;
}

int nvmlDeviceGetNvLinkVersion(Device device, unsigned link, unsigned* version) {
  const NVMLDevice* found = nullptr;
  if (const int refusal = Refusal("nvmlDeviceGetNvLinkVersion", device, found, std::to_string(link))) return refusal;
  const NvLink* there = FindLink(*found, link);
  if (there == nullptr || !there->version) return kNotSupported;
  *version = *there->version;
  return kSuccess;
}

int nvmlDeviceGetVbiosVersion(Device device, char* version, unsigned length) {
  const NVMLDevice* found = nullptr;
  if (const int refusal = Refusal("nvmlDeviceGetVbiosVersion", device, found)) return refusal;
  if (!found->vbios) return kNotSupported;
  WriteText(*found->vbios, version, length);
  return kSuccess;
}

}  // namespace

const SimulatedLibrary& SimulatedNVML() {
  static const SimulatedLibrary library = {
      kName,
      [] { return Installed(TheMachine().nvml); },
      {{"nvmlInit_v2", ToSymbol<nvmlInit_v2>()},
       {"nvmlShutdown", ToSymbol<nvmlShutdown>()},
       {"nvmlErrorString", ToSymbol<nvmlErrorString>()},
       {"nvmlSystemGetDriverVersion", ToSymbol<nvmlSystemGetDriverVersion>()},
       {"nvmlDeviceGetCount_v2", ToSymbol<nvmlDeviceGetCount_v2>()},
       {"nvmlDeviceGetHandleByIndex_v2", ToSymbol<nvmlDeviceGetHandleByIndex_v2>()},
       {"nvmlDeviceGetPciInfo_v3", ToSymbol<nvmlDeviceGetPciInfo_v3>()},
       {"nvmlDeviceGetUUID", ToSymbol<nvmlDeviceGetUUID>()},
       {"nvmlDeviceGetCurrPcieLinkGeneration", ToSymbol<nvmlDeviceGetCurrPcieLinkGeneration>()},
       {"nvmlDeviceGetMaxPcieLinkGeneration", ToSymbol<nvmlDeviceGetMaxPcieLinkGeneration>()},
       {"nvmlDeviceGetCurrPcieLinkWidth", ToSymbol<nvmlDeviceGetCurrPcieLinkWidth>()},
       {"nvmlDeviceGetMaxPcieLinkWidth", ToSymbol<nvmlDeviceGetMaxPcieLinkWidth>()},
       {"nvmlDeviceGetNvLinkRemotePciInfo_v2", ToSymbol<nvmlDeviceGetNvLinkRemotePciInfo_v2>()},
       {"nvmlDeviceGetNvLinkVersion", ToSymbol<nvmlDeviceGetNvLinkVersion>()},
       {"nvmlDeviceGetVbiosVersion", ToSymbol<nvmlDeviceGetVbiosVersion>()}}};
  return library;
}

}  // namespace Vexil::Simulation
