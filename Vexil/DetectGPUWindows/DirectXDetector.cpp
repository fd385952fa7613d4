#include "Vexil/DetectGPUWindows/DirectXDetector.h"

#include <array>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/PCILocation.h"
#include "Vexil/Common/Text.h"
#include "Vexil/DetectCommon/OpenCLLibrary.h"
#include "Vexil/DetectGPUWindows/Monitors.h"
#include "Vexil/Platform/DXGI.h"
#include "Vexil/Platform/DisplayClass.h"
#include "Vexil/Platform/RunScope.h"

namespace Vexil {

using FlatBuffers::DirectXGPUT;
using FlatBuffers::Vendor;

namespace {

// From cl_khr_d3d10_sharing, whose header needs Direct3D 10's.
constexpr cl_uint kDXGIAdapterKHR = 0x4011;
constexpr cl_uint kPreferredDevicesKHR = 0x4012;
using GetDeviceIDsFromD3D10 = cl_int (*)(cl_platform_id platform, cl_uint source, void* object, cl_uint set,
                                         cl_uint entries, cl_device_id* devices, cl_uint* count);

constexpr const char* kOpenCLFields = "opencl_platform_id, opencl_device_id";

constexpr std::array kStatusNames = {
    StatusName{static_cast<DXGIStatus>(0x80004001), "E_NOTIMPL"},
    StatusName{static_cast<DXGIStatus>(0x80004002), "E_NOINTERFACE"},
    StatusName{static_cast<DXGIStatus>(0x80004005), "E_FAIL"},
    StatusName{static_cast<DXGIStatus>(0x8007000E), "E_OUTOFMEMORY"},
    StatusName{static_cast<DXGIStatus>(0x80070057), "E_INVALIDARG"},
    StatusName{static_cast<DXGIStatus>(0x887A0001), "DXGI_ERROR_INVALID_CALL"},
    StatusName{kDXGINotFound, "DXGI_ERROR_NOT_FOUND"},
    StatusName{static_cast<DXGIStatus>(0x887A0004), "DXGI_ERROR_UNSUPPORTED"},
    StatusName{static_cast<DXGIStatus>(0x887A0005), "DXGI_ERROR_DEVICE_REMOVED"},
    StatusName{static_cast<DXGIStatus>(0x887A0007), "DXGI_ERROR_DEVICE_RESET"},
    StatusName{static_cast<DXGIStatus>(0x887A0022), "DXGI_ERROR_NOT_CURRENTLY_AVAILABLE"},
};

/// The OpenCL devices that can share surfaces with DXGI adapters.
class OpenCLLink {
 public:
  OpenCLLink() {
    if (m_opencl->Initialize()) m_platforms = m_opencl->GetPlatforms();
  }

  /// What went wrong so far.
  void AddFailuresTo(Account& account) { account.Append(m_opencl->TakeAccount(), kOpenCLFields); }

  /// Stores the first platform of the adapter's vendor that shares with it, and its device. NVIDIA
  /// GPUs are found by their PCI location instead.
  void Connect(DXGIAdapter& adapter, DirectXGPUT& gpu) {
    const Vendor vendor = VendorFromText(gpu.name);
    if (vendor == Vendor::NVIDIA) return;
    for (cl_platform_id platform : m_platforms) {
      cl_device_id device = nullptr;
      m_opencl->About(platform);
      if (m_opencl->PlatformVendor(platform, kOpenCLFields) != vendor || !FindDevice(platform, adapter, device))
        continue;
      gpu.opencl_platform_id = FromHandle(platform);
      gpu.opencl_device_id = FromHandle(device);
      return;
    }
  }

 private:
  bool FindDevice(cl_platform_id platform, DXGIAdapter& adapter, cl_device_id& device) {
    if (!m_opencl->clGetExtensionFunctionAddressForPlatform) return false;
    if (!m_opencl->HasExtension(platform, "cl_khr_d3d10_sharing", kOpenCLFields)) return false;
    constexpr const char* kFunction = "clGetDeviceIDsFromD3D10KHR";
    const auto get_device_ids = reinterpret_cast<GetDeviceIDsFromD3D10>(
        m_opencl->clGetExtensionFunctionAddressForPlatform(platform, kFunction));
    if (get_device_ids == nullptr) {
      m_opencl->TheAccount().Miss(kOpenCLFields, m_opencl->clGetExtensionFunctionAddressForPlatform.Name());
      return false;
    }
    NoteCall(kFunction);
    const cl_int status =
        get_device_ids(platform, kDXGIAdapterKHR, adapter.Interface(), kPreferredDevicesKHR, 1, &device, nullptr);
    // "Not found" is the answer of a platform whose devices are others.
    if (status != CL_SUCCESS && status != CL_DEVICE_NOT_FOUND) {
      m_opencl->TheAccount().Miss(kOpenCLFields, kFunction, status, OpenCLStatusNames());
    }
    return status == CL_SUCCESS && device != nullptr;
  }

  std::shared_ptr<OpenCLLibrary> m_opencl = RunScope::Get<OpenCLLibrary>();
  std::vector<cl_platform_id> m_platforms;
};

PCILocation FindPCILocation(std::uint64_t luid, Account& account) {
  PCILocation location;
  DisplayClassDevices devices;
  bool are_all_known = true;
  while (devices.Next()) {
    const auto its_luid = devices.AdapterLUID();
    if (!its_luid) are_all_known = false;
    if (its_luid != luid) continue;
    if (!are_all_known) account.remarks.emplace_back("a display device before that of the adapter tells no LUID");
    const auto bus = devices.BusNumberProperty();
    const auto address = devices.AddressProperty();
    // Some hypervisors give the first bus as 256.
    constexpr std::uint32_t kVirtualBus = 256;
    if (bus) location.bus = *bus == kVirtualBus ? 0 : ToField(*bus);
    if (address) SetDeviceAndFunction(location, *address);
    if (!bus) account.Miss("pci_bus", "SetupDiGetDevicePropertyW DEVPKEY_Device_BusNumber");
    if (!address) account.Miss("pci_device, pci_function", "SetupDiGetDevicePropertyW DEVPKEY_Device_Address");
    return location;
  }
  account.Miss("pci_bus, pci_device, pci_function", "SetupDiGetDevicePropertyW DEVPKEY_Device_AdapterLuid");
  return location;
}

void AddOutputs(DXGIAdapter& adapter, DirectXGPUT& gpu, Account& account) {
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    std::string name;
    const DXGIStatus status = adapter.NameOutput(index, name);
    if (status < 0) {
      if (status != kDXGINotFound) account.Miss("output_names, monitors", "EnumOutputs", status, kStatusNames);
      return;
    }
    if (name.empty()) account.Miss("output_names, monitors", "IDXGIOutput GetDesc");
    gpu.output_names.push_back(name);
    AddMonitorsOn(name, gpu.is_first_adapter, gpu.monitors, account);
  }
}

DirectXGPUT MakeGPU(std::uint32_t index, const DXGIAdapterDescription& description, Account& account) {
  DirectXGPUT gpu;
  gpu.name = description.name;
  gpu.is_first_adapter = index == 0;
  gpu.vendor_id = ToField(description.vendor_id);
  gpu.device_id = ToField(description.device_id);
  gpu.subsys_id = ToField(description.subsys_id);
  gpu.revision = ToField(description.revision);
  gpu.dedicated_video_memory_mib = BytesToMiB(description.dedicated_video_memory);
  gpu.shared_system_memory_mib = BytesToMiB(description.shared_system_memory);
  SetPCILocation(gpu, FindPCILocation(description.luid, account));
  return gpu;
}

}  // namespace

Answer<DirectXGPUT> GetDirectXGPUs() {
  OpenCLLink opencl_link;
  Answer<DirectXGPUT> answer;
  Account& account = answer.account;
  const DXGIEnd end = ForEachDXGIAdapter([&](std::uint32_t index, DXGIAdapter* adapter) {
    account.About("adapter", index);
    if (adapter == nullptr) return account.Miss("", "QueryInterface IDXGIAdapter2");
    DXGIAdapterDescription description;
    if (const DXGIStatus status = adapter->Describe(description); status < 0) {
      account.Miss("name, vendor_id, device_id, subsys_id, revision, memory", "GetDesc2", status, kStatusNames);
    }
    if (description.is_software || ContainsNoCase(description.name, "microsoft")) return;
    DirectXGPUT gpu = MakeGPU(index, description, account);
    AddOutputs(*adapter, gpu, account);
    opencl_link.Connect(*adapter, gpu);
    answer.records.push_back(std::move(gpu));
  });
  account.About("");
  // The last failure is taken for the reason.
  opencl_link.AddFailuresTo(account);
  if (end.status != kDXGINotFound) account.End(SourceState::CallFailed, end.call, end.status, kStatusNames);
  return answer;
}

}  // namespace Vexil
