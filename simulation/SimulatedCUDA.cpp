#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "simulation/SimulatedLibraries.h"

// nvcuda.dll

namespace Vexil::Simulation {
namespace {

constexpr int kSuccess = 0;
constexpr int kInvalidValue = 1;
constexpr int kInvalidDevice = 101;
constexpr int kUnknownError = 999;

constexpr const char* kName = "nvcuda.dll";

// The driver hands out devices that are not their ordinals, as it may.
constexpr int kFirstDevice = 16;

const CUDADevice* Find(int device) {
  const auto& cuda = TheMachine().cuda;
  return cuda ? At(cuda->devices, device - kFirstDevice) : nullptr;
}

/// The machine's devices in the order of their ordinals, as the environment leaves them.
std::vector<std::size_t> Ordinals() {
  const auto& devices = TheMachine().cuda->devices;
  std::vector<std::size_t> all(devices.size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  if (Variable("CUDA_DEVICE_ORDER") == "PCI_BUS_ID") {
    const auto bus = [&](std::size_t i) { return devices[i].pci ? devices[i].pci->bus : 0; };
    std::stable_sort(all.begin(), all.end(), [&](std::size_t a, std::size_t b) { return bus(a) < bus(b); });
  }
  auto visible = Variable("CUDA_VISIBLE_DEVICES");
  if (!visible) return all;
  std::vector<std::size_t> chosen;
  for (std::size_t start = 0; start <= visible->size();) {
    const std::size_t end = std::min(visible->find(',', start), visible->size());
    const std::string entry = visible->substr(start, end - start);
    const auto found = std::find_if(all.begin(), all.end(), [&](const std::size_t& index) {
      const auto& uuid = devices[index].uuid;
      const bool is_uuid = entry.rfind("GPU-", 0) == 0;
      if (is_uuid) return uuid && ("GPU-" + ToText(*uuid)).rfind(entry, 0) == 0;
      return entry == std::to_string(&index - all.data());
    });
    // The first one that is none cuts off the rest.
    if (found == all.end()) break;
    chosen.push_back(*found);
    start = end + 1;
  }
  return chosen;
}

/// Why a call about this device cannot be answered; 0 where it can.
int Refusal(const char* call, int device, std::string_view parameter = {}) {
  if (EntryFails(SimulatedCUDA(), call, parameter, device - kFirstDevice)) return kUnknownError;
  return Find(device) == nullptr ? kInvalidDevice : kSuccess;
}

template <typename To, typename From>
int Tell(const std::optional<From>& value, To* to) {
  if (!value) return kInvalidValue;
  *to = static_cast<To>(*value);
  return kSuccess;
}

int cuInit(unsigned flags) {
  if (EntryFails(SimulatedCUDA(), "cuInit")) return kUnknownError;
  if (flags != 0) return kInvalidValue;
  if (!IsUp(kName)) CountUp(kName, 1);
  return kSuccess;
}

int cuDeviceGetCount(int* count) {
  if (EntryFails(SimulatedCUDA(), "cuDeviceGetCount")) return kUnknownError;
  *count = Count<int>(TheMachine().cuda->claimed_count, Ordinals());
  return kSuccess;
}

int cuDeviceGet(int* device, int ordinal) {
  if (EntryFails(SimulatedCUDA(), "cuDeviceGet", {}, ordinal)) return kUnknownError;
  const auto ordinals = Ordinals();
  const std::size_t* index = At(ordinals, ordinal);
  if (index == nullptr) return kInvalidDevice;
  *device = static_cast<int>(*index) + kFirstDevice;
  return kSuccess;
}

int cuDeviceGetPCIBusId(char* text, int length, int device) {
  if (const int refusal = Refusal("cuDeviceGetPCIBusId", device)) return refusal;
  const auto& pci = Find(device)->pci;
  if (!pci || length < 13) return kInvalidValue;
  WriteText(fmt::format("0000:{:02X}:{:02X}.{}", pci->bus, pci->device, pci->function), text,
            static_cast<std::size_t>(length));
  return kSuccess;
}

int TellUuid(const char* call, unsigned char* bytes, int device) {
  if (const int refusal = Refusal(call, device)) return refusal;
  const auto& uuid = Find(device)->uuid;
  if (!uuid) return kInvalidValue;
  std::memcpy(bytes, uuid->data(), uuid->size());
  return kSuccess;
}

int cuDeviceGetUuid(unsigned char* bytes, int device) { return TellUuid("cuDeviceGetUuid", bytes, device); }
int cuDeviceGetUuid_v2(unsigned char* bytes, int device) { return TellUuid("cuDeviceGetUuid_v2", bytes, device); }

int cuDeviceGetLuid(char* bytes, unsigned* node_mask, int device) {
  if (const int refusal = Refusal("cuDeviceGetLuid", device)) return refusal;
  const CUDADevice& found = *Find(device);
  if (!found.luid) return kInvalidValue;
  std::memcpy(bytes, &*found.luid, sizeof(*found.luid));
  *node_mask = found.node_mask;
  return kSuccess;
}

int cuDeviceGetAttribute(int* value, int attribute, int device) {
  if (const int refusal = Refusal("cuDeviceGetAttribute", device, std::to_string(attribute))) return refusal;
  const CUDADevice& found = *Find(device);
  switch (attribute) {
    case 33: return found.pci ? Tell(std::optional(found.pci->bus), value) : kInvalidValue;
    case 34: return found.pci ? Tell(std::optional(found.pci->device), value) : kInvalidValue;
    case 75: return Tell(found.compute_major, value);
    case 76: return Tell(found.compute_minor, value);
    default: return kInvalidValue;
  }
}

int cuDeviceGetName(char* name, int length, int device) {
  if (const int refusal = Refusal("cuDeviceGetName", device)) return refusal;
  WriteText(Find(device)->name, name, static_cast<std::size_t>(length));
  return kSuccess;
}

int cuDeviceTotalMem_v2(std::size_t* bytes, int device) {
  if (const int refusal = Refusal("cuDeviceTotalMem_v2", device)) return refusal;
  return Tell(Find(device)->memory_bytes, bytes);
}

int cuDeviceCanAccessPeer(int* can, int device, int peer) {
  if (const int refusal = Refusal("cuDeviceCanAccessPeer", device, std::to_string(peer - kFirstDevice))) return refusal;
  if (Find(peer) == nullptr) return kInvalidDevice;
  *can = peer == device ? 1 : 0;
  for (const std::size_t ordinal : Find(device)->peers) {
    if (static_cast<int>(ordinal) == peer - kFirstDevice) *can = 1;
  }
  return kSuccess;
}

int cuGetErrorName(int error, const char** name) {
  if (EntryFails(SimulatedCUDA(), "cuGetErrorName")) return kUnknownError;
  *name = error == kUnknownError ? "CUDA_ERROR_UNKNOWN" : "CUDA_ERROR_INVALID_VALUE";
  return kSuccess;
}

int cuDriverGetVersion(int* version) {
  if (EntryFails(SimulatedCUDA(), "cuDriverGetVersion")) return kUnknownError;
  *version = TheMachine().cuda->driver_version;
  return kSuccess;
}

}  // namespace

const SimulatedLibrary& SimulatedCUDA() {
  static const SimulatedLibrary library = {kName,
                                           [] { return Installed(TheMachine().cuda); },
                                           {{"cuInit", ToSymbol<cuInit>()},
                                            {"cuDeviceGetCount", ToSymbol<cuDeviceGetCount>()},
                                            {"cuDeviceGet", ToSymbol<cuDeviceGet>()},
                                            {"cuDeviceGetAttribute", ToSymbol<cuDeviceGetAttribute>()},
                                            {"cuDeviceGetName", ToSymbol<cuDeviceGetName>()},
                                            {"cuDeviceTotalMem_v2", ToSymbol<cuDeviceTotalMem_v2>()},
                                            {"cuDeviceCanAccessPeer", ToSymbol<cuDeviceCanAccessPeer>()},
                                            {"cuDeviceGetPCIBusId", ToSymbol<cuDeviceGetPCIBusId>()},
                                            {"cuDeviceGetUuid", ToSymbol<cuDeviceGetUuid>()},
                                            {"cuDeviceGetUuid_v2", ToSymbol<cuDeviceGetUuid_v2>()},
                                            {"cuDeviceGetLuid", ToSymbol<cuDeviceGetLuid>()},
                                            {"cuGetErrorName", ToSymbol<cuGetErrorName>()},
                                            {"cuDriverGetVersion", ToSymbol<cuDriverGetVersion>()}},
                                           {},
                                           true};
  return library;
}

}  // namespace Vexil::Simulation
