#pragma once

#include <cstddef>

#include "Vexil/Platform/VendorLibrary.h"

namespace Vexil {

using CUresult = int;
using CUdevice = int;
inline constexpr CUresult CUDA_SUCCESS = 0;

enum CUdevice_attribute : int {
  CU_DEVICE_ATTRIBUTE_PCI_BUS_ID = 33,
  CU_DEVICE_ATTRIBUTE_PCI_DEVICE_ID = 34,
  CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR = 75,
  CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR = 76,
};

/// The CUDA Driver API, nvcuda.dll. It comes with NVIDIA's graphics driver.
class CUDADriverAPI : public VendorLibrary {
 public:
  static constexpr const char* kFileName = "nvcuda.dll";

  CUDADriverAPI();

  /// Loads the library and starts the driver. True when it is ready, also from an earlier call. A
  /// machine without the library or without a CUDA device is the normal case, and silent.
  bool Initialize();

  Entry<CUresult(unsigned flags)> cuInit{*this, "cuInit"};
  Entry<CUresult(int* count)> cuDeviceGetCount{*this, "cuDeviceGetCount"};
  Entry<CUresult(CUdevice* device, int ordinal)> cuDeviceGet{*this, "cuDeviceGet"};
  Entry<CUresult(int* value, CUdevice_attribute attribute, CUdevice device)> cuDeviceGetAttribute{
      *this, "cuDeviceGetAttribute"};
  Entry<CUresult(char* name, int length, CUdevice device)> cuDeviceGetName{*this, "cuDeviceGetName"};
  Entry<CUresult(std::size_t* bytes, CUdevice device)> cuDeviceTotalMem_v2{*this, "cuDeviceTotalMem_v2"};
  Entry<CUresult(int* can_access, CUdevice device, CUdevice peer)> cuDeviceCanAccessPeer{*this,
                                                                                         "cuDeviceCanAccessPeer"};
  Entry<CUresult(CUresult error, const char** name)> cuGetErrorName{*this, "cuGetErrorName"};
  Entry<CUresult(int* version)> cuDriverGetVersion{*this, "cuDriverGetVersion"};
};

}  // namespace Vexil
