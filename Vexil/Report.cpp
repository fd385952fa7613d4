#include "Report.h"

#include "Common/FormatSize.h"
#include "Common/Naming.h"
#include "Common/Text.h"
#include "Common/Unknown.h"
#include "Queries.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using FlatBuffers::SystemT;

namespace {

void WriteSystem(const SystemT& system, LiveFigures& live, ReportSink& sink) {
  sink.Info("Detected System:");
  sink.Info("  - OS: {} {}", EnumNameOS(system.os), system.os_version);
  if (!system.model.empty()) sink.Info("  - Model: {}", system.model);
  if (!system.system_id.empty()) sink.Info("  - System ID: {}", system.system_id);
  if (!system.cpu_name.empty()) {
    sink.Info("  - CPU: {}, {} threads, {}", system.cpu_name, system.cpu_threads, ArchitectureName(kBuildArchitecture));
  }
  std::uint64_t available = 0;
  std::uint64_t total = 0;
  if (live.GetSystemMemory(available, total)) {
    sink.Info("  - RAM: {} used of {}", FormatSize(total - available), FormatSize(total));
  } else if (system.ram_mib >= 1) {
    sink.Info("  - RAM: {}", FormatMiB(system.ram_mib));
  }
  if (!system.intel_driver_version.empty()) sink.Info("  - Intel GPU Driver: {}", system.intel_driver_version);
  if (system.nvidia_driver_major >= 1) {
    sink.Info("  - NVIDIA GPU Driver: {}.{}, supports CUDA {}.{}", system.nvidia_driver_major,
              system.nvidia_driver_minor, system.cuda_driver_major, system.cuda_driver_minor);
  }
  if (!system.amd_driver_version.empty()) sink.Info("  - AMD GPU Driver: {}", system.amd_driver_version);
}

std::string MemoryText(const MatchedGPUT& matched, LiveFigures& live) {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  if (live.GetGPUMemory(matched, free, total)) {
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

void WriteGPU(const MatchedGPUT& matched, const std::vector<GPUT>& gpus, LiveFigures& live, ReportSink& sink) {
  const GPUT& gpu = *matched.gpu;
  std::vector<std::string> attributes = {EnumNameGPUType(gpu.type), MemoryText(matched, live)};
  if (gpu.pci_bus != kUnknown) attributes.push_back(PCIText(gpu));

  sink.Info("  - \"{} {}\" ({}){}", EnumNameVendor(gpu.vendor), gpu.name, gpu.id,
            gpu.is_main_display ? " <- Main Display GPU" : "");
  sink.Info("    {}", Join(attributes, ", "));
  sink.Info("    Matches: {}", Join(SourceNames(matched), ", "));
  if (matched.opencl == nullptr) sink.Warn("    Warning: No OpenCL match.");

  for (const ComputeAPI api : {ComputeAPI::Metal, ComputeAPI::CUDA, ComputeAPI::OpenCL}) {
    const auto peers = FindPeers(gpus, gpu.id, api);
    if (!peers.empty()) sink.Info("    {} Peers: {}", EnumNameComputeAPI(api), Join(peers, ", "));
  }
}

void WriteMonitor(const MonitorT& monitor, const std::vector<GPUT>& gpus, ReportSink& sink) {
  const GPUT* gpu = FindGPUByID(gpus, monitor.gpu_id);
  if (gpu == nullptr) return;
  sink.Info("  - \"{}\"{}", monitor.name, monitor.is_main ? " <- Main Monitor" : "");
  sink.Info("    {}x{}, connected to \"{} {}\" ({})", monitor.width, monitor.height, EnumNameVendor(gpu->vendor),
            gpu->name, monitor.gpu_id);
}

}  // namespace

void WriteReport(const ReportedResults& results, LiveFigures& live, ReportSink& sink) {
  WriteSystem(results.system, live, sink);
  sink.Info("Detected {} GPUs:", results.matched.size());
  for (const MatchedGPUT& matched : results.matched) WriteGPU(matched, results.gpus, live, sink);
  sink.Info("Detected {} monitors:", results.monitors.size());
  for (const MonitorT& monitor : results.monitors) WriteMonitor(monitor, results.gpus, sink);
}

}  // namespace Vexil
