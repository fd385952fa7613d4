#include "tests/windows/SeededDesktop.h"

#include <fmt/format.h>
#include <windows.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "tests/windows/Wine.h"

namespace Vexil::Tests {
namespace {

const std::string kControlSet = R"(System\CurrentControlSet\)";
const std::string kVideoMap = R"(HARDWARE\DEVICEMAP\VIDEO)";
const std::string kGPUs = kControlSet + R"(Enum\PCI)";
const std::string kMonitors = kControlSet + R"(Enum\DISPLAY)";
const std::string kAdapters = kControlSet + R"(Control\Video)";
const std::string kAdapterStates = kControlSet + R"(Hardware Profiles\Current\)" + kAdapters;

// Marks the keys made here, so that they can be told from Wine's own and removed.
const std::string kInstance = "Seeded";
const std::string kGUIDStart = "{5EEDED00-0000-0000-0000-";

const std::string kDisplayClass = "{4d36e968-e325-11ce-bfc1-08002be10318}";
const std::string kMonitorClass = "{4d36e96e-e325-11ce-bfc1-08002be10318}";
const std::string kDeviceProperties = R"(\Properties\{A45C254E-DF1C-4EFD-8020-67D146A850E0}\)";
const std::string kMonitorProperties = R"(\Properties\{233A9EF3-AFC4-4ABD-B564-C32F21F1535B}\)";

constexpr DWORD kUInt32Property = 0xffff0007;
constexpr DWORD kInt64Property = 0xffff0008;
constexpr DWORD kUInt64Property = 0xffff0009;
constexpr DWORD kBoolProperty = 0xffff0011;
constexpr DWORD kBinaryProperty = 0xffff1003;

/// A key of HKEY_LOCAL_MACHINE that goes with the Wine server at the latest.
class Key {
 public:
  explicit Key(const std::string& path) {
    if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                        &m_key, nullptr) != ERROR_SUCCESS) {
      throw std::runtime_error("cannot make the key " + path);
    }
  }
  ~Key() { RegCloseKey(m_key); }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  void Set(const std::string& name, const std::string& text, DWORD type = REG_SZ) const {
    Set(name, type, text.c_str(), text.size() + 1);
  }
  template <typename Number>
  void SetNumber(const std::string& name, DWORD type, Number number) const {
    Set(name, type, &number, sizeof(number));
  }
  void Set(const std::string& name, DWORD type, const void* data, std::size_t size) const {
    RegSetValueExA(m_key, name.c_str(), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
  }

 private:
  HKEY m_key = nullptr;
};

template <typename Number>
void SetProperty(const std::string& path, DWORD type, Number value) {
  Key(path).SetNumber("", type, value);
}

/// The part of a mode that Wine keeps in the registry.
struct StoredMode {
  std::byte bytes[sizeof(DEVMODEW) - offsetof(DEVMODEW, dmFields)];
};

StoredMode ToStoredMode(const SeededOutput& output) {
  DEVMODEW mode = {};
  mode.dmFields = DM_BITSPERPEL | DM_PELSWIDTH | DM_PELSHEIGHT | DM_DISPLAYFREQUENCY | DM_DISPLAYFLAGS | DM_POSITION;
  mode.dmBitsPerPel = 32;
  mode.dmPelsWidth = output.width;
  mode.dmPelsHeight = output.height;
  mode.dmDisplayFrequency = output.refresh_rate;
  StoredMode stored = {};
  std::memcpy(stored.bytes, reinterpret_cast<const std::byte*>(&mode) + offsetof(DEVMODEW, dmFields), sizeof(stored));
  return stored;
}

void RemoveSubkeysThat(const std::string& path, bool (*is_ours)(const std::string& path)) {
  char name[256];
  for (DWORD index = 0;;) {
    DWORD size = sizeof(name);
    HKEY parent = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_ALL_ACCESS, &parent) != ERROR_SUCCESS) return;
    const LSTATUS status = RegEnumKeyExA(parent, index, name, &size, nullptr, nullptr, nullptr, nullptr);
    const bool remove = status == ERROR_SUCCESS && is_ours(path + "\\" + name);
    if (!remove || RegDeleteTreeA(parent, name) != ERROR_SUCCESS) ++index;
    RegCloseKey(parent);
    if (status != ERROR_SUCCESS) return;
  }
}

bool IsSeededDevice(const std::string& path) {
  HKEY key = nullptr;
  const bool found =
      RegOpenKeyExA(HKEY_LOCAL_MACHINE, (path + "\\" + kInstance).c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
  if (found) RegCloseKey(key);
  return found;
}

bool IsSeededAdapter(const std::string& path) { return path.find(kGUIDStart) != std::string::npos; }

void RemoveSeeds() {
  for (int output = 0; output < 32; ++output) {
    RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kVideoMap.c_str(), fmt::format("\\Device\\Video{}", output).c_str());
  }
  RemoveSubkeysThat(kGPUs, IsSeededDevice);
  RemoveSubkeysThat(kMonitors, IsSeededDevice);
  RemoveSubkeysThat(kAdapters, IsSeededAdapter);
  RemoveSubkeysThat(kAdapterStates, IsSeededAdapter);
}

}  // namespace

SeededDesktop::SeededDesktop(const std::vector<SeededGPU>& gpus) {
  if (!IsWine()) throw std::runtime_error("only Wine's desktop can be seeded");
  // Wine describes its own adapter when the desktop is first used; after that it only reads.
  GetDesktopWindow();
  DISPLAY_DEVICEA device = {};
  device.cb = sizeof(device);
  EnumDisplayDevicesA(nullptr, 0, &device, 0);

  RemoveSeeds();
  for (std::size_t index = 0; index < gpus.size(); ++index) AddGPU(index, gpus[index]);
}

SeededDesktop::~SeededDesktop() { RemoveSeeds(); }

std::string SeededDesktop::DriverOf(std::size_t gpu) { return fmt::format("{}\\{:04}", kDisplayClass, gpu + 100); }
std::string SeededDesktop::AdapterKeyOf(std::size_t gpu) { return fmt::format("{}{:012X}}}", kGUIDStart, gpu); }

void SeededDesktop::AddGPU(std::size_t index, const SeededGPU& gpu) {
  const std::string path = kControlSet + "Enum\\" + gpu.device_id + "\\" + kInstance;
  const Key device(path);
  device.Set("Class", "Display");
  device.Set("ClassGUID", kDisplayClass);
  device.Set("Driver", DriverOf(index));
  device.Set("DeviceDesc", gpu.name);
  device.Set("HardwareID", gpu.device_id + '\0', REG_MULTI_SZ);
  SetProperty(path + R"(\Properties\{540B947E-8B40-45BC-A8A2-6A0B894CBDA2}\0005)", kBoolProperty, BYTE{0xff});
  SetProperty(path + R"(\Properties\{60B193CB-5276-4D0F-96FC-F173ABAD3EC6}\0002)", kUInt64Property, gpu.luid);
  if (gpu.bus) SetProperty(path + kDeviceProperties + "0017", kUInt32Property, *gpu.bus);
  if (gpu.address) SetProperty(path + kDeviceProperties + "001E", kUInt32Property, *gpu.address);

  const std::string adapter = kAdapters + "\\" + AdapterKeyOf(index);
  if (gpu.has_driver) Key(adapter + "\\Video").Set("Driver", DriverOf(index));
  for (std::size_t output = 0; output < gpu.outputs.size(); ++output)
    AddOutput(index, gpu, output, gpu.outputs[output]);
}

void SeededDesktop::AddOutput(std::size_t gpu_index, const SeededGPU& gpu, std::size_t output_index,
                              const SeededOutput& output) {
  const std::string name = fmt::format("\\{}\\{:04}", AdapterKeyOf(gpu_index), output_index);
  const Key adapter(kAdapters + name);
  adapter.Set("DriverDesc", gpu.name);
  if (!gpu.provider.empty()) adapter.Set("ProviderName", gpu.provider);

  const Key state(kAdapterStates + name);
  state.Set("GPUID", gpu.device_id + "\\" + kInstance);
  state.SetNumber("StateFlags", REG_DWORD, DWORD{output.state_flags});
  state.SetNumber("ModeCount", REG_DWORD, DWORD{1});
  for (const char* mode : {"Modes\\00000000", "Modes\\FFFFFFFF", "Modes\\FFFFFFFE"}) {
    state.SetNumber(mode, REG_BINARY, ToStoredMode(output));
  }
  for (std::size_t monitor = 0; monitor < output.monitors.size(); ++monitor) {
    state.Set(fmt::format("MonitorID{}", monitor), MakeMonitor(output, output.monitors[monitor], gpu.luid));
  }
  // The entry in the map comes last: it makes Wine read all of this.
  Key(kVideoMap).Set(fmt::format("\\Device\\Video{}", m_outputs++), "\\Registry\\Machine\\" + kAdapters + name);
}

std::string SeededDesktop::MakeMonitor(const SeededOutput& output, const std::string& name, std::uint64_t luid) {
  const std::string id = fmt::format("DISPLAY\\MON{:04}", m_monitors);
  const std::string path = kControlSet + "Enum\\" + id + "\\" + kInstance;
  const Key device(path);
  device.Set("DeviceDesc", name);
  device.Set("Driver", fmt::format("{}\\{:04}", kMonitorClass, m_monitors));
  device.Set("HardwareID", fmt::format("MONITOR\\MON{:04}", m_monitors) + '\0', REG_MULTI_SZ);

  const RECT area = {0, 0, static_cast<LONG>(output.width), static_cast<LONG>(output.height)};
  SetProperty(path + kMonitorProperties + "0002", kUInt32Property, DWORD{0x3});
  SetProperty(path + kMonitorProperties + "0003", kBinaryProperty, area);
  SetProperty(path + kMonitorProperties + "0004", kBinaryProperty, area);
  const std::string source = path + R"(\Properties\{CA085853-16CE-48AA-B114-DE9C72334223}\)";
  SetProperty(source + "0001", kInt64Property, luid);
  SetProperty(source + "0002", kUInt32Property, DWORD{0});
  ++m_monitors;
  return id + "\\" + kInstance;
}

}  // namespace Vexil::Tests
