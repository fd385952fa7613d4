#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "simulation/SimulatedLibraries.h"

// amdhip64_7.dll, amdhip64_6.dll and amdhip64.dll, of which a machine has one.

namespace Vexil::Simulation {
namespace {

constexpr int kSuccess = 0;
constexpr int kInvalidValue = 1;
constexpr int kNoDevice = 100;
constexpr int kInvalidDevice = 101;

// The driver hands out devices that are not their ordinals, as it may.
constexpr int kFirstDevice = 32;

const SimulatedLibrary& TheHIP() {
  switch (TheMachine().hip ? TheMachine().hip->version : 0) {
    case 5: return SimulatedHIP5();
    case 6: return SimulatedHIP6();
    default: return SimulatedHIP7();
  }
}

int Refusal(const char* call, int ordinal, const HIPDevice*& found) {
  if (EntryFails(TheHIP(), call, {}, ordinal)) return kNoDevice;
  found = At(TheMachine().hip->devices, ordinal);
  return found == nullptr ? kInvalidDevice : kSuccess;
}

int hipInit(unsigned flags) {
  if (EntryFails(TheHIP(), "hipInit")) return kNoDevice;
  if (flags != 0) return kInvalidValue;
  if (!IsUp(TheHIP().file_name)) CountUp(TheHIP().file_name, 1);
  return kSuccess;
}

int hipGetDeviceCount(int* count) {
  if (EntryFails(TheHIP(), "hipGetDeviceCount")) return kNoDevice;
  *count = Count<int>(TheMachine().hip->claimed_count, TheMachine().hip->devices);
  return kSuccess;
}

int hipDeviceGet(int* device, int ordinal) {
  const HIPDevice* found = nullptr;
  if (const int refusal = Refusal("hipDeviceGet", ordinal, found)) return refusal;
  *device = ordinal + kFirstDevice;
  return kSuccess;
}

int hipDeviceGetName(char* name, int length, int device) {
  const HIPDevice* found = nullptr;
  if (const int refusal = Refusal("hipDeviceGetName", device - kFirstDevice, found)) return refusal;
  WriteText(found->name, name, static_cast<std::size_t>(length));
  return kSuccess;
}

int hipDeviceGetPCIBusId(char* text, int length, int device) {
  const HIPDevice* found = nullptr;
  if (const int refusal = Refusal("hipDeviceGetPCIBusId", device - kFirstDevice, found)) return refusal;
  if (!found->pci || length < 13) return kInvalidValue;
  const PCIAddress& pci = *found->pci;
  WriteText(fmt::format("0000:{:02x}:{:02x}.{}", pci.bus, pci.device, pci.function), text,
            static_cast<std::size_t>(length));
  return kSuccess;
}

int hipDeviceGetUuid(char* uuid, int device) {
  const HIPDevice* found = nullptr;
  if (const int refusal = Refusal("hipDeviceGetUuid", device - kFirstDevice, found)) return refusal;
  if (!found->uuid) return kInvalidValue;
  std::copy_n(found->uuid->begin(), std::min<std::size_t>(found->uuid->size(), 16), uuid);
  return kSuccess;
}

int hipGetDevicePropertiesR0600(unsigned char* properties, int ordinal) {
  const HIPDevice* found = nullptr;
  if (const int refusal = Refusal("hipGetDevicePropertiesR0600", ordinal, found)) return refusal;
  std::memset(properties, 0, 1472);
  const std::uint64_t luid = found->luid.value_or(0);
  std::memcpy(properties + 272, &luid, sizeof(luid));
  std::memcpy(properties + 280, &found->node_mask, sizeof(found->node_mask));
  return kSuccess;
}

template <std::uint32_t version>
const Library* IfVersion() {
  const auto& hip = TheMachine().hip;
  return hip && hip->version == version ? &*hip : nullptr;
}

SimulatedLibrary MakeLibrary(const char* file_name, const Library* (*installed)()) {
  return {file_name,
          installed,
          {{"hipInit", ToSymbol<hipInit>()},
           {"hipGetDeviceCount", ToSymbol<hipGetDeviceCount>()},
           {"hipDeviceGet", ToSymbol<hipDeviceGet>()},
           {"hipDeviceGetName", ToSymbol<hipDeviceGetName>()},
           {"hipDeviceGetPCIBusId", ToSymbol<hipDeviceGetPCIBusId>()},
           {"hipDeviceGetUuid", ToSymbol<hipDeviceGetUuid>()},
           {"hipGetDevicePropertiesR0600", ToSymbol<hipGetDevicePropertiesR0600>()}},
          {},
          true};
}

}  // namespace

const SimulatedLibrary& SimulatedHIP5() {
  static const SimulatedLibrary library = MakeLibrary("amdhip64.dll", IfVersion<5>);
  return library;
}

const SimulatedLibrary& SimulatedHIP6() {
  static const SimulatedLibrary library = MakeLibrary("amdhip64_6.dll", IfVersion<6>);
  return library;
}

const SimulatedLibrary& SimulatedHIP7() {
  static const SimulatedLibrary library = MakeLibrary("amdhip64_7.dll", IfVersion<7>);
  return library;
}

}  // namespace Vexil::Simulation
