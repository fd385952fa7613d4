#include "cli/Card.h"

#include <fmt/format.h>

#include <utility>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/Text.h"
#include "Vexil/Common/Unknown.h"
#include "cli/KnownAs.h"
#include "cli/MonitorList.h"
#include "cli/Printing.h"
#include "cli/Selection.h"
#include "cli/TopologyTables.h"
#include "cli/VRAM.h"

namespace Vexil::Cli {

using FlatBuffers::GPUT;
using FlatBuffers::GPUType;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::Vendor;

namespace {

std::string KindText(const MatchedGPUT& matched) {
  const GPUT& gpu = *matched.gpu;
  std::string text =
      gpu.type == GPUType::Unknown ? "GPU of unknown type" : EnumNameGPUType(gpu.type) + std::string(" GPU");
  if (matched.nvapi != nullptr && matched.nvapi->is_laptop) text += " of a laptop";
  if (gpu.is_main_display) text += ", drives the main display";
  return text;
}

/// Whose memory it is, too.
std::string MemoryText(const MatchedGPUT& matched) {
  const bool is_shared =
      matched.gpu->type == GPUType::Integrated || (matched.opencl != nullptr && matched.opencl->host_unified_memory);
  const auto& directx = matched.directx;
  const VRAM vram = FindVRAM(matched);
  std::string text = "unknown";
  if (vram.mib != kUnknown) {
    text = FormatMiB(vram.mib) + (is_shared && !vram.is_from_dxgi ? " shared with the processor" : " dedicated");
  }
  if (vram.is_from_dxgi && directx->shared_system_memory_mib != kUnknown) {
    text += " and " + FormatMiB(directx->shared_system_memory_mib) + " shared with the processor";
  }
  return vram.is_from_dxgi ? text + ", as DXGI tells" : text;
}

std::string DriverText(const Session& session, const MatchedGPUT& matched) {
  const FlatBuffers::SystemT& system = *session.results.records.system;
  switch (matched.gpu->vendor) {
    case Vendor::NVIDIA:
      if (system.nvidia_driver_major == kUnknown) break;
      return fmt::format("{}.{:02}", system.nvidia_driver_major, system.nvidia_driver_minor);
    case Vendor::AMD:
      if (system.amd_driver_version.empty()) break;
      return system.amd_driver_version;
    case Vendor::Intel:
      if (system.intel_driver_version.empty()) break;
      return system.intel_driver_version;
    default: break;
  }
  return "unknown";
}

std::string VersionText(std::int32_t major, std::int32_t minor) {
  return minor == kUnknown ? std::to_string(major) : fmt::format("{}.{}", major, minor);
}

std::string CUDAText(const GPUT& gpu) {
  if (gpu.cuda_index == kUnknown) return "no";
  std::string text = "device " + std::to_string(gpu.cuda_index);
  if (gpu.cuda_compute_major != kUnknown) {
    text += ", compute capability " + VersionText(gpu.cuda_compute_major, gpu.cuda_compute_minor);
  }
  return text;
}

std::string OpenCLText(const MatchedGPUT& matched) {
  if (matched.opencl == nullptr) return "no";
  const GPUT& gpu = *matched.gpu;
  return gpu.opencl_major == kUnknown ? "yes" : VersionText(gpu.opencl_major, gpu.opencl_minor);
}

/// As this program writes it, and as most other tools do.
std::string PlaceText(const GPUT& gpu) {
  if (gpu.pci_bus == kUnknown || gpu.pci_device == kUnknown) return "unknown";
  // The function that every device has.
  const int function = gpu.pci_function == kUnknown ? 0 : gpu.pci_function;
  return fmt::format("{}:{}, {:02x}:{:02x}.{} in hexadecimal", gpu.pci_bus, gpu.pci_device, gpu.pci_bus, gpu.pci_device,
                     function);
}

std::vector<std::string> DisplayTexts(const Session& session, const GPUT& gpu) {
  std::vector<std::string> texts;
  for (const MonitorRow& monitor : FindMonitors(session)) {
    if (monitor.gpu == nullptr || monitor.gpu->id != gpu.id) continue;
    texts.push_back(Join(std::vector{OutputText(monitor), monitor.name, ModeText(monitor)}, "  "));
  }
  if (texts.empty()) texts.emplace_back("none");
  return texts;
}

}  // namespace

void PrintCard(const Session& session, const MatchedGPUT& matched) {
  const GPUT& gpu = *matched.gpu;
  PrintLine(session.out, FullName(gpu));
  TextTable table;
  table.Add({"Kind", KindText(matched)});
  table.Add({"Identifier", gpu.id});
  table.Add({"PCI place", PlaceText(gpu)});
  table.Add({"Memory", MemoryText(matched)});
  table.Add({"Driver", DriverText(session, matched)});
  table.Add({"CUDA", CUDAText(gpu)});
  table.Add({"OpenCL", OpenCLText(matched)});
  table.Add({"PCI Express", PCIExpressText(gpu.pcie_generation, gpu.pcie_link_width) + " now, " +
                                PCIExpressText(gpu.pcie_max_generation, gpu.pcie_max_link_width) + " at most"});
  std::string title = "Displays";
  for (const std::string& text : DisplayTexts(session, gpu)) table.Add({std::exchange(title, ""), text});
  table.Print(session.out, "  ");
}

}  // namespace Vexil::Cli
