#include "Vexil/NVIDIA/NVML.h"

#include <algorithm>
#include <array>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Log.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"

namespace Vexil {

using FlatBuffers::NVMLGPUT;

namespace {

constexpr std::array kStatusNames = {
    StatusName{1, "NVML_ERROR_UNINITIALIZED"},
    StatusName{NVML_ERROR_INVALID_ARGUMENT, "NVML_ERROR_INVALID_ARGUMENT"},
    StatusName{NVML_ERROR_NOT_SUPPORTED, "NVML_ERROR_NOT_SUPPORTED"},
    StatusName{4, "NVML_ERROR_NO_PERMISSION"},
    StatusName{6, "NVML_ERROR_NOT_FOUND"},
    StatusName{7, "NVML_ERROR_INSUFFICIENT_SIZE"},
    StatusName{9, "NVML_ERROR_DRIVER_NOT_LOADED"},
    StatusName{10, "NVML_ERROR_TIMEOUT"},
    StatusName{12, "NVML_ERROR_LIBRARY_NOT_FOUND"},
    StatusName{13, "NVML_ERROR_FUNCTION_NOT_FOUND"},
    StatusName{15, "NVML_ERROR_GPU_IS_LOST"},
    StatusName{17, "NVML_ERROR_OPERATING_SYSTEM"},
    StatusName{18, "NVML_ERROR_LIB_RM_VERSION_MISMATCH"},
    StatusName{20, "NVML_ERROR_MEMORY"},
    StatusName{999, "NVML_ERROR_UNKNOWN"},
};

}  // namespace

NVML::NVML() : VendorLibrary(kFileName, kStatusNames) {}

NVML::~NVML() {
  if (IsOpen()) ShutDown();
}

bool NVML::Initialize() {
  if (IsOpen()) return true;
  if (!Open()) {
    LOG_DEBUG("NVML lib not found");
    return false;
  }
  if (const char* missing = Resolve()) {
    LOG_ERROR("NVML: Failed to load {}", missing);
    Unload();
    return false;
  }
  if (!Starts(nvmlInit)) {
    Unload();
    return false;
  }
  m_initialized = true;
  return true;
}

void NVML::Unload() {
  ShutDown();
  Close();
}

void NVML::ShutDown() {
  if (m_initialized && nvmlShutdown) nvmlShutdown();
  m_initialized = false;
}

bool NVML::Success(nvmlReturn_t result, const char* step) const {
  if (result == NVML_SUCCESS) return true;
  if (!nvmlErrorString) {
    LOG_ERROR("NVML Error {}: {}", result, step);
    return false;
  }
  const auto error_text = [&] {
    const char* text = nvmlErrorString(result);
    return text != nullptr ? text : "";
  };
  LOG_ERROR("NVML Error {} ({}): {}", error_text(), result, step);
  return false;
}

std::vector<NVMLGPUT> NVML::GetGPUs() {
  if (!Initialize()) return {};
  unsigned count = 0;
  Lists(nvmlDeviceGetCount, &count);
  if (!Success(LastStatus(), "Enumerating devices")) return {};
  if (ToField(count) < 0) return {};

  std::vector<NVMLGPUT> gpus;
  for (unsigned index = 0; index < std::min(count, kMaxItems); ++index) {
    TheAccount().About("device", index);
    nvmlDevice_t device = nullptr;
    NVMLGPUT gpu;
    if (!Tells("Obtaining device handle", "", nvmlDeviceGetHandleByIndex, index, &device)) continue;
    if (!ReadPCILocation(device, gpu)) continue;
    ReadPCIExpressLink(device, gpu);
    ReadNvLinks(device, gpu);
    ReadVBIOSVersion(device, gpu);
    gpus.push_back(std::move(gpu));
  }
  return gpus;
}

bool NVML::ReadPCILocation(nvmlDevice_t device, NVMLGPUT& gpu) {
  nvmlPciInfo_t pci = {};
  if (!Tells("Querying device PCI information", "", nvmlDeviceGetPciInfo, device, &pci)) return false;
  gpu.pci_bus = ToField(pci.bus);
  gpu.pci_device = ToField(pci.device);
  return true;
}

void NVML::ReadPCIExpressLink(nvmlDevice_t device, NVMLGPUT& gpu) {
  const auto read = [&](const char* step, const char* name, const Entry<DeviceNumber>& query, std::int32_t& field) {
    unsigned value = ~0U;
    if (query && Tells(step, name, query, device, &value)) field = ToField(value);
  };
  read("Querying device current PCI generation", "pcie_generation", nvmlDeviceGetCurrPcieLinkGeneration,
       gpu.pcie_generation);
  read("Querying device max PCI generation", "pcie_max_generation", nvmlDeviceGetMaxPcieLinkGeneration,
       gpu.pcie_max_generation);
  read("Querying device current PCI link width", "pcie_link_width", nvmlDeviceGetCurrPcieLinkWidth,
       gpu.pcie_link_width);
  read("Querying device max PCI link width", "pcie_max_link_width", nvmlDeviceGetMaxPcieLinkWidth,
       gpu.pcie_max_link_width);
}

void NVML::ReadNvLinks(nvmlDevice_t device, NVMLGPUT& gpu) {
  if (!nvmlDeviceGetNvLinkRemotePciInfo) return;
  nvmlPciInfo_t remote = {};
  for (unsigned link = 0; link < kMaxItems; ++link) {
    const nvmlReturn_t status = nvmlDeviceGetNvLinkRemotePciInfo(device, link, &remote);
    // Past the last link NVML answers with one of these: that is how links are counted.
    if (status == NVML_ERROR_INVALID_ARGUMENT || status == NVML_ERROR_NOT_SUPPORTED) return;
    if (status != NVML_SUCCESS) {
      TheAccount().Miss("nvlink_remote_pci_buses, nvlink_remote_pci_devices", nvmlDeviceGetNvLinkRemotePciInfo.Name(),
                        status, kStatusNames);
      return;
    }
    gpu.nvlink_remote_pci_buses.push_back(ToField(remote.bus));
    gpu.nvlink_remote_pci_devices.push_back(ToField(remote.device));
    unsigned version = ~0U;
    if (nvmlDeviceGetNvLinkVersion &&
        VendorLibrary::Tells("nvlink_versions", nvmlDeviceGetNvLinkVersion, device, link, &version)) {
      gpu.nvlink_versions.push_back(ToField(version));
    }
  }
}

void NVML::ReadVBIOSVersion(nvmlDevice_t device, NVMLGPUT& gpu) {
  char version[32] = {};
  if (nvmlDeviceGetVbiosVersion && Tells("Query device VBIOS version", "vbios_version", nvmlDeviceGetVbiosVersion,
                                         device, version, static_cast<unsigned>(sizeof(version)))) {
    gpu.vbios_version = TextInBuffer(version);
  }
}

Answer<NVMLGPUT> GetNVMLGPUs() {
  NVML nvml;
  return {nvml.GetGPUs(), nvml.TheAccount()};
}

}  // namespace Vexil
