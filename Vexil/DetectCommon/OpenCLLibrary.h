#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#define CL_TARGET_OPENCL_VERSION 300
#include <CL/cl.h>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "Vexil/Platform/VendorLibrary.h"

namespace Vexil {

/// OpenCL's loader, OpenCL.dll. Once loaded it stays for the life of the process, because hosts are
/// given platform and device handles that point into it.
class OpenCLLibrary : public VendorLibrary {
 public:
  static constexpr const char* kFileName = "OpenCL.dll";

  OpenCLLibrary();

  /// Loads the library. True when it is there with all required entry points, also from an earlier call.
  bool Initialize();

  /// The platforms that have a GPU, without those that only translate to Direct3D 12.
  std::vector<cl_platform_id> GetPlatforms();
  /// The GPUs of a platform.
  std::vector<cl_device_id> GetDevices(cl_platform_id platform);

  // One text, trimmed; empty where it cannot be read. Failures are noted where the text fills fields of a record.

  std::string GetPlatformInfoString(cl_platform_id platform, cl_platform_info parameter, const char* fields = nullptr);
  std::string GetDeviceInfoString(cl_device_id device, cl_device_info parameter, const char* fields = nullptr);

  /// One answer of fixed size. False where it cannot be read.
  template <typename Value>
  bool GetDeviceInfo(const char* fields, cl_device_id device, cl_device_info parameter, Value& value) {
    return Tells(fields, clGetDeviceInfo, device, parameter, sizeof(value), &value, nullptr);
  }

  /// Letter case is ignored. Where the list of extensions cannot be read, `fields` stay unknown.
  bool HasExtension(cl_device_id device, const char* name, const char* fields);
  bool HasExtension(cl_platform_id platform, const char* name, const char* fields);

  /// From the platform's name, without which `fields` stay unknown.
  FlatBuffers::Vendor PlatformVendor(cl_platform_id platform, const char* fields);

  Entry<cl_int(cl_uint, cl_platform_id*, cl_uint*)> clGetPlatformIDs{*this, "clGetPlatformIDs"};
  Entry<cl_int(cl_platform_id, cl_platform_info, std::size_t, void*, std::size_t*)> clGetPlatformInfo{
      *this, "clGetPlatformInfo"};
  Entry<cl_int(cl_platform_id, cl_device_type, cl_uint, cl_device_id*, cl_uint*)> clGetDeviceIDs{*this,
                                                                                                 "clGetDeviceIDs"};
  Entry<cl_int(cl_device_id, cl_device_info, std::size_t, void*, std::size_t*)> clGetDeviceInfo{*this,
                                                                                                "clGetDeviceInfo"};
  /// From OpenCL 1.2 on.
  Entry<void*(cl_platform_id, const char*)> clGetExtensionFunctionAddressForPlatform{
      *this, "clGetExtensionFunctionAddressForPlatform", Need::Optional};

  /// What is noted from now on is about this platform, or about one of its devices.
  void About(cl_platform_id platform, std::optional<std::size_t> device = {});

 private:
  bool HasGPU(cl_platform_id platform);
  void NoteDeviceList(cl_platform_id platform, cl_int status);
  bool IsTranslationLayer(cl_platform_id platform);

  template <typename Query, typename Object>
  std::string QueryText(const Query& query, Object object, cl_uint parameter, const char* fields);

  /// In the loader's order.
  std::vector<cl_platform_id> m_all_platforms;
};

/// Handles as records hold them, and back.
template <typename Handle>
std::uint64_t FromHandle(Handle handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}
inline cl_device_id ToDevice(std::uint64_t device) {
  return reinterpret_cast<cl_device_id>(static_cast<std::uintptr_t>(device));
}

/// OpenCL's names of its status numbers.
std::span<const StatusName> OpenCLStatusNames();

}  // namespace Vexil
