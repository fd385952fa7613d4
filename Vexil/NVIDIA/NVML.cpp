#include "NVIDIA/NVML.h"

#include <algorithm>

#include "Common/Limits.h"
#include "Common/Log.h"
#include "Common/Text.h"
#include "Common/Unknown.h"

namespace Vexil {

using FlatBuffers::NVMLGPUT;

NVML::~NVML() {
  if (IsOpen()) ShutDown();
}

bool NVML::Initialize() {
  if (IsOpen()) return true;
  if (!Open(kFileName)) {
    LOG_DEBUG("NVML lib not found");
    return false;
  }
  if (const char* missing = ResolveUntilMissing()) {
    LOG_ERROR("NVML: Failed to load {}", missing);
    Unload();
    return false;
  }
  m_start_status = nvmlInit();
  if (m_start_status != NVML_SUCCESS) {
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
  if (!Success(nvmlDeviceGetCount(&count), "Enumerating devices")) return {};
  if (ToField(count) < 0) return {};

  std::vector<NVMLGPUT> gpus;
  for (unsigned index = 0; index < std::min(count, kMaxItems); ++index) {
    nvmlDevice_t device = nullptr;
    NVMLGPUT gpu;
    if (!Success(nvmlDeviceGetHandleByIndex(index, &device), "Obtaining device handle")) continue;
    if (!ReadPCILocation(device, gpu)) continue;
    ReadPCIExpressLink(device, gpu);
    ReadNvLinks(device, gpu);
    ReadVBIOSVersion(device, gpu);
    gpus.push_back(std::move(gpu));
  }
  return gpus;
}

bool NVML::ReadPCILocation(nvmlDevice_t device, NVMLGPUT& gpu) const {
  nvmlPciInfo_t pci = {};
  if (!Success(nvmlDeviceGetPciInfo(device, &pci), "Querying device PCI information")) return false;
  gpu.pci_bus = ToField(pci.bus);
  gpu.pci_device = ToField(pci.device);
  return true;
}

void NVML::ReadPCIExpressLink(nvmlDevice_t device, NVMLGPUT& gpu) const {
  const auto read = [&](const Entry<DeviceNumber>& query, const char* step, std::int32_t& field) {
    unsigned value = ~0U;
    if (query && Success(query(device, &value), step)) field = ToField(value);
  };
  read(nvmlDeviceGetCurrPcieLinkGeneration, "Querying device current PCI generation", gpu.pcie_generation);
  read(nvmlDeviceGetMaxPcieLinkGeneration, "Querying device max PCI generation", gpu.pcie_max_generation);
  read(nvmlDeviceGetCurrPcieLinkWidth, "Querying device current PCI link width", gpu.pcie_link_width);
  read(nvmlDeviceGetMaxPcieLinkWidth, "Querying device max PCI link width", gpu.pcie_max_link_width);
}

void NVML::ReadNvLinks(nvmlDevice_t device, NVMLGPUT& gpu) const {
  if (!nvmlDeviceGetNvLinkRemotePciInfo) return;
  // Asked past the last link, NVML fails: that is how the links are counted, not an error.
  nvmlPciInfo_t remote = {};
  for (unsigned link = 0; link < kMaxItems; ++link) {
    if (nvmlDeviceGetNvLinkRemotePciInfo(device, link, &remote) != NVML_SUCCESS) return;
    gpu.nvlink_remote_pci_buses.push_back(ToField(remote.bus));
    gpu.nvlink_remote_pci_devices.push_back(ToField(remote.device));
    unsigned version = ~0U;
    if (nvmlDeviceGetNvLinkVersion && nvmlDeviceGetNvLinkVersion(device, link, &version) == NVML_SUCCESS) {
      gpu.nvlink_versions.push_back(ToField(version));
    }
  }
}

void NVML::ReadVBIOSVersion(nvmlDevice_t device, NVMLGPUT& gpu) const {
  char version[32] = {};
  if (nvmlDeviceGetVbiosVersion &&
      Success(nvmlDeviceGetVbiosVersion(device, version, sizeof(version)), "Query device VBIOS version")) {
    gpu.vbios_version = TextInBuffer(version);
  }
}

std::vector<NVMLGPUT> GetNVMLGPUs() {
  NVML nvml;
  return nvml.GetGPUs();
}

}  // namespace Vexil
