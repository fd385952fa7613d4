#include <cstddef>
#include <cstring>

#include "simulation/SimulatedLibraries.h"

// ze_loader.dll: the loader and, behind it, the drivers.

namespace Vexil::Simulation {
namespace {

using Number = std::uint32_t;
using Handle = void*;

constexpr int kSuccess = 0;
constexpr int kUninitialized = 0x78000001;
constexpr int kInvalidArgument = 0x78000004;
constexpr int kUnsupportedFeature = 0x78000003;

constexpr const char* kName = "ze_loader.dll";

// Driver r is (r + 1) << 16, and its device d is that plus d + 1.

Handle ToHandle(std::size_t driver) { return reinterpret_cast<Handle>((driver + 1) << 16); }
Handle ToHandle(std::size_t driver, std::size_t device) {
  return reinterpret_cast<Handle>(((driver + 1) << 16) + device + 1);
}
std::size_t DriverOf(Handle handle) { return (reinterpret_cast<std::uintptr_t>(handle) >> 16) - 1; }
std::int64_t DeviceOf(Handle handle) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(handle) & 0xFFFF) - 1;
}

struct Header {
  Number type;
  Header* next;
};

struct DeviceProperties {
  Header header;
  Number type;
  Number vendor_id;
  Number device_id;
  Number flags;
  unsigned char other[64];
  unsigned char uuid[16];
  char name[256];
};
static_assert(offsetof(DeviceProperties, uuid) == 96 && offsetof(DeviceProperties, name) == 112 &&
              sizeof(DeviceProperties) == 368);

struct LUIDProperties {
  Header header;
  unsigned char luid[8];
  Number node_mask;
};

struct PCIProperties {
  Header header;
  Number domain;
  Number bus;
  Number device;
  Number function;
};

/// Why a call cannot be answered; 0 where it can.
int Refusal(const char* call, std::string_view parameter = {}) {
  return EntryFails(SimulatedLevelZero(), call, parameter) || !IsUp(kName) ? kUninitialized : kSuccess;
}

const LevelZeroDevice* Find(Handle handle) {
  const auto* driver = At(TheMachine().level_zero->drivers, static_cast<std::int64_t>(DriverOf(handle)));
  return driver != nullptr ? At(driver->devices, DeviceOf(handle)) : nullptr;
}

int zeInit(Number flags) {
  constexpr Number kGPUOnly = 1;
  if (EntryFails(SimulatedLevelZero(), "zeInit")) return kUninitialized;
  if (flags != kGPUOnly) return kInvalidArgument;
  if (!IsUp(kName)) CountUp(kName, 1);
  return kSuccess;
}

template <typename Element>
int List(const std::vector<Element>& elements, std::optional<std::int64_t> claimed, Number* count, Handle* list,
         const std::vector<Handle>& handles) {
  const Number room = *count;
  *count = Count<Number>(claimed, elements);
  if (list == nullptr) return kSuccess;
  *count = std::min<Number>(room, static_cast<Number>(handles.size()));
  std::copy_n(handles.begin(), *count, list);
  return kSuccess;
}

int zeDriverGet(Number* count, Handle* list) {
  if (const int refusal = Refusal("zeDriverGet", list == nullptr ? "count" : "list")) return refusal;
  const auto& drivers = TheMachine().level_zero->drivers;
  std::vector<Handle> handles;
  for (std::size_t i = 0; i < drivers.size(); ++i) handles.push_back(ToHandle(i));
  return List(drivers, TheMachine().level_zero->claimed_count, count, list, handles);
}

int zeDeviceGet(Handle driver, Number* count, Handle* list) {
  if (const int refusal = Refusal("zeDeviceGet", list == nullptr ? "count" : "list")) return refusal;
  const auto* found = At(TheMachine().level_zero->drivers, static_cast<std::int64_t>(DriverOf(driver)));
  if (found == nullptr) return kInvalidArgument;
  std::vector<Handle> handles;
  for (std::size_t i = 0; i < found->devices.size(); ++i) handles.push_back(ToHandle(DriverOf(driver), i));
  return List(found->devices, std::nullopt, count, list, handles);
}

int zeDeviceGetProperties(Handle device, DeviceProperties* properties) {
  if (const int refusal = Refusal("zeDeviceGetProperties")) return refusal;
  const LevelZeroDevice* found = Find(device);
  if (found == nullptr || properties->header.type != 3) return kInvalidArgument;
  if (Header* next = properties->header.next) {
    if (next->type != 0x1000D) return kInvalidArgument;
    // The whole call fails where the driver does not know the extension.
    if (!found->luid) return kUnsupportedFeature;
    auto& luid = *reinterpret_cast<LUIDProperties*>(next);
    std::memcpy(luid.luid, &*found->luid, sizeof(luid.luid));
    luid.node_mask = 1;
  }
  properties->type = found->is_gpu ? 1 : 2;
  std::memcpy(properties->uuid, found->uuid.data(), found->uuid.size());
  WriteText(found->name, properties->name, sizeof(properties->name));
  return kSuccess;
}

int zeDevicePciGetPropertiesExt(Handle device, PCIProperties* properties) {
  if (const int refusal = Refusal("zeDevicePciGetPropertiesExt")) return refusal;
  const LevelZeroDevice* found = Find(device);
  if (found == nullptr || properties->header.type != 0x10008) return kInvalidArgument;
  if (!found->pci) return kUnsupportedFeature;
  *properties = {properties->header, 0, found->pci->bus, found->pci->device, found->pci->function};
  return kSuccess;
}

}  // namespace

const SimulatedLibrary& SimulatedLevelZero() {
  static const SimulatedLibrary library = {kName,
                                           [] { return Installed(TheMachine().level_zero); },
                                           {{"zeInit", ToSymbol<zeInit>()},
                                            {"zeDriverGet", ToSymbol<zeDriverGet>()},
                                            {"zeDeviceGet", ToSymbol<zeDeviceGet>()},
                                            {"zeDeviceGetProperties", ToSymbol<zeDeviceGetProperties>()},
                                            {"zeDevicePciGetPropertiesExt", ToSymbol<zeDevicePciGetPropertiesExt>()}},
                                           {},
                                           true};
  return library;
}

}  // namespace Vexil::Simulation
