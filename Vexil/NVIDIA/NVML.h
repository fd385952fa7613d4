#pragma once

#include <vector>

#include "Vexil/Common/Account.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "Vexil/Platform/VendorLibrary.h"

namespace Vexil {

using nvmlReturn_t = int;
using nvmlDevice_t = struct nvmlDevice_st*;
inline constexpr nvmlReturn_t NVML_SUCCESS = 0;
inline constexpr nvmlReturn_t NVML_ERROR_INVALID_ARGUMENT = 2;
inline constexpr nvmlReturn_t NVML_ERROR_NOT_SUPPORTED = 3;

struct nvmlPciInfo_t {
  char busIdLegacy[16];
  unsigned domain;
  unsigned bus;
  unsigned device;
  unsigned pciDeviceId;
  unsigned pciSubSystemId;
  char busId[32];
};
static_assert(sizeof(nvmlPciInfo_t) == 68);

/// The NVIDIA Management Library, nvml.dll. It alone knows PCI Express generations and NVLinks.
class NVML : public VendorLibrary {
 public:
  static constexpr const char* kFileName = "nvml.dll";

  NVML();
  ~NVML();

  /// Loads the library and starts it. True when it is ready, also from an earlier call.
  bool Initialize();
  void Unload();

  /// True when the call that did `step` succeeded; otherwise logs the failure.
  bool Success(nvmlReturn_t result, const char* step) const;

  /// Calls an entry point that fills `fields`; notes and logs where it fails.
  template <typename EntryPoint, typename... Arguments>
  bool Tells(const char* step, const char* fields, const EntryPoint& entry_point, Arguments... arguments) {
    VendorLibrary::Tells(fields, entry_point, arguments...);
    return Success(LastStatus(), step);
  }

  /// One record per device whose PCI location could be read.
  std::vector<FlatBuffers::NVMLGPUT> GetGPUs();

  Entry<nvmlReturn_t()> nvmlInit{*this, "nvmlInit_v2"};
  Entry<nvmlReturn_t()> nvmlShutdown{*this, "nvmlShutdown"};
  Entry<const char*(nvmlReturn_t result)> nvmlErrorString{*this, "nvmlErrorString"};
  /// Never called; an NVML that lacks it is too old for the rest.
  Entry<nvmlReturn_t(char* version, unsigned length)> nvmlSystemGetDriverVersion{*this, "nvmlSystemGetDriverVersion"};
  Entry<nvmlReturn_t(unsigned* count)> nvmlDeviceGetCount{*this, "nvmlDeviceGetCount_v2"};
  Entry<nvmlReturn_t(unsigned index, nvmlDevice_t* device)> nvmlDeviceGetHandleByIndex{*this,
                                                                                       "nvmlDeviceGetHandleByIndex_v2"};
  Entry<nvmlReturn_t(nvmlDevice_t, nvmlPciInfo_t*)> nvmlDeviceGetPciInfo{*this, "nvmlDeviceGetPciInfo_v3"};

  using DeviceNumber = nvmlReturn_t(nvmlDevice_t device, unsigned* value);
  Entry<DeviceNumber> nvmlDeviceGetCurrPcieLinkGeneration{*this, "nvmlDeviceGetCurrPcieLinkGeneration", Need::Optional};
  Entry<DeviceNumber> nvmlDeviceGetMaxPcieLinkGeneration{*this, "nvmlDeviceGetMaxPcieLinkGeneration", Need::Optional};
  Entry<DeviceNumber> nvmlDeviceGetCurrPcieLinkWidth{*this, "nvmlDeviceGetCurrPcieLinkWidth", Need::Optional};
  Entry<DeviceNumber> nvmlDeviceGetMaxPcieLinkWidth{*this, "nvmlDeviceGetMaxPcieLinkWidth", Need::Optional};
  Entry<nvmlReturn_t(nvmlDevice_t, unsigned link, nvmlPciInfo_t*)> nvmlDeviceGetNvLinkRemotePciInfo{
      *this, "nvmlDeviceGetNvLinkRemotePciInfo_v2", Need::Optional};
  Entry<nvmlReturn_t(nvmlDevice_t, unsigned link, unsigned* version)> nvmlDeviceGetNvLinkVersion{
      *this, "nvmlDeviceGetNvLinkVersion", Need::Optional};
  Entry<nvmlReturn_t(nvmlDevice_t, char* version, unsigned length)> nvmlDeviceGetVbiosVersion{
      *this, "nvmlDeviceGetVbiosVersion", Need::Optional};

 private:
  bool ReadPCILocation(nvmlDevice_t device, FlatBuffers::NVMLGPUT& gpu);
  void ReadPCIExpressLink(nvmlDevice_t device, FlatBuffers::NVMLGPUT& gpu);
  void ReadNvLinks(nvmlDevice_t device, FlatBuffers::NVMLGPUT& gpu);
  void ReadVBIOSVersion(nvmlDevice_t device, FlatBuffers::NVMLGPUT& gpu);
  void ShutDown();

  // True from the start, so that a library that could not be started is shut down all the same.
  bool m_initialized = true;
};

/// The devices of NVML; none where it is not installed.
Answer<FlatBuffers::NVMLGPUT> GetNVMLGPUs();

}  // namespace Vexil
