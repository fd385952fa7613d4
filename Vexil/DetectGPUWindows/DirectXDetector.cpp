#include "DetectGPUWindows/DirectXDetector.h"

#include "Common/Limits.h"
#include "Common/Naming.h"
#include "Common/PCILocation.h"
#include "Common/Text.h"
#include "DetectCommon/OpenCLLibrary.h"
#include "DetectGPUWindows/Monitors.h"
#include "Windows/DXGI.h"
#include "Windows/DisplayClass.h"

namespace Vexil {

using FlatBuffers::DirectXGPUT;
using FlatBuffers::Vendor;

namespace {

// From cl_khr_d3d10_sharing, whose header needs Direct3D 10's.
constexpr cl_uint kDXGIAdapterKHR = 0x4011;
constexpr cl_uint kPreferredDevicesKHR = 0x4012;
using GetDeviceIDsFromD3D10 = cl_int (*)(cl_platform_id platform, cl_uint source, void* object, cl_uint set,
                                         cl_uint entries, cl_device_id* devices, cl_uint* count);

/// The OpenCL devices that can share surfaces with DXGI adapters.
class OpenCLLink {
 public:
  OpenCLLink() {
    if (m_opencl.Initialize()) m_platforms = m_opencl.GetPlatforms();
  }

  /// Stores the first platform of the adapter's vendor that shares with it, and its device. NVIDIA
  /// GPUs are found by their PCI location instead.
  void Connect(DXGIAdapter& adapter, DirectXGPUT& gpu) const {
    const Vendor vendor = VendorFromText(gpu.name);
    if (vendor == Vendor::NVIDIA) return;
    for (cl_platform_id platform : m_platforms) {
      cl_device_id device = nullptr;
      if (m_opencl.PlatformVendor(platform) != vendor || !FindDevice(platform, adapter, device)) continue;
      gpu.opencl_platform_id = FromHandle(platform);
      gpu.opencl_device_id = FromHandle(device);
      return;
    }
  }

 private:
  bool FindDevice(cl_platform_id platform, DXGIAdapter& adapter, cl_device_id& device) const {
    if (!m_opencl.HasExtension(platform, "cl_khr_d3d10_sharing")) return false;
    const auto get_device_ids = reinterpret_cast<GetDeviceIDsFromD3D10>(
        m_opencl.clGetExtensionFunctionAddressForPlatform(platform, "clGetDeviceIDsFromD3D10KHR"));
    return get_device_ids != nullptr &&
           get_device_ids(platform, kDXGIAdapterKHR, adapter.Interface(), kPreferredDevicesKHR, 1, &device, nullptr) ==
               CL_SUCCESS &&
           device != nullptr;
  }

  OpenCLLibrary m_opencl;
  std::vector<cl_platform_id> m_platforms;
};

PCILocation FindPCILocation(std::uint64_t luid) {
  PCILocation location;
  DisplayClassDevices devices;
  while (devices.Next()) {
    if (devices.AdapterLUID() != luid) continue;
    // Some hypervisors give the first bus as 256.
    constexpr std::uint32_t kVirtualBus = 256;
    if (const auto bus = devices.BusNumberProperty()) location.bus = *bus == kVirtualBus ? 0 : ToField(*bus);
    if (const auto address = devices.AddressProperty()) SetDeviceAndFunction(location, *address);
    break;
  }
  return location;
}

void AddOutputs(DXGIAdapter& adapter, DirectXGPUT& gpu) {
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    const auto output_name = adapter.OutputName(index);
    if (!output_name) return;
    gpu.output_names.push_back(*output_name);
    AddMonitorsOn(*output_name, gpu.is_first_adapter, gpu.monitors);
  }
}

DirectXGPUT MakeGPU(std::uint32_t index, const DXGIAdapterDescription& description) {
  DirectXGPUT gpu;
  gpu.name = description.name;
  gpu.is_first_adapter = index == 0;
  gpu.vendor_id = ToField(description.vendor_id);
  gpu.device_id = ToField(description.device_id);
  gpu.subsys_id = ToField(description.subsys_id);
  gpu.revision = ToField(description.revision);
  gpu.dedicated_video_memory_mib = BytesToMiB(description.dedicated_video_memory);
  gpu.shared_system_memory_mib = BytesToMiB(description.shared_system_memory);
  SetPCILocation(gpu, FindPCILocation(description.luid));
  return gpu;
}

}  // namespace

std::vector<DirectXGPUT> GetDirectXGPUs() {
  const OpenCLLink opencl_link;
  std::vector<DirectXGPUT> gpus;
  ForEachDXGIAdapter([&](std::uint32_t index, DXGIAdapter& adapter) {
    const DXGIAdapterDescription description = adapter.Description();
    if (description.is_software || ContainsNoCase(description.name, "microsoft")) return;
    DirectXGPUT gpu = MakeGPU(index, description);
    AddOutputs(adapter, gpu);
    opencl_link.Connect(adapter, gpu);
    gpus.push_back(std::move(gpu));
  });
  return gpus;
}

}  // namespace Vexil
