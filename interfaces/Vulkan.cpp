// Prototypes would only be in the way: the loader is found at run time.
#define VK_NO_PROTOTYPES
#include <vulkan/vulkan.h>

#include <algorithm>
#include <cstring>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

class Vulkan : public VendorLibrary {
 public:
  Vulkan() : VendorLibrary("vulkan-1.dll") {}
  ~Vulkan() {
    if (m_instance != nullptr) vkDestroyInstance(m_instance, nullptr);
  }

  /// An instance without layers and extensions of its own.
  bool Start() {
    if (!Open() || Resolve() != nullptr) return false;
    VkApplicationInfo application = {};
    application.sType = VK_STRUCTURE_TYPE_APPLICATION_INFO;
    application.apiVersion = VK_API_VERSION_1_1;
    VkInstanceCreateInfo create = {};
    create.sType = VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO;
    create.pApplicationInfo = &application;
    return Starts(vkCreateInstance, &create, nullptr, &m_instance);
  }

  std::vector<VkPhysicalDevice> Devices() {
    std::uint32_t count = 0;
    if (!Lists(vkEnumeratePhysicalDevices, m_instance, &count, nullptr)) return {};
    std::vector<VkPhysicalDevice> devices(std::min(count, kMaxItems));
    count = static_cast<std::uint32_t>(devices.size());
    const VkResult status = vkEnumeratePhysicalDevices(m_instance, &count, devices.data());
    // Layers that fight over the list say for ever that it is not complete; what arrived counts.
    if (status != VK_SUCCESS && status != VK_INCOMPLETE) {
      TheAccount().End(SourceState::CallFailed, vkEnumeratePhysicalDevices.Name(), status);
      return {};
    }
    devices.resize(std::min<std::size_t>(count, devices.size()));
    return devices;
  }

  bool HasExtension(VkPhysicalDevice device, const char* name) const {
    std::uint32_t count = 0;
    if (vkEnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr) != VK_SUCCESS) return false;
    std::vector<VkExtensionProperties> extensions(std::min(count, kMaxItems));
    count = static_cast<std::uint32_t>(extensions.size());
    if (vkEnumerateDeviceExtensionProperties(device, nullptr, &count, extensions.data()) < 0) return false;
    extensions.resize(std::min<std::size_t>(count, extensions.size()));
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](const VkExtensionProperties& e) { return TextInBuffer(e.extensionName) == name; });
  }

  Entry<VkResult(const VkInstanceCreateInfo*, const VkAllocationCallbacks*, VkInstance*)> vkCreateInstance{
      *this, "vkCreateInstance"};
  Entry<void(VkInstance, const VkAllocationCallbacks*)> vkDestroyInstance{*this, "vkDestroyInstance"};
  Entry<VkResult(VkInstance, std::uint32_t*, VkPhysicalDevice*)> vkEnumeratePhysicalDevices{
      *this, "vkEnumeratePhysicalDevices"};
  Entry<void(VkPhysicalDevice, VkPhysicalDeviceProperties*)> vkGetPhysicalDeviceProperties{
      *this, "vkGetPhysicalDeviceProperties"};
  Entry<VkResult(VkPhysicalDevice, const char*, std::uint32_t*, VkExtensionProperties*)>
      vkEnumerateDeviceExtensionProperties{*this, "vkEnumerateDeviceExtensionProperties"};
  /// Loaders from before 1.1 lack it.
  Entry<void(VkPhysicalDevice, VkPhysicalDeviceProperties2*)> vkGetPhysicalDeviceProperties2{
      *this, "vkGetPhysicalDeviceProperties2", Need::Optional};

 private:
  VkInstance m_instance = nullptr;
};

const char* TypeName(const VkPhysicalDeviceType& told) {
  // A driver may tell a number that is no enumerator.
  std::uint32_t type = 0;
  std::memcpy(&type, &told, sizeof(type));
  switch (type) {
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU: return "integrated";
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU: return "discrete";
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU: return "virtual";
    case VK_PHYSICAL_DEVICE_TYPE_CPU: return "cpu";
    default: return "other";
  }
}

void Identify(Vulkan& vulkan, VkPhysicalDevice handle, std::uint32_t vendor, Device& device) {
  VkPhysicalDevicePCIBusInfoPropertiesEXT place = {};
  place.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PCI_BUS_INFO_PROPERTIES_EXT;
  VkPhysicalDeviceIDProperties identity = {};
  identity.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ID_PROPERTIES;
  VkPhysicalDeviceProperties2 properties = {};
  properties.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2;
  properties.pNext = &identity;
  const bool has_place = vulkan.HasExtension(handle, VK_EXT_PCI_BUS_INFO_EXTENSION_NAME);
  if (has_place) identity.pNext = &place;
  vulkan.vkGetPhysicalDeviceProperties2(handle, &properties);
  if (has_place) device.pci = PCIPlace{place.pciDomain, place.pciBus, place.pciDevice, place.pciFunction};
  if (identity.deviceLUIDValid == VK_TRUE) device.luid = ToLUID(identity.deviceLUID);
  if (device.luid) device.node_mask = identity.deviceNodeMask;
  constexpr std::uint32_t kNVIDIA = 0x10DE;
  SetUUID(device, identity.deviceUUID, vendor == kNVIDIA);
}

}  // namespace

Findings AskVulkan() {
  Vulkan vulkan;
  std::vector<Device> devices;
  if (vulkan.Start()) {
    for (VkPhysicalDevice handle : vulkan.Devices()) {
      VkPhysicalDeviceProperties properties = {};
      vulkan.vkGetPhysicalDeviceProperties(handle, &properties);
      Device device;
      device.number = std::to_string(devices.size());
      device.name = TextInBuffer(properties.deviceName);
      device.more.emplace_back("type", TypeName(properties.deviceType));
      // Older drivers do not know the structures.
      const bool knows_identity = properties.apiVersion >= VK_API_VERSION_1_1;
      if (knows_identity && vulkan.vkGetPhysicalDeviceProperties2) {
        Identify(vulkan, handle, properties.vendorID, device);
      }
      devices.push_back(std::move(device));
    }
  }
  return MakeFindings(std::move(devices), vulkan.TakeAccount());
}

}  // namespace Vexil::Interfaces
