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

int Tell(int* output, int value) {
  *output = value;
  return 0;
}
}  // namespace

DRIVER_CALL int cuInit(unsigned flags) {
  is_up = flags == 0;
  return is_up ? 0 : kInvalidValue;
}
DRIVER_CALL int cuDriverGetVersion(int* version) { return Tell(version, 12020); }
DRIVER_CALL int cuGetErrorName(int, const char** name) {
  *name = "CUDA_ERROR";
  return 0;
}
DRIVER_CALL int cuDeviceGetCount(int* count) {
  if (!is_up) return kNotInitialized;
  return Tell(count, 2);
}
DRIVER_CALL int cuDeviceGet(int* device, int ordinal) {
  if (ordinal < 0 || ordinal > 1) return kInvalidValue;
  return Tell(device, ToDevice(ordinal));
}
DRIVER_CALL int cuDeviceGetName(char* name, int size, int device) {
  if (!IsDevice(device)) return kInvalidValue;
  std::snprintf(name, static_cast<std::size_t>(size), "NVIDIA Card %d", device - 100);
  return 0;
}
DRIVER_CALL int cuDeviceTotalMem_v2(std::size_t* bytes, int device) {
  if (!IsDevice(device)) return kInvalidValue;
  *bytes = std::size_t{24} << 30;
  return 0;
}
DRIVER_CALL int cuDeviceGetAttribute(int* value, int attribute, int device) {
  if (!IsDevice(device)) return kInvalidValue;
  switch (attribute) {
    case kPCIBus: return Tell(value, static_cast<int>(kBuses[device - 100]));
    case kPCIDevice: return Tell(value, 0);
    case kComputeMajor: return Tell(value, 8);
    case kComputeMinor: return Tell(value, 9);
    default: return kInvalidValue;
  }
}
DRIVER_CALL int cuDeviceCanAccessPeer(int* can_access, int device, int peer) {
  if (!IsDevice(device) || !IsDevice(peer)) return kInvalidValue;
  return Tell(can_access, device != peer ? 1 : 0);
}
