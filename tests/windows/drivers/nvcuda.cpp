#include "Driver.h"

namespace {
bool is_up = false;
constexpr int kNotInitialized = 3;
constexpr int kInvalidValue = 1;

// Devices are not numbered as ordinals are, so that a mix-up shows.
constexpr int ToDevice(int ordinal) { return ordinal + 100; }
constexpr bool IsDevice(int device) { return device == 100 || device == 101; }

constexpr int kPCIBus = 33;
constexpr int kPCIDevice = 34;
constexpr int kComputeMajor = 75;
constexpr int kComputeMinor = 76;
}  // namespace

DRIVER_CALL int cuInit(unsigned flags) {
  is_up = flags == 0;
  return is_up ? 0 : kInvalidValue;
}
DRIVER_CALL int cuDriverGetVersion(int* version) { return *version = 12020, 0; }
DRIVER_CALL int cuGetErrorName(int, const char** name) { return *name = "CUDA_ERROR", 0; }
DRIVER_CALL int cuDeviceGetCount(int* count) {
  if (!is_up) return kNotInitialized;
  return *count = 2, 0;
}
DRIVER_CALL int cuDeviceGet(int* device, int ordinal) {
  if (ordinal < 0 || ordinal > 1) return kInvalidValue;
  return *device = ToDevice(ordinal), 0;
}
DRIVER_CALL int cuDeviceGetName(char* name, int size, int device) {
  if (!IsDevice(device)) return kInvalidValue;
  std::snprintf(name, static_cast<std::size_t>(size), "NVIDIA Card %d", device - 100);
  return 0;
}
DRIVER_CALL int cuDeviceTotalMem_v2(std::size_t* bytes, int device) {
  if (!IsDevice(device)) return kInvalidValue;
  return *bytes = std::size_t{24} << 30, 0;
}
DRIVER_CALL int cuDeviceGetAttribute(int* value, int attribute, int device) {
  if (!IsDevice(device)) return kInvalidValue;
  switch (attribute) {
    case kPCIBus: return *value = static_cast<int>(kBuses[device - 100]), 0;
    case kPCIDevice: return *value = 0, 0;
    case kComputeMajor: return *value = 8, 0;
    case kComputeMinor: return *value = 9, 0;
    default: return kInvalidValue;
  }
}
DRIVER_CALL int cuDeviceCanAccessPeer(int* can_access, int device, int peer) {
  if (!IsDevice(device) || !IsDevice(peer)) return kInvalidValue;
  return *can_access = device != peer ? 1 : 0, 0;
}
