#include "Report.h"

#include "Common/FormatSize.h"
#include "Common/Naming.h"
#include "Common/Text.h"
#include "Common/Unknown.h"
#include "GPUMemory.h"
#include "Log.h"
#include "Windows/Kernel.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using FlatBuffers::SystemT;

namespace {

/// The size of a field in MiB. Its first product wraps at 32 bits, so an absurd field prints as a size
/// near zero or near 2^64.
std::string FormatMiB(std::int32_t mib) {
  const auto kib = static_cast<std::int32_t>(static_cast<std::uint32_t>(mib) << 10);
  return FormatSize(static_cast<std::uint64_t>(std::int64_t{kib}) << 10);
}

void LogSystem(const SystemT& system) {
  LOG_INFO("Detected System:");
  LOG_INFO("  - OS: {} {}", EnumNameOS(system.os), system.os_version);
  if (!system.model.empty()) LOG_INFO("  - Model: {}", system.model);
  if (!system.system_id.empty()) LOG_INFO("  - System ID: {}", system.system_id);
  if (!system.cpu_name.empty()) {
    LOG_INFO("  - CPU: {}, {} threads, {}", system.cpu_name, system.cpu_threads, ArchitectureName(kBuildArchitecture));
  }
  if (const auto memory = GetPhysicalMemory()) {
    LOG_INFO("  - RAM: {} used of {}", FormatSize(memory->total - memory->available), FormatSize(memory->total));
  } else if (system.ram_mib >= 1) {
    LOG_INFO("  - RAM: {}", FormatMiB(system.ram_mib));
  }
  if (!system.intel_driver_version.empty()) LOG_INFO("  - Intel GPU Driver: {}", system.intel_driver_version);
  if (system.nvidia_driver_major >= 1) {
    LOG_INFO("  - NVIDIA GPU Driver: {}.{}, supports CUDA {}.{}", system.nvidia_driver_major,
             system.nvidia_driver_minor, system.cuda_driver_major, system.cuda_driver_minor);
  }
  if (!system.amd_driver_version.empty()) LOG_INFO("  - AMD GPU Driver: {}", system.amd_driver_version);
}

std::string MemoryText(const MatchedGPUT& matched) {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  if (QueryGPUMemory(matched, free, total)) {
    return FormatSize(total - free) + " used of " + FormatSize(total) + " VRAM";
  }
  if (matched.gpu->vram_mib == kUnknown) return "Unknown VRAM";
  return FormatMiB(matched.gpu->vram_mib) + " VRAM";
}

std::string PCIText(const GPUT& gpu) {
  std::string text = fmt::format("PCI:{}", gpu.pci_bus);
  if (gpu.pci_device != kUnknown) text += fmt::format(":{}", gpu.pci_device);
  if (gpu.pci_function != kUnknown) text += fmt::format(".{}", gpu.pci_function);
  if (gpu.pcie_link_width != kUnknown) text += fmt::format(" (x{})", gpu.pcie_link_width);
  return text;
}

std::vector<std::string> SourceNames(const MatchedGPUT& matched) {
  std::vector<std::string> names;
  const auto add = [&names](const auto& record, const char* name) {
    if (record != nullptr) names.emplace_back(name);
  };
  add(matched.amddl, "AMDDL");
  add(matched.cuda, "CUDA");
  add(matched.core_graphics, "CoreGraphics");
  add(matched.directx, "DirectX");
  add(matched.iokit, "IOKit");
  add(matched.metal, "Metal");
  add(matched.nvapi, "NVAPI");
  add(matched.nvml, "NVML");
  add(matched.opencl, "OpenCL");
  add(matched.win32, "Win32");
  add(matched.xorg, "XOrg");
  return names;
}

void LogGPU(const Detector::Impl& results, const MatchedGPUT& matched) {
  const GPUT& gpu = *matched.gpu;
  std::vector<std::string> attributes = {EnumNameGPUType(gpu.type), MemoryText(matched)};
  if (gpu.pci_bus != kUnknown) attributes.push_back(PCIText(gpu));

  LOG_INFO("  - \"{} {}\" ({}){}", EnumNameVendor(gpu.vendor), gpu.name, gpu.id,
           gpu.is_main_display ? " <- Main Display GPU" : "");
  LOG_INFO("    {}", Join(attributes, ", "));
  LOG_INFO("    Matches: {}", Join(SourceNames(matched), ", "));
  if (matched.opencl == nullptr) LOG_WARN("    Warning: No OpenCL match.");

  for (const ComputeAPI api : {ComputeAPI::Metal, ComputeAPI::CUDA, ComputeAPI::OpenCL}) {
    const auto peers = results.FindPeers(gpu.id, api);
    if (!peers.empty()) LOG_INFO("    {} Peers: {}", EnumNameComputeAPI(api), Join(peers, ", "));
  }
}

void LogMonitor(const Detector::Impl& results, const MonitorT& monitor) {
  const GPUT* gpu = results.FindGPUByID(monitor.gpu_id);
  if (gpu == nullptr) return;
  LOG_INFO("  - \"{}\"{}", monitor.name, monitor.is_main ? " <- Main Monitor" : "");
  LOG_INFO("    {}x{}, connected to \"{} {}\" ({})", monitor.width, monitor.height, EnumNameVendor(gpu->vendor),
           gpu->name, monitor.gpu_id);
}

}  // namespace

void LogReport(const Detector::Impl& results, const std::vector<MatchedGPUT>& matched) {
  LogSystem(results.system);
  LOG_INFO("Detected {} GPUs:", matched.size());
  for (const MatchedGPUT& entry : matched) LogGPU(results, entry);
  LOG_INFO("Detected {} monitors:", results.monitors.size());
  for (const MonitorT& monitor : results.monitors) LogMonitor(results, monitor);
}

}  // namespace Vexil
