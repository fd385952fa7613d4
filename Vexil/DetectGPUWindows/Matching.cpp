#include "Vexil/DetectGPUWindows/Matching.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "Vexil/Common/GPUID.h"
#include "Vexil/Common/Log.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/PCILocation.h"
#include "Vexil/DetectGPUWindows/MainDisplayFixes.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::DetectorsOutputT;
using FlatBuffers::DirectXGPUT;
using FlatBuffers::GPUT;
using FlatBuffers::GPUType;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using FlatBuffers::OpenCLGPUT;
using FlatBuffers::Vendor;

namespace {

/// The first record at this bus and device, also where both are unknown; null where there is none.
template <typename Record>
std::shared_ptr<Record> FindAt(const std::vector<std::shared_ptr<Record>>& records, std::int32_t bus,
                               std::int32_t device) {
  const auto found =
      std::find_if(records.begin(), records.end(), [=](const auto& record) { return IsAt(*record, bus, device); });
  return found != records.end() ? *found : nullptr;
}

/// The first entry at the place of a display source's record; null where either place is unknown.
template <typename Record>
MatchedGPUT* FindEntryAtLocationOf(std::vector<MatchedGPUT>& matched, const Record& record) {
  if (record.pci_bus == kUnknown || record.pci_device == kUnknown) return nullptr;
  const auto found = std::find_if(matched.begin(), matched.end(), [&](const MatchedGPUT& entry) {
    return IsAt(*entry.gpu, record.pci_bus, record.pci_device);
  });
  return found != matched.end() ? &*found : nullptr;
}

MatchedGPUT& Append(std::vector<MatchedGPUT>& matched, Vendor vendor, const std::string& name) {
  MatchedGPUT& entry = matched.emplace_back();
  entry.gpu = std::make_shared<GPUT>();
  entry.gpu->vendor = vendor;
  entry.gpu->name = CleanGPUName(name, vendor);
  return entry;
}

void SetHardwareID(GPUT& gpu, std::int32_t device, std::int32_t subsystem, std::int32_t revision) {
  if (!gpu.hardware_id.empty()) return;
  gpu.hardware_id = fmt::format("PCI\\VEN_{}&DEV_{:04X}&SUBSYS_{:08X}&REV_{:02X}", PCIVendorIDText(gpu.vendor),
                                static_cast<std::uint32_t>(device), static_cast<std::uint32_t>(subsystem),
                                static_cast<std::uint32_t>(revision) & 0xFFU);
}

void AttachCUDA(MatchedGPUT& entry, const DetectorsOutputT& detectors) {
  GPUT& gpu = *entry.gpu;
  entry.cuda = FindAt(detectors.cuda, gpu.pci_bus, gpu.pci_device);
  if (entry.cuda == nullptr) return;
  gpu.vram_mib = entry.cuda->memory_mib;
  gpu.cuda_index = entry.cuda->index;
  gpu.cuda_compute_major = entry.cuda->compute_major;
  gpu.cuda_compute_minor = entry.cuda->compute_minor;
  gpu.compute_apis.push_back(ComputeAPI::CUDA);
}

void AttachNVML(MatchedGPUT& entry, const DetectorsOutputT& detectors) {
  GPUT& gpu = *entry.gpu;
  entry.nvml = FindAt(detectors.nvml, gpu.pci_bus, gpu.pci_device);
  if (entry.nvml == nullptr) return;
  gpu.pcie_max_link_width = entry.nvml->pcie_max_link_width;
  gpu.pcie_generation = entry.nvml->pcie_generation;
  gpu.pcie_max_generation = entry.nvml->pcie_max_generation;
  const auto& buses = entry.nvml->nvlink_remote_pci_buses;
  const auto& devices = entry.nvml->nvlink_remote_pci_devices;
  for (std::size_t link = 0; link < std::min(buses.size(), devices.size()); ++link) {
    if (const auto peer = FindAt(detectors.cuda, buses[link], devices[link])) gpu.cuda_peers.push_back(peer->index);
  }
}

void AppendNVIDIAGPUs(const DetectorsOutputT& detectors, std::vector<MatchedGPUT>& matched) {
  for (const auto& nvapi : detectors.nvapi) {
    MatchedGPUT& entry = Append(matched, Vendor::NVIDIA, nvapi->name);
    entry.nvapi = nvapi;
    entry.gpu->type = nvapi->type;
    entry.gpu->pci_bus = nvapi->pci_bus;
    entry.gpu->pci_device = nvapi->pci_device;
    entry.gpu->pcie_link_width = nvapi->pcie_link_width;
    SetHardwareID(*entry.gpu, nvapi->external_device_id, nvapi->subsystem_id, nvapi->revision_id);
    AttachCUDA(entry, detectors);
    AttachNVML(entry, detectors);
  }
}

void AppendAMDGPUs(const DetectorsOutputT& detectors, std::vector<MatchedGPUT>& matched) {
  for (const auto& amddl : detectors.amddl) {
    MatchedGPUT& entry = Append(matched, Vendor::AMD, amddl->name);
    entry.amddl = amddl;
    entry.gpu->type = amddl->type != GPUType::Unknown ? amddl->type : GPUType::Discrete;
    SetPCILocation(*entry.gpu, {amddl->pci_bus, amddl->pci_device, amddl->pci_function});
    entry.gpu->hardware_id = amddl->hardware_id;
  }
}

/// The displays that the vendor's library names for a GPU.
std::vector<std::string> DisplaysOf(const MatchedGPUT& entry) {
  if (entry.amddl != nullptr) return entry.amddl->display_names;
  if (entry.nvapi != nullptr) return entry.nvapi->display_names;
  return {};
}

bool SharesDisplay(const MatchedGPUT& entry, const DirectXGPUT& directx) {
  const auto displays = DisplaysOf(entry);
  return std::any_of(directx.output_names.begin(), directx.output_names.end(), [&](const std::string& output) {
    return !output.empty() && std::find(displays.begin(), displays.end(), output) != displays.end();
  });
}

/// The entry that a DirectX adapter belongs to, made where only DirectX knows the GPU; null where the
/// adapter's vendor should have named it.
MatchedGPUT* FindOrAppendDirectX(const DirectXGPUT& directx, std::vector<MatchedGPUT>& matched) {
  if (MatchedGPUT* entry = FindEntryAtLocationOf(matched, directx)) return entry;
  const auto by_display = std::find_if(matched.begin(), matched.end(),
                                       [&](const MatchedGPUT& entry) { return SharesDisplay(entry, directx); });
  if (by_display != matched.end()) return &*by_display;

  const Vendor vendor = VendorFromText(directx.name);
  if (vendor != Vendor::Intel) {
    LOG_WARN("Ignoring unmatched DirectX GPU \"{}\".", directx.name);
    return nullptr;
  }
  MatchedGPUT& entry = Append(matched, vendor, directx.name);
  SetPCILocation(*entry.gpu, {directx.pci_bus, directx.pci_device, directx.pci_function});
  return &entry;
}

void AttachDirectX(const DetectorsOutputT& detectors, std::vector<MatchedGPUT>& matched) {
  for (const auto& directx : detectors.directx) {
    MatchedGPUT* entry = FindOrAppendDirectX(*directx, matched);
    if (entry == nullptr) continue;
    entry->directx = directx;
    entry->gpu->is_main_display = directx->is_first_adapter;
    SetHardwareID(*entry->gpu, directx->device_id, directx->subsys_id, directx->revision);
  }
}

std::shared_ptr<OpenCLGPUT> FindOpenCL(const DetectorsOutputT& detectors, const MatchedGPUT& entry) {
  const GPUT& gpu = *entry.gpu;
  if (gpu.vendor == Vendor::NVIDIA || gpu.vendor == Vendor::AMD) {
    return FindAt(detectors.opencl, gpu.pci_bus, gpu.pci_device);
  }
  if (entry.directx == nullptr) return nullptr;
  const auto found = std::find_if(detectors.opencl.begin(), detectors.opencl.end(), [&](const auto& opencl) {
    return opencl->platform_id == entry.directx->opencl_platform_id &&
           opencl->device_id == entry.directx->opencl_device_id;
  });
  return found != detectors.opencl.end() ? *found : nullptr;
}

void AttachOpenCL(const DetectorsOutputT& detectors, MatchedGPUT& entry) {
  GPUT& gpu = *entry.gpu;
  entry.opencl = FindOpenCL(detectors, entry);
  if (gpu.type == GPUType::Unknown) {
    const bool is_integrated =
        entry.opencl != nullptr ? entry.opencl->host_unified_memory : gpu.vendor == Vendor::Intel;
    gpu.type = is_integrated ? GPUType::Integrated : GPUType::Discrete;
  }
  if (entry.opencl == nullptr) return;
  gpu.opencl_platform_id = entry.opencl->platform_id;
  gpu.opencl_device_id = entry.opencl->device_id;
  gpu.opencl_major = entry.opencl->version_major;
  gpu.opencl_minor = entry.opencl->version_minor;
  if (gpu.vram_mib == kUnknown) gpu.vram_mib = entry.opencl->memory_mib;
  gpu.opencl_peers = entry.opencl->peers;
  gpu.compute_apis.push_back(ComputeAPI::OpenCL);
}

void AttachWin32(const DetectorsOutputT& detectors, std::vector<MatchedGPUT>& matched) {
  for (const auto& win32 : detectors.win32) {
    if (MatchedGPUT* entry = FindEntryAtLocationOf(matched, *win32)) entry->win32 = win32;
  }
}

void Identify(GPUT& gpu) {
  gpu.pci_location = PCILocationText({gpu.pci_bus, gpu.pci_device, gpu.pci_function});
  gpu.id = MakeGPUID(gpu.hardware_id, gpu.pci_location);
}

void AppendMonitors(const MatchedGPUT& entry, std::vector<MonitorT>& monitors) {
  if (entry.directx == nullptr) return;
  for (const auto& monitor : entry.directx->monitors) {
    monitor->gpu_id = entry.gpu->id;
    monitors.push_back(*monitor);
  }
}

}  // namespace

bool DetectWindowsGPUs(const DetectorsOutputT& detectors, std::vector<MatchedGPUT>& matched,
                       std::vector<MonitorT>& monitors) {
  AppendNVIDIAGPUs(detectors, matched);
  AppendAMDGPUs(detectors, matched);
  AttachDirectX(detectors, matched);
  for (MatchedGPUT& entry : matched) AttachOpenCL(detectors, entry);
  AttachWin32(detectors, matched);
  FixMainDisplayGPU(detectors.directx.size(), matched);
  for (MatchedGPUT& entry : matched) {
    Identify(*entry.gpu);
    AppendMonitors(entry, monitors);
  }
  return true;
}

}  // namespace Vexil
