#include "benchmarks/Workstation.h"

#include <fmt/format.h>

#include "simulation/LoadMachine.h"

namespace Vexil::Benchmarks {

using namespace Simulation;

namespace {

/// Makes a list of copies of its first element, each of which `place` puts into its own place.
template <typename Element, typename Place>
void Multiply(std::vector<Element>& elements, std::size_t count, const Place& place) {
  const Element first = elements.at(0);
  elements.assign(count, first);
  for (std::size_t index = 0; index < count; ++index) place(elements[index], index);
}

PCIAddress AddressOf(std::size_t gpu) { return {static_cast<std::uint32_t>(gpu + 1), 0, 0}; }
std::string OutputOf(std::size_t gpu) { return fmt::format(R"(\\.\DISPLAY{})", gpu + 1); }
std::string DriverOf(std::size_t gpu) { return fmt::format(R"({{4d36e968-e325-11ce-bfc1-08002be10318}}\{:04})", gpu); }
std::uint64_t LUIDOf(std::size_t gpu) { return gpu + 1; }

void MultiplyDesktop(Machine& machine, std::size_t gpus) {
  Multiply(machine.desktop, gpus, [&](DesktopOutput& output, std::size_t gpu) {
    const std::string path = fmt::format(R"(System\CurrentControlSet\Control\Video\{{{}}})", gpu);
    machine.registry[{path + R"(\Video)", "Driver"}] = DriverOf(gpu);
    machine.registry[{path + R"(\0000)", "ProviderName"}] = "NVIDIA";
    output.device.name = OutputOf(gpu);
    output.device.key = R"(\Registry\Machine\)" + path + R"(\0000)";
    for (DisplayDevice& monitor : output.monitors) monitor.name = OutputOf(gpu) + R"(\Monitor0)";
  });
  Multiply(machine.display_class, gpus, [](ClassDevice& device, std::size_t gpu) {
    device = {DriverOf(gpu), LUIDOf(gpu), AddressOf(gpu)};
  });
  Multiply(*machine.dxgi, gpus, [](GraphicsAdapter& adapter, std::size_t gpu) {
    adapter.description.luid = LUIDOf(gpu);
    adapter.outputs = {OutputOf(gpu)};
  });
}

void MultiplyVendorLibraries(Machine& machine, std::size_t gpus) {
  Multiply(machine.opencl->platforms.at(0).devices, gpus,
           [](OpenCLDevice& device, std::size_t gpu) { device.pci = AddressOf(gpu); });
  Multiply(machine.cuda->devices, gpus, [&](CUDADevice& device, std::size_t gpu) {
    device.pci = AddressOf(gpu);
    device.peers.clear();
    for (std::size_t peer = 0; peer < gpus; ++peer) {
      if (peer != gpu) device.peers.push_back(peer);
    }
  });
  Multiply(machine.nvml->devices, gpus, [&](NVMLDevice& device, std::size_t gpu) {
    device.pci = AddressOf(gpu);
    if (gpus == 1) device.links.clear();
    for (NvLink& link : device.links) link.remote = AddressOf(gpu ^ 1U);
  });
  Multiply(machine.nvapi->gpus, gpus, [](NVAPIGPU& device, std::size_t gpu) { device.pci = AddressOf(gpu); });
  Multiply(machine.nvapi->displays, gpus, [](NVAPIDisplay& display, std::size_t gpu) {
    display.name = OutputOf(gpu);
    display.gpus = {gpu};
  });
}

}  // namespace

Machine Workstation(std::size_t gpus) {
  Machine machine = LoadMachine(VEXIL_MACHINES "/four-equal-cards.json");
  MultiplyDesktop(machine, gpus);
  MultiplyVendorLibraries(machine, gpus);
  return machine;
}

}  // namespace Vexil::Benchmarks
