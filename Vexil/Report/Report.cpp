#include "Vexil/Report/Report.h"

#include <algorithm>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/Results/LiveMemory.h"
#include "Vexil/Results/Queries.h"
#include "Vexil/Sources/Sources.h"

namespace Vexil {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using FlatBuffers::SystemT;

// Macros, as those of Log.h: a log line names the function that wrote it.
#define REPORT_INFO(sink, ...) (sink).Write(LogLevel::Info, fmt::format(__VA_ARGS__), VEXIL_LOG_SITE)
#define REPORT_WARN(sink, ...) (sink).Write(LogLevel::Warn, fmt::format(__VA_ARGS__), VEXIL_LOG_SITE)

namespace {

void WriteSystem(const SystemT& system, bool is_this_machine, ReportSink& sink) {
  REPORT_INFO(sink, "Detected System:");
  REPORT_INFO(sink, "  - OS: {} {}", EnumNameOS(system.os), system.os_version);
  if (!system.model.empty()) REPORT_INFO(sink, "  - Model: {}", system.model);
  if (!system.system_id.empty()) REPORT_INFO(sink, "  - System ID: {}", system.system_id);
  if (!system.cpu_name.empty()) {
    REPORT_INFO(sink, "  - CPU: {}, {} threads, {}", system.cpu_name, system.cpu_threads,
                ArchitectureName(kBuildArchitecture));
  }
  std::uint64_t available = 0;
  std::uint64_t total = 0;
  if (is_this_machine && QuerySystemMemory(available, total)) {
    REPORT_INFO(sink, "  - RAM: {}", FormatUse(available, total));
  } else if (system.ram_mib >= 1) {
    REPORT_INFO(sink, "  - RAM: {}", FormatMiBInReport(system.ram_mib));
  }
  if (!system.intel_driver_version.empty()) REPORT_INFO(sink, "  - Intel GPU Driver: {}", system.intel_driver_version);
  if (system.nvidia_driver_major >= 1) {
    REPORT_INFO(sink, "  - NVIDIA GPU Driver: {}.{}, supports CUDA {}.{}", system.nvidia_driver_major,
                system.nvidia_driver_minor, system.cuda_driver_major, system.cuda_driver_minor);
  }
  if (!system.amd_driver_version.empty()) REPORT_INFO(sink, "  - AMD GPU Driver: {}", system.amd_driver_version);
}

std::string MemoryText(const MatchedGPUT& matched, bool is_this_machine) {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  if (is_this_machine && QueryGPUMemory(matched, free, total)) return FormatUse(free, total) + " VRAM";
  if (matched.gpu->vram_mib == kUnknown) return "Unknown VRAM";
  return FormatMiBInReport(matched.gpu->vram_mib) + " VRAM";
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
  ForEachSource([&](const auto& source) { add(matched.*source.record, source.name); });
  // Those of other operating systems, whose builds share the schema.
  add(matched.core_graphics, "CoreGraphics");
  add(matched.iokit, "IOKit");
  add(matched.metal, "Metal");
  add(matched.xorg, "XOrg");
  std::sort(names.begin(), names.end());
  return names;
}

void WriteGPU(const MatchedGPUT& matched, bool is_this_machine, ReportSink& sink) {
  const GPUT& gpu = *matched.gpu;
  std::vector<std::string> attributes = {EnumNameGPUType(gpu.type), MemoryText(matched, is_this_machine)};
  if (gpu.pci_bus != kUnknown) attributes.push_back(PCIText(gpu));

  REPORT_INFO(sink, "  - \"{} {}\" ({}){}", EnumNameVendor(gpu.vendor), gpu.name, gpu.id,
              gpu.is_main_display ? " <- Main Display GPU" : "");
  REPORT_INFO(sink, "    {}", Join(attributes, ", "));
  REPORT_INFO(sink, "    Matches: {}", Join(SourceNames(matched), ", "));
}

void WritePeers(const GPUT& gpu, const std::vector<GPUT>& gpus, ReportSink& sink) {
  for (const ComputeAPI api : {ComputeAPI::Metal, ComputeAPI::CUDA, ComputeAPI::OpenCL}) {
    const auto peers = FindPeers(gpus, gpu.id, api);
    if (!peers.empty()) REPORT_INFO(sink, "    {} Peers: {}", EnumNameComputeAPI(api), Join(peers, ", "));
  }
}

void WriteMonitors(const std::vector<MonitorT>& monitors, const std::vector<GPUT>& gpus, ReportSink& sink) {
  REPORT_INFO(sink, "Detected {} monitors:", monitors.size());
  for (const MonitorT& monitor : monitors) {
    const GPUT* gpu = FindGPUByID(gpus, monitor.gpu_id);
    if (gpu == nullptr) continue;
    REPORT_INFO(sink, "  - \"{}\"{}", monitor.name, monitor.is_main ? " <- Main Monitor" : "");
    REPORT_INFO(sink, "    {}x{}, connected to \"{} {}\" ({})", monitor.width, monitor.height,
                EnumNameVendor(gpu->vendor), gpu->name, monitor.gpu_id);
  }
}

}  // namespace

void WriteReport(const ReportedResults& results, ReportSink& sink) {
  const bool wants_info = sink.Wants(LogLevel::Info);
  const bool wants_warnings = sink.Wants(LogLevel::Warn);
  if (wants_info) WriteSystem(results.system, results.is_this_machine, sink);
  if (wants_info) REPORT_INFO(sink, "Detected {} GPUs:", results.matched.size());
  for (const MatchedGPUT& matched : results.matched) {
    if (wants_info) WriteGPU(matched, results.is_this_machine, sink);
    if (wants_warnings && matched.opencl == nullptr) REPORT_WARN(sink, "    Warning: No OpenCL match.");
    if (wants_info) WritePeers(*matched.gpu, results.gpus, sink);
  }
  if (wants_info) WriteMonitors(results.monitors, results.gpus, sink);
}

}  // namespace Vexil
