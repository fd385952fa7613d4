#include <cstddef>
#include <cstring>

#include "simulation/SimulatedLibraries.h"

// vulkan-1.dll: the loader and, behind it, the vendors' drivers.

namespace Vexil::Simulation {
namespace {

using Number = std::uint32_t;
using Handle = void*;

constexpr int kSuccess = 0;
constexpr int kIncomplete = 5;
constexpr int kOutOfHostMemory = -1;
constexpr int kInitializationFailed = -3;

constexpr const char* kName = "vulkan-1.dll";
constexpr std::uintptr_t kInstance = 0x5CA0;
constexpr std::uintptr_t kFirstDevice = 0x5CB0;

/// What every structure begins with.
struct Header {
  Number type;
  Header* next;
};

struct InstanceCreateInfo {
  Header header;
  Number flags;
  const void* application;
  Number layers;
  const char* const* layer_names;
  Number extensions;
  const char* const* extension_names;
};

struct Properties {
  Number api_version;
  Number driver_version;
  Number vendor_id;
  Number device_id;
  Number type;
  char name[256];
  unsigned char pipeline_cache_uuid[16];
  alignas(8) unsigned char limits[504];
  Number sparse[5];
};
static_assert(sizeof(Properties) == 824);

struct Properties2 {
  Header header;
  Properties properties;
};

struct IDProperties {
  Header header;
  unsigned char device_uuid[16];
  unsigned char driver_uuid[16];
  unsigned char luid[8];
  Number node_mask;
  Number luid_valid;
};
static_assert(sizeof(IDProperties) == 64 && offsetof(IDProperties, luid) == 48);

struct PCIBusInfo {
  Header header;
  Number domain;
  Number bus;
  Number device;
  Number function;
};
static_assert(sizeof(PCIBusInfo) == 32);

struct Extension {
  char name[256];
  Number version;
};

const VulkanDevice* Find(Handle handle) {
  const auto& vulkan = TheMachine().vulkan;
  const auto index = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(handle) - kFirstDevice);
  return vulkan ? At(vulkan->devices, index) : nullptr;
}

int vkCreateInstance(const InstanceCreateInfo* info, const void* /*allocator*/, Handle* instance) {
  if (EntryFails(SimulatedVulkan(), "vkCreateInstance")) return kInitializationFailed;
  if (info->header.type != 1 || info->layers != 0) return kInitializationFailed;
  CountUp(kName, 1);
  *instance = reinterpret_cast<Handle>(kInstance);
  return kSuccess;
}

void vkDestroyInstance(Handle instance, const void* /*allocator*/) {
  if (reinterpret_cast<std::uintptr_t>(instance) != kInstance) ReportMisuse("no instance of Vulkan's");
  EntryFails(SimulatedVulkan(), "vkDestroyInstance");
  CountDown(kName, kSuccess);
}

int vkEnumeratePhysicalDevices(Handle /*instance*/, Number* count, Handle* devices) {
  if (EntryFails(SimulatedVulkan(), "vkEnumeratePhysicalDevices", devices == nullptr ? "count" : "list")) {
    return kOutOfHostMemory;
  }
  const Vulkan& vulkan = *TheMachine().vulkan;
  const Number room = *count;
  *count = Count<Number>(vulkan.claimed_count, vulkan.devices);
  if (devices == nullptr) return kSuccess;
  *count = std::min<Number>(room, static_cast<Number>(vulkan.devices.size()));
  for (Number i = 0; i < *count; ++i) devices[i] = reinterpret_cast<Handle>(kFirstDevice + i);
  return *count < vulkan.devices.size() ? kIncomplete : kSuccess;
}

void Write(const VulkanDevice& from, Properties& to) {
  to.api_version = from.api_version;
  to.vendor_id = from.vendor_id;
  to.type = from.type.value_or(0);
  WriteText(from.name, to.name, sizeof(to.name));
}

void vkGetPhysicalDeviceProperties(Handle device, Properties* properties) {
  if (EntryFails(SimulatedVulkan(), "vkGetPhysicalDeviceProperties") || Find(device) == nullptr) return;
  Write(*Find(device), *properties);
}

void Write(const VulkanDevice& from, IDProperties& to) {
  std::memcpy(to.device_uuid, from.uuid.data(), from.uuid.size());
  to.luid_valid = from.luid ? 1 : 0;
  // Where it is not valid it is not zero either.
  const std::uint64_t luid = from.luid.value_or(0xBAD);
  std::memcpy(to.luid, &luid, sizeof(luid));
  to.node_mask = from.node_mask;
}

void vkGetPhysicalDeviceProperties2(Handle device, Properties2* properties) {
  const VulkanDevice* found = Find(device);
  if (EntryFails(SimulatedVulkan(), "vkGetPhysicalDeviceProperties2") || found == nullptr) return;
  if (found->api_version < 0x00401000) ReportMisuse("a device of Vulkan 1.0 has no vkGetPhysicalDeviceProperties2");
  if (properties->header.type != 1000059001) return ReportMisuse("no VkPhysicalDeviceProperties2");
  Write(*found, properties->properties);
  for (Header* next = properties->header.next; next != nullptr; next = next->next) {
    if (next->type == 1000071004) {
      Write(*found, *reinterpret_cast<IDProperties*>(next));
    } else if (next->type == 1000212000 && found->pci) {
      auto& place = *reinterpret_cast<PCIBusInfo*>(next);
      place = {place.header, 0, found->pci->bus, found->pci->device, found->pci->function};
    } else {
      ReportMisuse("a structure that this device does not know");
    }
  }
}

int vkEnumerateDeviceExtensionProperties(Handle device, const char* /*layer*/, Number* count, Extension* extensions) {
  const bool is_list = extensions != nullptr;
  if (EntryFails(SimulatedVulkan(), "vkEnumerateDeviceExtensionProperties", is_list ? "list" : "count")) {
    return kOutOfHostMemory;
  }
  const VulkanDevice* found = Find(device);
  const Number room = *count;
  *count = found != nullptr && found->pci ? 1 : 0;
  if (!is_list || *count == 0) return kSuccess;
  if (room == 0) return kIncomplete;
  WriteText("VK_EXT_pci_bus_info", extensions->name, sizeof(extensions->name));
  return kSuccess;
}

}  // namespace

const SimulatedLibrary& SimulatedVulkan() {
  static const SimulatedLibrary library = {
      kName,
      [] { return Installed(TheMachine().vulkan); },
      {{"vkCreateInstance", ToSymbol<vkCreateInstance>()},
       {"vkDestroyInstance", ToSymbol<vkDestroyInstance>()},
       {"vkEnumeratePhysicalDevices", ToSymbol<vkEnumeratePhysicalDevices>()},
       {"vkGetPhysicalDeviceProperties", ToSymbol<vkGetPhysicalDeviceProperties>()},
       {"vkGetPhysicalDeviceProperties2", ToSymbol<vkGetPhysicalDeviceProperties2>()},
       {"vkEnumerateDeviceExtensionProperties", ToSymbol<vkEnumerateDeviceExtensionProperties>()}}};
  return library;
}

}  // namespace Vexil::Simulation
