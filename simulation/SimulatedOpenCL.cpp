#include <cstring>

#include "simulation/SimulatedLibraries.h"

// OpenCL.dll: the loader and, behind it, the vendors' platforms.

namespace Vexil::Simulation {
namespace {

using Handle = void*;
using Number = std::uint32_t;

constexpr int kSuccess = 0;
constexpr int kDeviceNotFound = -1;
constexpr int kOutOfHostMemory = -6;
constexpr int kInvalidValue = -30;
constexpr int kInvalidPlatform = -32;
constexpr int kInvalidDevice = -33;
constexpr int kNoPlatforms = -1001;

constexpr std::uint64_t kTypeCPU = 2;
constexpr std::uint64_t kTypeGPU = 4;
constexpr std::uint64_t kTypeAll = 0xFFFFFFFF;

// Platform p is (p + 1) << 16, and its device d is that plus d + 1.

Handle ToHandle(std::size_t platform) { return reinterpret_cast<Handle>((platform + 1) << 16); }
Handle ToHandle(std::size_t platform, std::size_t device) {
  return reinterpret_cast<Handle>(((platform + 1) << 16) + device + 1);
}
std::size_t PlatformOf(Handle handle) { return (reinterpret_cast<std::uintptr_t>(handle) >> 16) - 1; }
std::int64_t DeviceOf(Handle handle) {
  return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(handle) & 0xFFFF) - 1;
}

const OpenCLPlatform* FindPlatform(Handle handle) {
  return At(TheMachine().opencl->platforms, static_cast<std::int64_t>(PlatformOf(handle)));
}

const OpenCLDevice* FindDevice(Handle handle) {
  const OpenCLPlatform* platform = FindPlatform(handle);
  return platform != nullptr ? At(platform->devices, DeviceOf(handle)) : nullptr;
}

/// Where an answer of any kind goes.
struct Answer {
  std::size_t size = 0;
  void* buffer = nullptr;
  std::size_t* size_out = nullptr;
  std::optional<std::uint64_t> claimed_text_size;

  int Bytes(const void* bytes, std::size_t count) const {
    if (size_out != nullptr) *size_out = count;
    if (buffer == nullptr) return kSuccess;
    if (size < count) return kInvalidValue;
    if (count > 0) std::memcpy(buffer, bytes, count);
    return kSuccess;
  }

  /// As some drivers do it, an empty text has not even a NUL.
  int Text(const std::string& text) const {
    const int status = Bytes(text.c_str(), text.empty() ? 0 : text.size() + 1);
    if (size_out != nullptr && claimed_text_size) *size_out = *claimed_text_size;
    return status;
  }

  template <typename To, typename From>
  int Value(const std::optional<From>& value) const {
    if (!value) return kInvalidValue;
    const auto answer = static_cast<To>(*value);
    return Bytes(&answer, sizeof(answer));
  }
};

/// A list of handles; where more are claimed than there are, the rest of the caller's list is left alone.
int Handles(const std::vector<Handle>& handles, std::optional<std::int64_t> claimed, Number room, Handle* list,
            Number* count) {
  if (count != nullptr) *count = Count<Number>(claimed, handles);
  if (list != nullptr) std::copy_n(handles.begin(), std::min<std::size_t>(room, handles.size()), list);
  return kSuccess;
}

int clGetPlatformIDs(Number room, Handle* platforms, Number* count) {
  if (EntryFails(SimulatedOpenCL(), "clGetPlatformIDs", platforms == nullptr ? "count" : "list")) {
    return kOutOfHostMemory;
  }
  const OpenCL& opencl = *TheMachine().opencl;
  std::vector<Handle> handles;
  for (std::size_t index = 0; index < opencl.platforms.size(); ++index) handles.push_back(ToHandle(index));
  if (handles.empty()) return kNoPlatforms;
  return Handles(handles, opencl.claimed_count, room, platforms, count);
}

int clGetPlatformInfo(Handle platform, Number parameter, std::size_t size, void* buffer, std::size_t* size_out) {
  if (EntryFails(SimulatedOpenCL(), "clGetPlatformInfo", Hex(parameter))) return kOutOfHostMemory;
  const OpenCLPlatform* found = FindPlatform(platform);
  if (found == nullptr) return kInvalidPlatform;
  const Answer answer{size, buffer, size_out, found->claimed_text_size};
  switch (parameter) {
    case 0x0901: return answer.Text(found->version);
    case 0x0902: return answer.Text(found->name);
    case 0x0904: return answer.Text(found->extensions);
    case 0x102C: return found->device_vendor ? answer.Text(*found->device_vendor) : kInvalidValue;
    default: return kInvalidValue;
  }
}

int clGetDeviceIDs(Handle platform, std::uint64_t type, Number room, Handle* devices, Number* count) {
  if (EntryFails(SimulatedOpenCL(), "clGetDeviceIDs", devices == nullptr ? "count" : "list")) return kOutOfHostMemory;
  const OpenCLPlatform* found = FindPlatform(platform);
  if (found == nullptr) return kInvalidPlatform;
  std::vector<Handle> handles;
  for (std::size_t index = 0; index < found->devices.size(); ++index) {
    const bool is_meant = type == kTypeAll || (type == kTypeGPU && found->devices[index].is_gpu);
    if (is_meant) handles.push_back(ToHandle(PlatformOf(platform), index));
  }
  if (handles.empty()) return kDeviceNotFound;
  return Handles(handles, found->claimed_count, room, devices, count);
}

/// What only devices with the vendor's extension answer.
int TellNVIDIA(const OpenCLDevice& device, Number parameter, const Answer& answer) {
  if (!device.pci) return kInvalidValue;
  // NVIDIA's "slot" is device and function.
  const Number slot = device.pci->device << 3 | device.pci->function;
  return answer.Value<Number>(std::optional(parameter == 0x4008 ? device.pci->bus : slot));
}

int TellTopology(const OpenCLDevice& device, const Answer& answer) {
  if (!device.pci) return kInvalidValue;
  unsigned char topology[24] = {};
  std::memcpy(topology, &device.topology_type, sizeof(device.topology_type));
  topology[21] = static_cast<unsigned char>(device.pci->bus);
  topology[22] = static_cast<unsigned char>(device.pci->device);
  topology[23] = static_cast<unsigned char>(device.pci->function);
  return answer.Bytes(topology, sizeof(topology));
}

int TellBoardName(const OpenCLDevice& device, const Answer& answer) {
  if (!device.board_name || answer.buffer == nullptr) return kInvalidValue;
  WriteText(*device.board_name, static_cast<char*>(answer.buffer), answer.size);
  return kSuccess;
}

int TellAMD(const OpenCLDevice& device, Number parameter, const Answer& answer) {
  switch (parameter) {
    case 0x4037: return TellTopology(device, answer);
    case 0x4038: return TellBoardName(device, answer);
    default: {
      if (!device.free_memory_kib) return kInvalidValue;
      const std::uint64_t free[2] = {*device.free_memory_kib, *device.free_memory_kib / 2};
      return answer.Bytes(free, sizeof(free));
    }
  }
}

int TellPeers(Handle handle, const OpenCLDevice& device, Number parameter, const Answer& answer) {
  if (parameter == 0x4088) {
    const std::uint64_t count = device.peer_count.value_or(device.peers.size());
    // As AMD does it, into half of the caller's eight bytes.
    const bool is_small = count <= ~Number{0};
    return is_small ? answer.Value<Number>(std::optional(count)) : answer.Value<std::uint64_t>(std::optional(count));
  }
  std::vector<Handle> peers;
  for (const std::size_t index : device.peers) peers.push_back(ToHandle(PlatformOf(handle), index));
  return answer.Bytes(peers.data(), peers.size() * sizeof(Handle));
}

int TellIdentity(const OpenCLDevice& device, Number parameter, const Answer& answer) {
  switch (parameter) {
    case 0x106A: return device.uuid ? answer.Bytes(device.uuid->data(), device.uuid->size()) : kInvalidValue;
    case 0x106C: return answer.Value<Number>(std::optional(device.own_luid ? 1 : 0));
    // Where it is not valid it is not zero either.
    case 0x106D: return answer.Value<std::uint64_t>(std::optional(device.own_luid.value_or(0xBAD)));
    default: return answer.Value<Number>(std::optional(device.node_mask));
  }
}

int TellPCIBus(const OpenCLDevice& device, const Answer& answer) {
  if (!device.pci) return kInvalidValue;
  const Number place[4] = {0, device.pci->bus, device.pci->device, device.pci->function};
  return answer.Bytes(place, sizeof(place));
}

int clGetDeviceInfo(Handle device, Number parameter, std::size_t size, void* buffer, std::size_t* size_out) {
  if (EntryFails(SimulatedOpenCL(), "clGetDeviceInfo", Hex(parameter), DeviceOf(device))) return kOutOfHostMemory;
  const OpenCLDevice* found = FindDevice(device);
  if (found == nullptr) return kInvalidDevice;
  const auto has = [&](const char* extension) { return found->extensions.find(extension) != std::string::npos; };
  const Answer answer{size, buffer, size_out, found->claimed_text_size};
  switch (parameter) {
    case 0x1000: return answer.Value<std::uint64_t>(std::optional(found->is_gpu ? kTypeGPU : kTypeCPU));
    case 0x1001: return answer.Value<Number>(std::optional(found->vendor_id));
    case 0x101F: return answer.Value<std::uint64_t>(found->memory_bytes);
    case 0x102B: return answer.Text(found->name);
    case 0x102C: return answer.Text(found->vendor);
    case 0x102D: return answer.Text(found->driver_version);
    case 0x1030: return answer.Text(found->extensions);
    case 0x1035: return answer.Value<Number>(found->unified_memory);
    case 0x4008:
    case 0x4009: return has("cl_nv_device_attribute_query") ? TellNVIDIA(*found, parameter, answer) : kInvalidValue;
    case 0x106A:
    case 0x106C:
    case 0x106D:
    case 0x106E: return has("cl_khr_device_uuid") ? TellIdentity(*found, parameter, answer) : kInvalidValue;
    case 0x410F: return has("cl_khr_pci_bus_info") ? TellPCIBus(*found, answer) : kInvalidValue;
    case 0x4037:
    case 0x4038:
    case 0x4039: return has("cl_amd_device_attribute_query") ? TellAMD(*found, parameter, answer) : kInvalidValue;
    case 0x4088:
    case 0x4089: return has("cl_amd_copy_buffer_p2p") ? TellPeers(device, *found, parameter, answer) : kInvalidValue;
    default: return kInvalidValue;
  }
}

int clGetDeviceIDsFromD3D10KHR(Handle platform, Number source, void* object, Number set, Number room, Handle* devices,
                               Number* count) {
  if (EntryFails(SimulatedOpenCL(), "clGetDeviceIDsFromD3D10KHR")) return kOutOfHostMemory;
  constexpr Number kDXGIAdapter = 0x4011;
  constexpr Number kPreferredDevices = 0x4012;
  if (source != kDXGIAdapter || set != kPreferredDevices) return kInvalidValue;
  const std::optional<std::uint64_t> luid = AdapterLUID(object);
  const OpenCLPlatform& found = *FindPlatform(platform);
  const auto& all = found.devices;
  std::vector<Handle> handles;
  for (std::size_t index = 0; index < all.size(); ++index) {
    const bool shares = found.shares_first_device ? index == 0 : luid && all[index].luid == luid;
    if (shares) handles.push_back(ToHandle(PlatformOf(platform), index));
  }
  if (handles.empty()) return kDeviceNotFound;
  return Handles(handles, std::nullopt, room, devices, count);
}

void* clGetExtensionFunctionAddressForPlatform(Handle platform, const char* name) {
  const bool fails = EntryFails(SimulatedOpenCL(), "clGetExtensionFunctionAddressForPlatform");
  if (fails || std::string_view(name) != "clGetDeviceIDsFromD3D10KHR") return nullptr;
  const bool offered = FindPlatform(platform)->extensions.find("cl_khr_d3d10_sharing") != std::string::npos;
  return offered ? reinterpret_cast<void*>(ToSymbol<clGetDeviceIDsFromD3D10KHR>()) : nullptr;
}

}  // namespace

const SimulatedLibrary& SimulatedOpenCL() {
  static const SimulatedLibrary library = {
      "OpenCL.dll",
      [] { return Installed(TheMachine().opencl); },
      {{"clGetPlatformIDs", ToSymbol<clGetPlatformIDs>()},
       {"clGetPlatformInfo", ToSymbol<clGetPlatformInfo>()},
       {"clGetDeviceIDs", ToSymbol<clGetDeviceIDs>()},
       {"clGetDeviceInfo", ToSymbol<clGetDeviceInfo>()},
       {"clGetExtensionFunctionAddressForPlatform", ToSymbol<clGetExtensionFunctionAddressForPlatform>()}},
      {"clGetDeviceIDsFromD3D10KHR"}};
  return library;
}

}  // namespace Vexil::Simulation
