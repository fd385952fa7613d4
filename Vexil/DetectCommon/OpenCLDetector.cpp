#include "Vexil/DetectCommon/OpenCLDetector.h"

#include <algorithm>
#include <string>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/Patterns.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/DetectCommon/OpenCLLibrary.h"
#include "Vexil/Platform/RunScope.h"

namespace Vexil {

using FlatBuffers::OpenCLGPUT;
using FlatBuffers::Vendor;

namespace {

// Parameters of the vendors' extensions, which not every set of OpenCL headers has.
constexpr cl_device_info kPCIBusIDNV = 0x4008;
constexpr cl_device_info kPCISlotIDNV = 0x4009;
constexpr cl_device_info kTopologyAMD = 0x4037;
constexpr cl_device_info kBoardNameAMD = 0x4038;
constexpr cl_device_info kGlobalFreeMemoryAMD = 0x4039;
constexpr cl_device_info kNumP2PDevicesAMD = 0x4088;
constexpr cl_device_info kP2PDevicesAMD = 0x4089;

constexpr const char* kPCILocation = "pci_bus, pci_device";

constexpr const char* kNVAttributeQuery = "cl_nv_device_attribute_query";
constexpr const char* kAMDAttributeQuery = "cl_amd_device_attribute_query";

struct TopologyAMD {
  cl_uint type;
  unsigned char unused[17];
  unsigned char bus;
  unsigned char device;
  unsigned char function;
};
static_assert(sizeof(TopologyAMD) == 24);
constexpr cl_uint kTopologyTypePCIe = 1;

void GetNVPCIInfo(OpenCLLibrary& opencl, cl_device_id device, OpenCLGPUT& gpu) {
  cl_uint bus = 0;
  cl_uint slot = 0;
  if (!opencl.GetDeviceInfo(kPCILocation, device, kPCIBusIDNV, bus) ||
      !opencl.GetDeviceInfo(kPCILocation, device, kPCISlotIDNV, slot)) {
    return;
  }
  gpu.pci_bus = ToField(bus);
  gpu.pci_device = ToField(slot);
}

void GetAMDPCIInfo(OpenCLLibrary& opencl, cl_device_id device, OpenCLGPUT& gpu) {
  TopologyAMD topology = {};
  if (!opencl.GetDeviceInfo(kPCILocation, device, kTopologyAMD, topology)) return;
  if (topology.type != kTopologyTypePCIe) return;
  gpu.pci_bus = topology.bus;
  gpu.pci_device = topology.device;
}

/// The name on the box; the device's own name is that of its chip.
std::string GetAMDBoardName(OpenCLLibrary& opencl, cl_device_id device) {
  constexpr const char* kField = "name (the board's)";
  if (!opencl.HasExtension(device, kAMDAttributeQuery, kField)) return {};
  char name[4096] = {};
  return opencl.GetDeviceInfo(kField, device, kBoardNameAMD, name) ? CleanGPUName(TextInBuffer(name), Vendor::AMD)
                                                                   : std::string();
}

std::vector<std::uint64_t> GetAMDP2PDevices(OpenCLLibrary& opencl, cl_device_id device) {
  if (!opencl.HasExtension(device, "cl_amd_copy_buffer_p2p", "peers")) return {};
  std::uint64_t count = 0;
  if (!opencl.GetDeviceInfo("peers", device, kNumP2PDevicesAMD, count) || count == 0) return {};
  std::vector<cl_device_id> peers(static_cast<std::size_t>(std::min<std::uint64_t>(count, kMaxItems)), nullptr);
  const std::size_t size = peers.size() * sizeof(cl_device_id);
  if (!opencl.Tells("peers", opencl.clGetDeviceInfo, device, kP2PDevicesAMD, size, peers.data(), nullptr)) return {};
  peers.erase(std::remove(peers.begin(), peers.end(), nullptr), peers.end());
  std::vector<std::uint64_t> handles(peers.size());
  std::transform(peers.begin(), peers.end(), handles.begin(), FromHandle<cl_device_id>);
  return handles;
}

void ReadVersion(OpenCLLibrary& opencl, cl_platform_id platform, OpenCLGPUT& gpu) {
  const std::string text = opencl.GetPlatformInfoString(platform, CL_PLATFORM_VERSION, "version_major, version_minor");
  const auto version = FindVersion(text, 2, "OpenCL ");
  if (!version) return;
  gpu.version_major = version->at(0);
  gpu.version_minor = version->at(1);
}

std::int32_t ReadMemoryMiB(OpenCLLibrary& opencl, cl_device_id device) {
  cl_ulong bytes = 0;
  const bool known = opencl.GetDeviceInfo("memory_mib", device, CL_DEVICE_GLOBAL_MEM_SIZE, bytes);
  const std::int32_t mib = known ? BytesToMiB(bytes) : 0;
  return mib != 0 ? mib : kUnknown;
}

bool ReadHostUnifiedMemory(OpenCLLibrary& opencl, cl_device_id device) {
  cl_bool unified = CL_FALSE;
  return opencl.GetDeviceInfo("host_unified_memory", device, CL_DEVICE_HOST_UNIFIED_MEMORY, unified) &&
         unified != CL_FALSE;
}

Vendor DeviceVendor(const OpenCLGPUT& gpu) {
  const Vendor vendor = VendorFromText(gpu.vendor);
  return vendor != Vendor::Unknown ? vendor : VendorFromText(gpu.name);
}

bool IsSoftwareDevice(const OpenCLGPUT& gpu) {
  return ContainsNoCase(gpu.platform_name, "OpenCLOn12") || ContainsNoCase(gpu.name, "Microsoft Basic Render Driver");
}

void ReadPCILocation(OpenCLLibrary& opencl, cl_device_id device, OpenCLGPUT& gpu) {
  if (gpu.nv_attribute_query) {
    GetNVPCIInfo(opencl, device, gpu);
  } else if (gpu.amd_attribute_query) {
    GetAMDPCIInfo(opencl, device, gpu);
    const std::string board_name = GetAMDBoardName(opencl, device);
    if (!board_name.empty()) gpu.name = board_name;
  }
}

/// False for a device that is no GPU.
bool ReadDevice(OpenCLLibrary& opencl, cl_platform_id platform, cl_device_id device, bool has_siblings,
                OpenCLGPUT& gpu) {
  gpu.device_id = FromHandle(device);
  gpu.platform_id = FromHandle(platform);
  gpu.platform_name = opencl.GetPlatformInfoString(platform, CL_PLATFORM_NAME, "platform_name");
  gpu.vendor = opencl.GetDeviceInfoString(device, CL_DEVICE_VENDOR, "vendor");
  gpu.name = opencl.GetDeviceInfoString(device, CL_DEVICE_NAME, "name");
  gpu.memory_mib = ReadMemoryMiB(opencl, device);
  gpu.driver_version = opencl.GetDeviceInfoString(device, CL_DRIVER_VERSION, "driver_version");
  gpu.host_unified_memory = ReadHostUnifiedMemory(opencl, device);
  if (IsSoftwareDevice(gpu)) return false;

  ReadVersion(opencl, platform, gpu);
  const Vendor vendor = DeviceVendor(gpu);
  const std::string extensions = opencl.GetDeviceInfoString(
      device, CL_DEVICE_EXTENSIONS, "nv_attribute_query, amd_attribute_query, pci_bus, pci_device");
  gpu.nv_attribute_query = ContainsNoCase(extensions, kNVAttributeQuery);
  gpu.amd_attribute_query = ContainsNoCase(extensions, kAMDAttributeQuery);
  ReadPCILocation(opencl, device, gpu);
  if (has_siblings && vendor == Vendor::AMD) gpu.peers = GetAMDP2PDevices(opencl, device);
  return true;
}

std::vector<OpenCLGPUT> ReadGPUs(OpenCLLibrary& opencl) {
  if (!opencl.Initialize()) return {};
  std::vector<OpenCLGPUT> gpus;
  for (cl_platform_id platform : opencl.GetPlatforms()) {
    const auto devices = opencl.GetDevices(platform);
    for (std::size_t index = 0; index < devices.size(); ++index) {
      opencl.About(platform, index);
      OpenCLGPUT gpu;
      if (ReadDevice(opencl, platform, devices[index], devices.size() >= 2, gpu)) gpus.push_back(std::move(gpu));
    }
  }
  return gpus;
}

}  // namespace

Answer<OpenCLGPUT> GetOpenCLGPUs() {
  const auto opencl = RunScope::Get<OpenCLLibrary>();
  return {ReadGPUs(*opencl), opencl->TakeAccount()};
}

bool GetAMDDeviceMemoryInfo(std::uint64_t device, std::uint64_t& available, std::uint64_t& total) {
  available = 0;
  total = 0;
  const auto opencl = RunScope::Get<OpenCLLibrary>();
  if (device == 0 || !opencl->Initialize()) return false;
  cl_ulong free_kilobytes[2] = {};
  cl_ulong bytes = 0;
  constexpr const char* kLiveFigures = "memory";
  const bool free_known = opencl->GetDeviceInfo(kLiveFigures, ToDevice(device), kGlobalFreeMemoryAMD, free_kilobytes);
  const bool total_known = opencl->GetDeviceInfo(kLiveFigures, ToDevice(device), CL_DEVICE_GLOBAL_MEM_SIZE, bytes);
  if (!free_known || !total_known) return false;
  total = bytes;
  // As for NVAPI, although the driver counts KiB. Absurd counts are cut off before they overflow.
  constexpr std::uint64_t kBytesPerKilobyte = 1000;
  available = free_kilobytes[0] > total / kBytesPerKilobyte ? total : free_kilobytes[0] * kBytesPerKilobyte;
  return true;
}

}  // namespace Vexil
