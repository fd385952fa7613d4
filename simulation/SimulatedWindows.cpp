#include <fmt/format.h>

#include "SimulatedLibraries.h"
#include "Windows/DXGI.h"
#include "Windows/DisplayClass.h"
#include "Windows/DisplayDevices.h"
#include "Windows/Kernel.h"
#include "Windows/Registry.h"

// What the operating system answers, where the library asks it through functions of its own.

namespace Vexil {

using namespace Simulation;

std::optional<PhysicalMemory> GetPhysicalMemory() {
  return CallFails("GlobalMemoryStatusEx") ? std::nullopt : TheMachine().memory;
}

std::uint32_t GetProcessorCount() { return TheMachine().processors; }

std::string ReadRegistryString(const std::string& key, const std::string& value) {
  if (CallFails("RegGetValue", value)) return {};
  const auto& registry = TheMachine().registry;
  const auto found = registry.find({key, value});
  return found != registry.end() ? found->second : std::string();
}

// Display devices

namespace {

const DesktopOutput* FindOutput(const std::string& name) {
  for (const DesktopOutput& output : TheMachine().desktop) {
    if (output.device.name == name) return &output;
  }
  return nullptr;
}

}  // namespace

std::optional<DisplayDevice> GetAdapterOutput(std::uint32_t index) {
  const DesktopOutput* output = At(TheMachine().desktop, index);
  if (CallFails("EnumDisplayDevices", "adapters", index) || output == nullptr) return std::nullopt;
  return output->device;
}

std::optional<DisplayDevice> GetMonitorOn(const std::string& output_name, std::uint32_t index) {
  const DesktopOutput* output = FindOutput(output_name);
  const DisplayDevice* monitor = output != nullptr ? At(output->monitors, index) : nullptr;
  if (CallFails("EnumDisplayDevices", output_name, index) || monitor == nullptr) return std::nullopt;
  return *monitor;
}

std::optional<DisplayMode> GetCurrentMode(const std::string& output_name) {
  const DesktopOutput* output = FindOutput(output_name);
  if (CallFails("EnumDisplaySettings", output_name) || output == nullptr) return std::nullopt;
  return output->mode;
}

// The display class

struct DisplayClassDevices::Walk {
  bool works = !CallFails("SetupDiGetClassDevs");
  std::int64_t index = -1;

  /// What the machine tells about the device with `member`; nothing where asking fails.
  template <typename Value>
  std::optional<Value> Ask(const char* call, const char* property, std::optional<Value> ClassDevice::*member) const {
    const ClassDevice* device = At(TheMachine().display_class, index);
    if (CallFails(call, property, index) || device == nullptr) return std::nullopt;
    return device->*member;
  }
};

namespace {

constexpr const char* kRegistryProperty = "SetupDiGetDeviceRegistryProperty";
constexpr const char* kProperty = "SetupDiGetDeviceProperty";

std::optional<std::uint32_t> Bus(const std::optional<PCIAddress>& pci) {
  return pci ? std::optional(pci->bus) : std::nullopt;
}

std::optional<std::uint32_t> DeviceAndFunction(const std::optional<PCIAddress>& pci) {
  return pci ? std::optional(pci->device << 16 | pci->function) : std::nullopt;
}

}  // namespace

DisplayClassDevices::DisplayClassDevices() : m_walk(std::make_unique<Walk>()) {}
DisplayClassDevices::~DisplayClassDevices() = default;

bool DisplayClassDevices::Next() {
  if (!m_walk->works || CallFails("SetupDiEnumDeviceInfo", m_walk->index + 1)) return false;
  return At(TheMachine().display_class, ++m_walk->index) != nullptr;
}

std::optional<std::string> DisplayClassDevices::DriverKey() const {
  return m_walk->Ask(kRegistryProperty, "driver", &ClassDevice::driver_key);
}
std::optional<std::uint32_t> DisplayClassDevices::BusNumber() const {
  return Bus(m_walk->Ask(kRegistryProperty, "bus", &ClassDevice::pci));
}
std::optional<std::uint32_t> DisplayClassDevices::Address() const {
  return DeviceAndFunction(m_walk->Ask(kRegistryProperty, "address", &ClassDevice::pci));
}
std::optional<std::uint64_t> DisplayClassDevices::AdapterLUID() const {
  return m_walk->Ask(kProperty, "luid", &ClassDevice::luid);
}
std::optional<std::uint32_t> DisplayClassDevices::BusNumberProperty() const {
  return Bus(m_walk->Ask(kProperty, "bus", &ClassDevice::pci));
}
std::optional<std::uint32_t> DisplayClassDevices::AddressProperty() const {
  return DeviceAndFunction(m_walk->Ask(kProperty, "address", &ClassDevice::pci));
}

// DXGI

namespace {

class SimulatedAdapter final : public DXGIAdapter {
 public:
  SimulatedAdapter(const GraphicsAdapter& adapter, std::int64_t index) : m_adapter(adapter), m_index(index) {}

  DXGIAdapterDescription Description() override {
    return CallFails("GetDesc2", m_index) ? DXGIAdapterDescription() : m_adapter.description;
  }

  std::optional<std::string> OutputName(std::uint32_t index) override {
    const std::string* name = At(m_adapter.outputs, index);
    if (CallFails("EnumOutputs", std::to_string(index), m_index) || name == nullptr) return std::nullopt;
    return CallFails("GetDesc", std::to_string(index), m_index) ? std::string() : *name;
  }

  // OpenCL looks the LUID up here.
  void* Interface() override { return const_cast<GraphicsAdapter*>(&m_adapter); }

 private:
  const GraphicsAdapter& m_adapter;
  std::int64_t m_index;
};

}  // namespace

DXGIStatus ForEachDXGIAdapter(const std::function<void(std::uint32_t index, DXGIAdapter&)>& visit) {
  const auto& adapters = TheMachine().dxgi;
  constexpr auto kUnsupported = static_cast<DXGIStatus>(0x887A0004);
  if (CallFails("CreateDXGIFactory") || !adapters) return kUnsupported;
  for (std::uint32_t index = 0;; ++index) {
    const GraphicsAdapter* adapter = At(*adapters, index);
    if (CallFails("EnumAdapters1", index) || adapter == nullptr) return 0;
    if (CallFails("QueryInterface", "IDXGIAdapter2", index)) continue;
    SimulatedAdapter visited(*adapter, index);
    visit(index, visited);
  }
}

}  // namespace Vexil
