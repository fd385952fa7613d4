#include "Driver.h"

namespace {
struct GPU {
  std::uint32_t index;
};
GPU gpus[] = {{0}, {1}};

struct MemoryInfo {
  std::uint32_t version;
  std::uint32_t dedicated;
  std::uint32_t available_dedicated;
  std::uint32_t system;
  std::uint32_t shared;
  std::uint32_t current_available_dedicated;
  std::uint32_t evictions_size;
  std::uint32_t eviction_count;
};
static_assert(sizeof(MemoryInfo) == 32);

constexpr int kNotInitialized = -4;
constexpr int kEndOfEnumeration = -7;
constexpr int kInvalidHandle = -8;
constexpr int kIncompatibleStructure = -9;
int users = 0;

int Initialize() {
  ++users;
  return 0;
}
int Unload() {
  if (users == 0) return kNotInitialized;
  --users;
  return 0;
}
int Tell(std::uint32_t* output, std::uint32_t value) {
  *output = value;
  return users > 0 ? 0 : kNotInitialized;
}
int Text(char* output, const char* text) {
  std::snprintf(output, 64, "%s", text);
  return 0;
}

int GetDriverAndBranchVersion(std::uint32_t* version, char* branch) {
  Text(branch, "r535_00");
  return Tell(version, 53741);
}
int EnumPhysicalGPUs(GPU** handles, std::uint32_t* count) {
  handles[0] = &gpus[0];
  handles[1] = &gpus[1];
  return Tell(count, 2);
}
// One display, attached to the second card.
int EnumDisplayHandle(std::uint32_t index, void** display) {
  if (index > 0) return kEndOfEnumeration;
  *display = &gpus[1];
  return 0;
}
int EnumUnattachedDisplayHandle(std::uint32_t, void**) { return kEndOfEnumeration; }
int GetDisplayName(void*, char* name) { return Text(name, "\\\\.\\DISPLAY1"); }
int GetGPUsFromDisplay(void* display, GPU** handles, std::uint32_t* count) {
  handles[0] = static_cast<GPU*>(display);
  return Tell(count, 1);
}
int GetFullName(GPU* gpu, char* name) { return Text(name, gpu->index == 0 ? "NVIDIA Card 0" : "NVIDIA Card 1"); }
int GetVBIOSVersion(GPU*, char* version) { return Text(version, "95.02.18.80.87"); }
int GetBusID(GPU* gpu, std::uint32_t* bus) { return Tell(bus, kBuses[gpu->index]); }
int GetBusSlotID(GPU*, std::uint32_t* slot) { return Tell(slot, 0); }
int GetPCIIdentifiers(GPU* gpu, std::uint32_t* device, std::uint32_t* subsystem, std::uint32_t* revision,
                      std::uint32_t* external_device) {
  *device = 0x268410DE;
  *subsystem = 0x889D1043;
  *revision = 0xA1;
  return Tell(external_device, 0x2684 + gpu->index);
}
int GetPCIEWidth(GPU*, std::uint32_t* width) { return Tell(width, 8); }
int GetSystemType(GPU*, std::uint32_t* type) { return Tell(type, 2); }
int GetGPUType(GPU*, std::uint32_t* type) { return Tell(type, 2); }

int GetMemoryInfo(GPU* gpu, MemoryInfo* info) {
  if (users == 0) return kNotInitialized;
  if (gpu != &gpus[0] && gpu != &gpus[1]) return kInvalidHandle;
  if (info->version != 0x00030020) return kIncompatibleStructure;
  static std::uint32_t in_use = 0;
  *info = {info->version, 25'000'000 + gpu->index, 24'000'000 + gpu->index, 1, 2, 20'000'000 - ++in_use, 3, 4};
  return 0;
}

const struct {
  std::uint32_t id;
  void* function;
} kFunctions[] = {
    {0x0150E828, reinterpret_cast<void*>(Initialize)},
    {0xD22BDD7E, reinterpret_cast<void*>(Unload)},
    {0x2926AAAD, reinterpret_cast<void*>(GetDriverAndBranchVersion)},
    {0xE5AC921F, reinterpret_cast<void*>(EnumPhysicalGPUs)},
    {0x9ABDD40D, reinterpret_cast<void*>(EnumDisplayHandle)},
    {0x22A78B05, reinterpret_cast<void*>(GetDisplayName)},
    {0x34EF9506, reinterpret_cast<void*>(GetGPUsFromDisplay)},
    {0x20DE9260, reinterpret_cast<void*>(EnumUnattachedDisplayHandle)},
    {0xCEEE8E9F, reinterpret_cast<void*>(GetFullName)},
    {0xA561FD7D, reinterpret_cast<void*>(GetVBIOSVersion)},
    {0x1BE0B8E5, reinterpret_cast<void*>(GetBusID)},
    {0x2A0A350F, reinterpret_cast<void*>(GetBusSlotID)},
    {0x2DDFB66E, reinterpret_cast<void*>(GetPCIIdentifiers)},
    {0xD048C3B1, reinterpret_cast<void*>(GetPCIEWidth)},
    {0xBAAABFCC, reinterpret_cast<void*>(GetSystemType)},
    {0xC33BAEB1, reinterpret_cast<void*>(GetGPUType)},
    {0x07F9B368, reinterpret_cast<void*>(GetMemoryInfo)},
};
}  // namespace

DRIVER_CALL void* nvapi_QueryInterface(std::uint32_t id) {
  for (const auto& entry : kFunctions) {
    if (entry.id == id) return entry.function;
  }
  return nullptr;
}
