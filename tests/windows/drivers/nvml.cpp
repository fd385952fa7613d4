#include "Driver.h"

namespace {
struct PCIInfo {
  char short_bus_id[16];
  std::uint32_t domain;
  std::uint32_t bus;
  std::uint32_t device;
  std::uint32_t ids;
  std::uint32_t subsystem_ids;
  char bus_id[32];
};

struct Device {
  std::uint32_t index;
};
Device devices[] = {{0}, {1}};

int users = 0;
constexpr int kUninitialized = 1;
constexpr int kNotFound = 6;

int WritePCIInfo(std::uint32_t index, PCIInfo* info) {
  *info = {};
  Write(info->short_bus_id, "0000:41:00.0");
  Write(info->bus_id, "00000000:41:00.0");
  info->domain = 9;
  info->bus = kBuses[index];
  info->ids = info->subsystem_ids = 0xFFFFFFFF;
  return 0;
}
int Tell(std::uint32_t* output, std::uint32_t value) {
  *output = value;
  return users > 0 ? 0 : kUninitialized;
}
}  // namespace

DRIVER_CALL int nvmlInit_v2() {
  ++users;
  return 0;
}
DRIVER_CALL int nvmlShutdown() { return users-- > 0 ? 0 : kUninitialized; }
DRIVER_CALL const char* nvmlErrorString(int) { return "some error"; }
DRIVER_CALL int nvmlSystemGetDriverVersion(char*, unsigned) { return kNotFound; }
DRIVER_CALL int nvmlDeviceGetCount_v2(unsigned* count) { return Tell(count, 2); }
DRIVER_CALL int nvmlDeviceGetHandleByIndex_v2(unsigned index, Device** device) {
  if (index > 1) return kNotFound;
  *device = &devices[index];
  return 0;
}
DRIVER_CALL int nvmlDeviceGetPciInfo_v3(Device* device, PCIInfo* info) { return WritePCIInfo(device->index, info); }
DRIVER_CALL int nvmlDeviceGetCurrPcieLinkGeneration(Device*, unsigned* value) { return Tell(value, 3); }
DRIVER_CALL int nvmlDeviceGetMaxPcieLinkGeneration(Device*, unsigned* value) { return Tell(value, 4); }
DRIVER_CALL int nvmlDeviceGetCurrPcieLinkWidth(Device*, unsigned* value) { return Tell(value, 8); }
DRIVER_CALL int nvmlDeviceGetMaxPcieLinkWidth(Device*, unsigned* value) { return Tell(value, 16); }
DRIVER_CALL int nvmlDeviceGetVbiosVersion(Device*, char* version, unsigned size) {
  std::snprintf(version, size, "95.02.18.80.87");
  return 0;
}
DRIVER_CALL int nvmlDeviceGetNvLinkRemotePciInfo_v2(Device* device, unsigned link, PCIInfo* info) {
  return link == 0 ? WritePCIInfo(1 - device->index, info) : kNotFound;
}
DRIVER_CALL int nvmlDeviceGetNvLinkVersion(Device*, unsigned, unsigned* version) { return Tell(version, 3); }
