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
  *count = Count<int>(TheMachine().cuda->claimed_count, TheMachine().cuda->devices);
  return kSuccess;
}

int cuDeviceGet(int* device, int ordinal) {
  if (const int refusal = Refusal("cuDeviceGet", ordinal + kFirstDevice)) return refusal;
  *device = ordinal + kFirstDevice;
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
                                            {"cuGetErrorName", ToSymbol<cuGetErrorName>()},
                                            {"cuDriverGetVersion", ToSymbol<cuDriverGetVersion>()}},
                                           {},
                                           true};
  return library;
}

}  // namespace Vexil::Simulation
