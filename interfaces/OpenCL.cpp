#define CL_TARGET_OPENCL_VERSION 300
#include <CL/cl.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

// Parameters of extensions, which not every set of headers has.
constexpr cl_device_info kDeviceUUID = 0x106A;
constexpr cl_device_info kLUIDValid = 0x106C;
constexpr cl_device_info kDeviceLUID = 0x106D;
constexpr cl_device_info kNodeMask = 0x106E;
constexpr cl_device_info kPCIBusInfo = 0x410F;
constexpr cl_device_info kNVIDIABus = 0x4008;
constexpr cl_device_info kNVIDIASlot = 0x4009;
constexpr cl_device_info kAMDTopology = 0x4037;

constexpr cl_int kPlatformNotFoundKHR = -1001;

class OpenCL : public VendorLibrary {
 public:
  OpenCL() : VendorLibrary("OpenCL.dll") {}

  bool Start() { return Open() && Resolve() == nullptr; }

  Entry<cl_int(cl_uint, cl_platform_id*, cl_uint*)> clGetPlatformIDs{*this, "clGetPlatformIDs"};
  Entry<cl_int(cl_platform_id, cl_platform_info, std::size_t, void*, std::size_t*)> clGetPlatformInfo{
      *this, "clGetPlatformInfo"};
  Entry<cl_int(cl_platform_id, cl_device_type, cl_uint, cl_device_id*, cl_uint*)> clGetDeviceIDs{*this,
                                                                                                 "clGetDeviceIDs"};
  Entry<cl_int(cl_device_id, cl_device_info, std::size_t, void*, std::size_t*)> clGetDeviceInfo{*this,
                                                                                                "clGetDeviceInfo"};

  std::vector<cl_platform_id> Platforms() {
    cl_uint count = 0;
    const cl_int status = clGetPlatformIDs(0, nullptr, &count);
    if (status == kPlatformNotFoundKHR) return {};
    std::vector<cl_platform_id> platforms(std::min(count, kMaxItems));
    if (status != CL_SUCCESS ||
        clGetPlatformIDs(static_cast<cl_uint>(platforms.size()), platforms.data(), nullptr) != CL_SUCCESS) {
      TheAccount().End(SourceState::CallFailed, clGetPlatformIDs.Name(), status);
      return {};
    }
    return platforms;
  }

  std::vector<cl_device_id> Devices(cl_platform_id platform) {
    cl_uint count = 0;
    cl_int status = clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &count);
    std::vector<cl_device_id> devices(status == CL_SUCCESS ? std::min(count, kMaxItems) : 0);
    if (!devices.empty()) {
      status =
          clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, static_cast<cl_uint>(devices.size()), devices.data(), nullptr);
    }
    if (status == CL_SUCCESS) return devices;
    if (status != CL_DEVICE_NOT_FOUND) TheAccount().Miss("", clGetDeviceIDs.Name(), status);
    return {};
  }

  /// False also where the answer has another size.
  template <typename Value>
  bool Get(cl_device_id device, cl_device_info parameter, Value& value) {
    std::size_t size = 0;
    return clGetDeviceInfo(device, parameter, sizeof(value), &value, &size) == CL_SUCCESS && size == sizeof(value);
  }

  template <typename Query, typename Object>
  static std::string Text(const Query& query, Object object, cl_uint parameter) {
    constexpr std::size_t kLongest = std::size_t{1} << 20;
    std::size_t size = 0;
    if (query(object, parameter, 0, nullptr, &size) != CL_SUCCESS || size > kLongest) return {};
    std::string buffer(size, '\0');
    if (query(object, parameter, size, buffer.data(), nullptr) != CL_SUCCESS) return {};
    return Trim(TextInBuffer(buffer.data(), buffer.size()));
  }
};

std::optional<PCIPlace> ReadPlace(OpenCL& opencl, cl_device_id device, const std::string& extensions) {
  if (ContainsNoCase(extensions, "cl_khr_pci_bus_info")) {
    cl_uint place[4] = {};
    if (opencl.Get(device, kPCIBusInfo, place)) return PCIPlace{place[0], place[1], place[2], place[3]};
  }
  if (ContainsNoCase(extensions, "cl_nv_device_attribute_query")) {
    cl_uint bus = 0;
    cl_uint slot = 0;
    if (opencl.Get(device, kNVIDIABus, bus) && opencl.Get(device, kNVIDIASlot, slot)) {
      return PCIPlace{{}, bus, slot >> 3, slot & 7};
    }
  }
  if (ContainsNoCase(extensions, "cl_amd_device_attribute_query")) {
    unsigned char topology[24] = {};
    cl_uint type = 0;
    const bool told = opencl.Get(device, kAMDTopology, topology);
    std::memcpy(&type, topology, sizeof(type));
    if (told && type == 1) return PCIPlace{{}, topology[21], topology[22], topology[23]};
  }
  return std::nullopt;
}

void Identify(OpenCL& opencl, cl_device_id handle, Device& device) {
  const std::string extensions = OpenCL::Text(opencl.clGetDeviceInfo, handle, CL_DEVICE_EXTENSIONS);
  device.pci = ReadPlace(opencl, handle, extensions);
  if (!ContainsNoCase(extensions, "cl_khr_device_uuid")) return;
  constexpr cl_uint kNVIDIA = 0x10DE;
  cl_uint vendor = 0;
  unsigned char uuid[16] = {};
  if (opencl.Get(handle, kDeviceUUID, uuid)) {
    SetUUID(device, uuid, opencl.Get(handle, CL_DEVICE_VENDOR_ID, vendor) && vendor == kNVIDIA);
  }
  cl_bool is_valid = CL_FALSE;
  unsigned char luid[8] = {};
  cl_uint node_mask = 0;
  if (opencl.Get(handle, kLUIDValid, is_valid) && is_valid != CL_FALSE && opencl.Get(handle, kDeviceLUID, luid)) {
    device.luid = ToLUID(luid);
    if (device.luid && opencl.Get(handle, kNodeMask, node_mask)) device.node_mask = node_mask;
  }
}

}  // namespace

Findings AskOpenCL() {
  OpenCL opencl;
  std::vector<Device> devices;
  const auto platforms = opencl.Start() ? opencl.Platforms() : std::vector<cl_platform_id>();
  std::size_t position = 0;
  for (std::size_t p = 0; p < platforms.size(); ++p) {
    opencl.TheAccount().About("platform", static_cast<std::int64_t>(p));
    const auto handles = opencl.Devices(platforms[p]);
    std::size_t gpus = 0;
    for (std::size_t d = 0; d < handles.size(); ++d, ++position) {
      cl_device_type type = 0;
      if (!opencl.Get(handles[d], CL_DEVICE_TYPE, type) || (type & CL_DEVICE_TYPE_GPU) == 0) continue;
      Device& device = devices.emplace_back();
      device.number = fmt::format("{}:{}", p, d);
      device.name = OpenCL::Text(opencl.clGetDeviceInfo, handles[d], CL_DEVICE_NAME);
      device.more = {{"platform", OpenCL::Text(opencl.clGetPlatformInfo, platforms[p], CL_PLATFORM_NAME)},
                     {"number_among_gpus", fmt::format("{}:{}", p, gpus++)},
                     {"position", std::to_string(position)}};
      Identify(opencl, handles[d], device);
    }
  }
  return MakeFindings(std::move(devices), opencl.TakeAccount());
}

}  // namespace Vexil::Interfaces
