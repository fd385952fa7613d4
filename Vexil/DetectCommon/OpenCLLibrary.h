#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#define CL_TARGET_OPENCL_VERSION 300
#include <CL/cl.h>

#include "Common/VendorLibrary.h"
#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// OpenCL's loader, OpenCL.dll. Once loaded it stays for the life of the process, because hosts are
/// given platform and device handles that point into it.
class OpenCLLibrary : private VendorLibrary {
 public:
  static constexpr const char* kFileName = "OpenCL.dll";

  /// Loads the library. True when it is there with all entry points.
  bool Initialize();

  /// The platforms that have a GPU, without those that only translate to Direct3D 12.
  std::vector<cl_platform_id> GetPlatforms() const;
  /// The GPUs of a platform.
  std::vector<cl_device_id> GetDevices(cl_platform_id platform) const;

  /// One text, trimmed; empty where it cannot be read.
  std::string GetPlatformInfoString(cl_platform_id platform, cl_platform_info parameter) const;
  std::string GetDeviceInfoString(cl_device_id device, cl_device_info parameter) const;

  /// One answer of fixed size. False where it cannot be read.
  template <typename Value>
  bool GetDeviceInfo(cl_device_id device, cl_device_info parameter, Value& value) const {
    return clGetDeviceInfo(device, parameter, sizeof(value), &value, nullptr) == CL_SUCCESS;
  }

  /// Letter case is ignored.
  bool HasExtension(cl_device_id device, const char* name) const;
  bool HasExtension(cl_platform_id platform, const char* name) const;

  /// From the platform's name.
  FlatBuffers::Vendor PlatformVendor(cl_platform_id platform) const;

  /// See VendorLibrary.
  LibraryInspection Inspect() { return VendorLibrary::Inspect(kFileName); }

  Entry<cl_int(cl_uint, cl_platform_id*, cl_uint*)> clGetPlatformIDs{*this, "clGetPlatformIDs"};
  Entry<cl_int(cl_platform_id, cl_platform_info, std::size_t, void*, std::size_t*)> clGetPlatformInfo{
      *this, "clGetPlatformInfo"};
  Entry<cl_int(cl_platform_id, cl_device_type, cl_uint, cl_device_id*, cl_uint*)> clGetDeviceIDs{*this,
                                                                                                 "clGetDeviceIDs"};
  Entry<cl_int(cl_device_id, cl_device_info, std::size_t, void*, std::size_t*)> clGetDeviceInfo{*this,
                                                                                                "clGetDeviceInfo"};
  Entry<void*(cl_platform_id, const char*)> clGetExtensionFunctionAddressForPlatform{
      *this, "clGetExtensionFunctionAddressForPlatform"};

 private:
  bool IsTranslationLayer(cl_platform_id platform) const;
};

/// Handles as records hold them, and back.
template <typename Handle>
std::uint64_t FromHandle(Handle handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}
inline cl_device_id ToDevice(std::uint64_t device) {
  return reinterpret_cast<cl_device_id>(static_cast<std::uintptr_t>(device));
}

}  // namespace Vexil
