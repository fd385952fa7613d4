#include <fmt/format.h>

#include "Vexil/Platform/DXGI.h"
#include "Vexil/Platform/DisplayClass.h"
#include "Vexil/Platform/DisplayDevices.h"
#include "Vexil/Platform/Kernel.h"
#include "Vexil/Platform/OpenLibrary.h"
#include "Vexil/Platform/Registry.h"
#include "simulation/SimulatedLibraries.h"

// What Windows answers, where the library asks it through functions of its own.

namespace Vexil {

using namespace Simulation;

// Libraries

namespace {

// Windows' error numbers.
constexpr std::uint32_t kModuleNotFound = 126;
constexpr std::uint32_t kModuleDoesNotStart = 1114;

}  // namespace

void* OpenLibrary(const char* file_name, std::uint32_t& error) {
  const InsideCall inside;
  for (const SimulatedLibrary* library : AllLibraries()) {
    if (std::string_view(library->file_name) != file_name) continue;
    error = kModuleNotFound;
    if (library->installed() == nullptr) return nullptr;
    error = kModuleDoesNotStart;
    if (CallFails("LoadLibrary", file_name)) return nullptr;
    CountOpen(file_name, 1);
    return const_cast<SimulatedLibrary*>(library);
  }
  ReportMisuse(std::string("unknown library ") + file_name);
  return nullptr;
}

void PinLibrary(const char* file_name) {
  const InsideCall inside;
  Pin(file_name);
}

// The machine has one folder.
void OpenFromSystemFolderOnly() {}

std::string SystemErrorText(std::uint32_t error) {
  switch (error) {
    case kModuleNotFound: return "Module not found.";
    case kModuleDoesNotStart: return "DLL initialization failed.";
    default: return {};
  }
}

Symbol FindSymbol(void* library, const char* name) {
  const InsideCall inside;
  const auto& simulated = *static_cast<const SimulatedLibrary*>(library);
  const auto entry = simulated.exports.find(name);
  if (entry == simulated.exports.end()) ReportMisuse(std::string(simulated.file_name) + " never had " + name);
  const Library* installed = simulated.installed();
  const bool is_missing = entry == simulated.exports.end() || installed == nullptr || installed->missing.contains(name);
  return CallFails("GetProcAddress", name) || is_missing ? nullptr : entry->second;
}

void CloseLibrary(void* library) {
  const InsideCall inside;
  const auto& simulated = *static_cast<const SimulatedLibrary*>(library);
  CountOpen(simulated.file_name, -1);
  const int open = Observed().open.at(simulated.file_name);
  if (open < 0) ReportMisuse(std::string(simulated.file_name) + " closed twice");
  if (open == 0 && simulated.is_up_while_loaded && IsUp(simulated.file_name)) CountUp(simulated.file_name, -1);
}

// Kernel and registry

std::optional<PhysicalMemory> GetPhysicalMemory() {
  const InsideCall inside;
  return CallFails("GlobalMemoryStatusEx") ? std::nullopt : TheMachine().memory;
}

std::uint32_t GetProcessorCount() { return TheMachine().processors; }

std::string ReadRegistryString(const std::string& key, const std::string& value) {
  const InsideCall inside;
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
  const InsideCall inside;
  const DesktopOutput* output = At(TheMachine().desktop, index);
  if (CallFails("EnumDisplayDevices", "adapters", index) || output == nullptr) return std::nullopt;
  return output->device;
}

std::optional<DisplayDevice> GetMonitorOn(const std::string& output_name, std::uint32_t index) {
  const InsideCall inside;
  const DesktopOutput* output = FindOutput(output_name);
  const DisplayDevice* monitor = output != nullptr ? At(output->monitors, index) : nullptr;
  if (CallFails("EnumDisplayDevices", output_name, index) || monitor == nullptr) return std::nullopt;
  return *monitor;
}

std::optional<DisplayMode> GetCurrentMode(const std::string& output_name) {
  const InsideCall inside;
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
    const InsideCall inside;
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
  const InsideCall inside;
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

std::optional<std::uint64_t> Simulation::AdapterLUID(void* adapter) {
  return static_cast<const GraphicsAdapter*>(adapter)->description.luid;
}

namespace {

constexpr DXGIStatus kOK = 0;
constexpr auto kFail = static_cast<DXGIStatus>(0x80004005);

class SimulatedAdapter final : public DXGIAdapter {
 public:
  SimulatedAdapter(const GraphicsAdapter& adapter, std::int64_t index) : m_adapter(adapter), m_index(index) {}

  DXGIStatus Describe(DXGIAdapterDescription& description) override {
    const InsideCall inside;
    if (CallFails("GetDesc2", m_index)) return kFail;
    description = m_adapter.description;
    return kOK;
  }

  DXGIStatus NameOutput(std::uint32_t index, std::string& name) override {
    const InsideCall inside;
    const std::string* output = At(m_adapter.outputs, index);
    if (CallFails("EnumOutputs", std::to_string(index), m_index)) return kFail;
    if (output == nullptr) return kDXGINotFound;
    if (!CallFails("GetDesc", std::to_string(index), m_index)) name = *output;
    return kOK;
  }

  // Given to OpenCL, which asks AdapterLUID.
  void* Interface() override { return const_cast<GraphicsAdapter*>(&m_adapter); }

 private:
  const GraphicsAdapter& m_adapter;
  std::int64_t m_index;
};

}  // namespace

DXGIEnd ForEachDXGIAdapter(const std::function<void(std::uint32_t index, DXGIAdapter*)>& visit) {
  const auto fails = [](const char* call, std::string_view parameter, std::int64_t device) {
    const InsideCall inside;
    return CallFails(call, parameter, device);
  };
  const auto& adapters = TheMachine().dxgi;
  constexpr auto kUnsupported = static_cast<DXGIStatus>(0x887A0004);
  if (fails("CreateDXGIFactory", {}, kNoDevice) || !adapters) return {"CreateDXGIFactory", kUnsupported};
  for (std::uint32_t index = 0;; ++index) {
    const GraphicsAdapter* adapter = At(*adapters, index);
    if (fails("EnumAdapters1", {}, index)) return {"EnumAdapters1", kFail};
    if (adapter == nullptr) return {"EnumAdapters1", kDXGINotFound};
    if (fails("QueryInterface", "IDXGIAdapter2", index)) {
      visit(index, nullptr);
      continue;
    }
    SimulatedAdapter visited(*adapter, index);
    visit(index, &visited);
  }
}

}  // namespace Vexil
