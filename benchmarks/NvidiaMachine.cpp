#include "NvidiaMachine.h"

#include <fmt/format.h>

namespace Vexil::Bench {

using namespace Simulation;

namespace {

constexpr std::uint64_t kMemory = std::uint64_t{24} << 30;
constexpr const char* kName = "NVIDIA RTX A5000";

std::string Output(std::size_t gpu) { return fmt::format(R"(\\.\DISPLAY{})", gpu + 1); }
std::string DriverKey(std::size_t gpu) { return fmt::format("{{4d36e968-e325-11ce-bfc1-08002be10318}}\\{:04}", gpu); }

void AddToDesktop(Machine& machine, std::size_t gpu, const PCIAddress& pci) {
  const std::string path =
      fmt::format(R"(System\CurrentControlSet\Control\Video\{{{:08X}-0000-0000-0000-000000000000}})", gpu);
  DesktopOutput output;
  output.device.name = Output(gpu);
  output.device.description = kName;
  output.device.state_flags = gpu == 0 ? kAttachedToDesktop | kPrimaryDevice : kAttachedToDesktop;
  output.device.id = R"(PCI\VEN_10DE&DEV_2231&SUBSYS_147E10DE&REV_A1)";
  output.device.key = R"(\Registry\Machine\)" + path + R"(\0000)";
  output.mode = DisplayMode{3840, 2160, 60};
  output.monitors.push_back({Output(gpu) + "\\Monitor0", "Dell U2720Q", kAttachedToDesktop, "MONITOR\\DEL4184",
                             fmt::format("{{4d36e96e-e325-11ce-bfc1-08002be10318}}\\{:04}", gpu)});
  machine.desktop.push_back(output);
  machine.registry[{path + R"(\Video)", "Driver"}] = DriverKey(gpu);
  machine.registry[{path + R"(\0000)", "ProviderName"}] = "NVIDIA";
  machine.display_class.push_back({DriverKey(gpu), gpu + 1, pci});

  DXGIAdapterDescription description;
  description.name = kName;
  description.vendor_id = 0x10DE;
  description.device_id = 0x2231;
  description.subsys_id = 0x147E10DE;
  description.revision = 0xA1;
  description.dedicated_video_memory = kMemory;
  description.luid = gpu + 1;
  machine.dxgi->push_back({description, {Output(gpu)}});
}

void AddToVendorLibraries(Machine& machine, std::size_t gpu, std::size_t gpus, const PCIAddress& pci) {
  CUDADevice cuda{kName, kMemory, 8, 6, pci, {}};
  for (std::size_t peer = 0; peer < gpus; ++peer) {
    if (peer != gpu) cuda.peers.push_back(peer);
  }
  machine.cuda->devices.push_back(cuda);

  NVMLDevice nvml{pci, 4, 4, 16, 16, "94.02.6D.00.0E", {}};
  if (gpus > 1) nvml.links.assign(4, NvLink{{static_cast<std::uint32_t>((gpu ^ 1U) + 1), 0, 0}, 3});
  machine.nvml->devices.push_back(nvml);

  NVAPIGPU nvapi;
  nvapi.name = kName;
  nvapi.vbios = "94.02.6D.00.0E";
  nvapi.pci = pci;
  nvapi.ids = NVAPIDeviceIDs{0x2231'10DE, 0x147E'10DE, 0xA1, 0x2231};
  nvapi.width = 16;
  nvapi.system_type = 2;
  nvapi.gpu_type = 2;
  nvapi.memory_kib = 24U << 20;
  nvapi.free_memory_kib = 20U << 20;
  machine.nvapi->gpus.push_back(nvapi);
  machine.nvapi->displays.push_back({Output(gpu), true, {gpu}});

  OpenCLDevice opencl;
  opencl.name = kName;
  opencl.vendor = "NVIDIA Corporation";
  opencl.driver_version = "537.41";
  opencl.extensions = "cl_khr_global_int32_base_atomics cl_khr_fp64 cl_nv_device_attribute_query";
  opencl.memory_bytes = kMemory;
  opencl.unified_memory = false;
  opencl.pci = pci;
  machine.opencl->platforms.front().devices.push_back(opencl);
}

}  // namespace

Machine NvidiaMachine(std::size_t gpus) {
  Machine machine;
  machine.registry[{R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", "CurrentBuildNumber"}] = "22631";
  machine.registry[{R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", "ProductName"}] = "Windows 10 Pro";
  machine.memory = PhysicalMemory{std::uint64_t{200} << 30, std::uint64_t{256} << 30};
  machine.processors = 64;
  machine.dxgi.emplace();
  machine.cuda.emplace().driver_version = 12020;
  machine.nvml.emplace();
  machine.nvapi.emplace().driver_version = 53741;
  machine.opencl.emplace().platforms.push_back({"NVIDIA CUDA", "OpenCL 3.0 CUDA 12.2.79", "", {}, {}, {}});
  for (std::size_t gpu = 0; gpu < gpus; ++gpu) {
    const PCIAddress pci{static_cast<std::uint32_t>(gpu + 1), 0, 0};
    AddToDesktop(machine, gpu, pci);
    AddToVendorLibraries(machine, gpu, gpus, pci);
  }
  return machine;
}

}  // namespace Vexil::Bench
