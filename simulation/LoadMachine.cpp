#include "simulation/LoadMachine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <string_view>

#include "simulation/JsonReader.h"
#include "simulation/SimulatedLibraries.h"

namespace Vexil::Simulation {
namespace {

constexpr const char* kDisplayClassGUID = "{4d36e968-e325-11ce-bfc1-08002be10318}";
constexpr const char* kMonitorClassGUID = "{4d36e96e-e325-11ce-bfc1-08002be10318}";

// Values that the file writes in another way than the machine holds them.

/// MiB, for a number of bytes.
template <typename Bytes>
struct MiB {
  Bytes& bytes;
};
template <typename Bytes>
MiB(Bytes&) -> MiB<Bytes>;

/// 1 for "\\.\DISPLAY1", or any text.
struct Display {
  std::string name;
};

/// 3 for the display class's device 0003, or any text.
struct DriverKey {
  std::string text;
};

/// Words for the flags of an output.
struct OutputState {
  std::uint32_t& flags;
};

/// A word that stands for its index in the list, or a number.
struct Choice {
  std::optional<std::uint32_t>& number;
  std::vector<std::string> words;
};

/// Windows' own facts, which the machine keeps in several places.
struct Windows {
  Machine& machine;
};

struct Monitor {
  std::string name;
  std::string key;
};

struct Output {
  Display display;
  std::string key;
  std::uint32_t flags = 0;
  std::optional<DisplayMode> mode;
  std::vector<Monitor> monitors;
};

struct DisplayAdapter {
  std::string name;
  std::string key;
  std::string hardware_id;
  std::string provider;
  DriverKey driver;
  std::vector<Output> outputs;
};

}  // namespace

// The readers of the types above and of the machine's; Members and lists find them here.

template <typename Bytes>
static void Read(const JsonPath& from, MiB<Bytes>& to) {
  // As many bytes as are told apart without rounding.
  constexpr double kMost = 1ULL << 53;
  const double bytes = from.json.is_number() ? from.json.get<double>() * (1 << 20) : -1;
  if (bytes < 0 || bytes > kMost) from.Fail("expected a number of MiB");
  to.bytes = static_cast<std::uint64_t>(std::llround(bytes));
}

static std::uint32_t Number(const JsonPath& from) {
  std::uint32_t number = 0;
  Read(from, number);
  return number;
}

static void Read(const JsonPath& from, Display& to) {
  if (!from.json.is_number()) return Read(from, to.name);
  to.name = fmt::format(R"(\\.\DISPLAY{})", Number(from));
}

static void Read(const JsonPath& from, DriverKey& to) {
  if (!from.json.is_number()) return Read(from, to.text);
  to.text = fmt::format("{}\\{:04}", kDisplayClassGUID, Number(from));
}

static std::uint32_t IndexOf(const JsonPath& from, const std::vector<std::string>& words) {
  const auto word = std::find(words.begin(), words.end(), from.json.is_string() ? from.json.get<std::string>() : "");
  if (word == words.end()) from.Fail(fmt::format("expected one of {}", fmt::join(words, ", ")));
  return static_cast<std::uint32_t>(word - words.begin());
}

static void Read(const JsonPath& from, Choice& to) {
  if (from.json.is_number()) return Read(from, to.number);
  to.number = IndexOf(from, to.words);
}

static void Read(const JsonPath& from, OutputState& to) {
  constexpr std::uint32_t kFlags[] = {kAttachedToDesktop, kPrimaryDevice, kMirroringDriver, kRemovable};
  if (!from.json.is_array()) from.Fail("expected a list");
  for (const Json& word : from.json) {
    to.flags |= kFlags[IndexOf({word, from.path}, {"attached", "primary", "mirroring", "removable"})];
  }
}

/// Whether the text is these numbers, one before each of the separators and one at the end.
static bool IsNumbers(std::string_view text, std::string_view separators,
                      std::initializer_list<std::uint32_t*> numbers) {
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::uint32_t* number : numbers) {
    const auto [rest, error] = std::from_chars(at, end, *number);
    if (error != std::errc()) return false;
    at = rest;
    if (separators.empty()) break;
    if (at == end || *at != separators.front()) return false;
    separators.remove_prefix(1);
    ++at;
  }
  return at == end;
}

/// "65:0.0", or without the function.
static void Read(const JsonPath& from, PCIAddress& to) {
  std::string text;
  Read(from, text);
  if (IsNumbers(text, ":.", {&to.bus, &to.device, &to.function})) return;
  to.function = 0;
  if (!IsNumbers(text, ":", {&to.bus, &to.device})) from.Fail("expected a PCI address such as \"65:0.0\"");
}

/// Sixteen bytes as hexadecimal digits, with or without hyphens.
static void Read(const JsonPath& from, UUID& to) {
  std::string digits;
  Read(from, digits);
  std::erase(digits, '-');
  if (digits.size() != 2 * to.size()) from.Fail("expected a UUID");
  for (std::size_t i = 0; i < to.size(); ++i) {
    const char* const byte = digits.data() + 2 * i;
    const auto [end, error] = std::from_chars(byte, byte + 2, to[i], 16);
    if (error != std::errc() || end != byte + 2) from.Fail("expected a UUID");
  }
}

static void Read(const JsonPath& from, std::map<std::string, std::string>& to) {
  if (!from.json.is_object()) from.Fail("expected an object");
  for (const auto& [name, value] : from.json.items()) Read(JsonPath{value, from.path + "." + name}, to[name]);
}

/// "3840x2160@60"
static void Read(const JsonPath& from, DisplayMode& to) {
  std::string text;
  Read(from, text);
  if (!IsNumbers(text, "x@", {&to.width, &to.height, &to.refresh_rate})) {
    from.Fail("expected a mode such as \"3840x2160@60\"");
  }
}

// Windows

static void ReadMembers(Members& m, Windows& to) {
  const auto value = [&to](const char* key, const char* name) -> std::string& {
    return to.machine.registry[{key, name}];
  };
  constexpr const char* kVersion = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)";
  constexpr const char* kBoard = R"(HARDWARE\DESCRIPTION\System\BIOS)";
  constexpr const char* kProcessor = R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)";
  PhysicalMemory memory = {};
  m("product", value(kVersion, "ProductName"));
  m("build", value(kVersion, "CurrentBuildNumber"));
  m("machine_guid", value(R"(SOFTWARE\Microsoft\Cryptography)", "MachineGuid"));
  m("board_maker", value(kBoard, "BaseBoardManufacturer"));
  m("board", value(kBoard, "BaseBoardProduct"));
  m("processor", value(kProcessor, "ProcessorNameString"));
  m("threads", to.machine.processors);
  m("memory_mib", MiB{memory.total});
  m("free_memory_mib", MiB{memory.available});
  m("remote_session", to.machine.is_remote_session);
  if (memory.total != 0) to.machine.memory = memory;
}

static void ReadMembers(Members& m, Monitor& to) {
  m("name", to.name);
  m("key", to.key);
}

/// An object, or no more than the name.
static void Read(const JsonPath& from, Monitor& to) {
  return from.json.is_string() ? Read(from, to.name) : ReadObject(from, to);
}

static void ReadMembers(Members& m, Output& to) {
  m("display", to.display);
  m("key", to.key);
  m("state", OutputState{to.flags});
  m("mode", to.mode);
  m("monitors", to.monitors);
}

static void ReadMembers(Members& m, DisplayAdapter& to) {
  m("name", to.name);
  m("key", to.key);
  m("hardware_id", to.hardware_id);
  m("provider", to.provider);
  m("driver", to.driver);
  m("outputs", to.outputs);
}

static DisplayDevice MakeMonitor(const Monitor& from, const std::string& output, std::size_t number) {
  const std::string key =
      fmt::format(R"(\Registry\Machine\System\CurrentControlSet\Control\Class\{}\{:04})", kMonitorClassGUID, number);
  return {fmt::format("{}\\Monitor{}", output, number), from.name, 0x3, "", from.key.empty() ? key : from.key};
}

/// An adapter becomes one entry per output, and the registry values to which these point.
static void Add(const DisplayAdapter& adapter, Machine& to) {
  const std::string path = R"(System\CurrentControlSet\Control\Video\)" + adapter.key;
  if (!adapter.driver.text.empty()) to.registry[{path + "\\Video", "Driver"}] = adapter.driver.text;
  for (std::size_t i = 0; i < adapter.outputs.size(); ++i) {
    const Output& from = adapter.outputs[i];
    const std::string instance = fmt::format("{}\\{:04}", path, i);
    if (!adapter.provider.empty()) to.registry[{instance, "ProviderName"}] = adapter.provider;
    const std::string key = from.key.empty() ? R"(\Registry\Machine\)" + instance : from.key;
    DesktopOutput& output = to.desktop.emplace_back();
    output.device = {from.display.name, adapter.name, from.flags, adapter.hardware_id, key};
    output.mode = from.mode;
    for (const Monitor& monitor : from.monitors) {
      output.monitors.push_back(MakeMonitor(monitor, from.display.name, output.monitors.size()));
    }
  }
}

static void ReadMembers(Members& m, ClassDevice& to) {
  DriverKey driver;
  m("driver", driver);
  m("luid", to.luid);
  m("pci", to.pci);
  m("instance", to.instance);
  m("name", to.name);
  m("physical_index", to.physical_index);
  m("driver_version", to.driver_version);
  m("driver_date", to.driver_date);
  if (!driver.text.empty()) to.driver_key = driver.text;
}

static void ReadMembers(Members& m, GraphicsAdapter& to) {
  DXGIAdapterDescription& description = to.description;
  std::vector<Display> outputs;
  m("name", description.name);
  m("vendor_id", description.vendor_id);
  m("device_id", description.device_id);
  m("subsystem_id", description.subsys_id);
  m("revision", description.revision);
  m("memory_mib", MiB{description.dedicated_video_memory});
  m("shared_memory_mib", MiB{description.shared_system_memory});
  m("luid", description.luid);
  m("software", description.is_software);
  m("performance_rank", to.performance_rank);
  m("outputs", outputs);
  for (const Display& output : outputs) to.outputs.push_back(output.name);
}

// Vendor libraries

static void ReadMembers(Members& m, OpenCLDevice& to) {
  m("name", to.name);
  m("vendor", to.vendor);
  m("driver_version", to.driver_version);
  m("extensions", to.extensions);
  m("gpu", to.is_gpu);
  m("memory_mib", MiB{to.memory_bytes});
  m("unified_memory", to.unified_memory);
  m("pci", to.pci);
  m("topology_type", to.topology_type);
  m("board_name", to.board_name);
  m("free_memory_kib", to.free_memory_kib);
  m("peers", to.peers);
  m("claimed_peers", to.peer_count);
  m("dxgi_luid", to.luid);
  m("luid", to.own_luid);
  m("node_mask", to.node_mask);
  m("uuid", to.uuid);
  m("vendor_id", to.vendor_id);
  m("claimed_text_size", to.claimed_text_size);
}

static void ReadMembers(Members& m, OpenCLPlatform& to) {
  m("name", to.name);
  m("version", to.version);
  m("extensions", to.extensions);
  m("device_vendor", to.device_vendor);
  m("claimed_count", to.claimed_count);
  m("devices", to.devices);
  m("claimed_text_size", to.claimed_text_size);
  m("shares_first_device", to.shares_first_device);
}

/// What all vendors' libraries have.
static void ReadLibrary(Members& m, const SimulatedLibrary& library, Library& to) {
  m("missing", to.missing);
  m("claimed_count", to.claimed_count);
  m("file_version", to.file_version);
  for (const std::string& entry_point : to.missing) {
    if (Offers(library, entry_point)) continue;
    m.From().Fail(fmt::format("unknown entry point \"{}\" of {}", entry_point, library.file_name));
  }
}

static void ReadMembers(Members& m, OpenCL& to) {
  ReadLibrary(m, SimulatedOpenCL(), to);
  m("platforms", to.platforms);
}

static void ReadMembers(Members& m, CUDADevice& to) {
  m("name", to.name);
  m("memory_mib", MiB{to.memory_bytes});
  m("compute_major", to.compute_major);
  m("compute_minor", to.compute_minor);
  m("pci", to.pci);
  m("peers", to.peers);
  m("uuid", to.uuid);
  m("luid", to.luid);
  m("node_mask", to.node_mask);
}

static void ReadMembers(Members& m, CUDA& to) {
  ReadLibrary(m, SimulatedCUDA(), to);
  m("driver_version", to.driver_version);
  m("devices", to.devices);
}

static void ReadMembers(Members& m, NvLink& to) {
  m("remote", to.remote);
  m("version", to.version);
}

static void ReadMembers(Members& m, NVMLDevice& to) {
  m("pci", to.pci);
  m("uuid", to.uuid);
  m("pcie_generation", to.generation);
  m("pcie_max_generation", to.max_generation);
  m("pcie_width", to.width);
  m("pcie_max_width", to.max_width);
  m("vbios", to.vbios);
  m("nvlinks", to.links);
  m("endless_nvlinks", to.has_endless_links);
}

static void ReadMembers(Members& m, NVML& to) {
  ReadLibrary(m, SimulatedNVML(), to);
  m("devices", to.devices);
}

static void ReadMembers(Members& m, NVAPIDeviceIDs& to) {
  m("device", to.device);
  m("subsystem", to.subsystem);
  m("revision", to.revision);
  m("external_device", to.external_device);
}

static void ReadMembers(Members& m, NVAPIGPU& to) {
  m("name", to.name);
  m("vbios", to.vbios);
  m("pci", to.pci);
  m("ids", to.ids);
  m("pcie_width", to.width);
  m("system", Choice{to.system_type, {"unknown", "laptop", "desktop"}});
  m("type", Choice{to.gpu_type, {"unknown", "integrated", "discrete"}});
  m("memory_kib", to.memory_kib);
  m("free_memory_kib", to.free_memory_kib);
  m("luid", to.luid);
}

static void ReadMembers(Members& m, NVAPIDisplay& to) {
  Display display;
  m("display", display);
  m("attached", to.attached);
  m("gpus", to.gpus);
  m("claimed_gpus", to.claimed_gpus);
  constexpr std::size_t kMostGPUs = 64;
  if (to.gpus.size() > kMostGPUs) m.From().Fail("expected 64 GPUs at most");
  to.name = display.name;
}

static void ReadMembers(Members& m, NVAPI& to) {
  ReadLibrary(m, SimulatedNVAPI(), to);
  m("driver_version", to.driver_version);
  m("gpus", to.gpus);
  m("displays", to.displays);
  m("endless_displays", to.has_endless_displays);
}

static void ReadMembers(Members& m, ADLAdapter& to) {
  Display display;
  m("index", to.index);
  m("name", to.name);
  m("display", display);
  m("vendor_id", to.vendor_id);
  m("pci", to.pci);
  m("pnp", to.pnp);
  m("asic_types", to.asic_types);
  to.display = display.name;
}

static void ReadMembers(Members& m, ADL& to) {
  ReadLibrary(m, SimulatedADL(), to);
  m("driver_version", to.driver_version);
  m("primary_adapter", to.primary_adapter);
  m("adapters", to.adapters);
}

static void ReadMembers(Members& m, VulkanDevice& to) {
  m("name", to.name);
  m("vendor_id", to.vendor_id);
  m("type", Choice{to.type, {"other", "integrated", "discrete", "virtual", "cpu"}});
  m("api_version", to.api_version);
  m("uuid", to.uuid);
  m("luid", to.luid);
  m("node_mask", to.node_mask);
  m("pci", to.pci);
}

static void ReadMembers(Members& m, Vulkan& to) {
  ReadLibrary(m, SimulatedVulkan(), to);
  m("devices", to.devices);
}

static void ReadMembers(Members& m, HIPDevice& to) {
  m("name", to.name);
  m("pci", to.pci);
  m("uuid", to.uuid);
  m("luid", to.luid);
  m("node_mask", to.node_mask);
}

static void ReadMembers(Members& m, HIP& to) {
  ReadLibrary(m, SimulatedHIP7(), to);
  m("version", to.version);
  m("devices", to.devices);
}

static void ReadMembers(Members& m, LevelZeroDevice& to) {
  m("name", to.name);
  m("gpu", to.is_gpu);
  m("uuid", to.uuid);
  m("luid", to.luid);
  m("pci", to.pci);
}

static void ReadMembers(Members& m, LevelZeroDriver& to) { m("devices", to.devices); }

static void ReadMembers(Members& m, LevelZero& to) {
  ReadLibrary(m, SimulatedLevelZero(), to);
  m("drivers", to.drivers);
}

static void ReadMembers(Members& m, Interfaces::DisplayPath& to) {
  Display display;
  std::string edid;
  m("display", display);
  m("luid", to.luid);
  m("monitor", to.monitor_name);
  m("connector", to.connector);
  m("x", to.x);
  m("y", to.y);
  m("mode", to.mode);
  m("scaling", to.scaling);
  m("hdr_supported", to.hdr_supported);
  m("hdr_enabled", to.hdr_enabled);
  m("edid", edid);
  to.output = display.name;
  for (std::size_t i = 0; i + 1 < edid.size(); i += 2) {
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(&edid[i], &edid[i] + 2, byte, 16);
    if (error != std::errc()) m.From().Fail("expected hexadecimal digits in \"edid\"");
    to.edid.push_back(byte);
  }
}

static void ReadMembers(Members& m, Failure& to) {
  m("call", to.call);
  m("device", to.device);
  m("status", to.status);
  m("writes", to.writes);
}

/// An object, or no more than the call.
static void Read(const JsonPath& from, Failure& to) {
  from.json.is_string() ? Read(from, to.call) : ReadObject(from, to);
  const std::string name = to.call.substr(0, to.call.find(' '));
  if (!IsKnownCall(name)) from.Fail(fmt::format("unknown call \"{}\"", name));
}

static void ReadMembers(Members& m, Machine& to) {
  std::vector<DisplayAdapter> display_adapters;
  m("about", to.about);
  m("windows", Windows{to});
  m("display_adapters", display_adapters);
  m("display_class", to.display_class);
  m("dxgi", to.dxgi);
  m("opencl", to.opencl);
  m("cuda", to.cuda);
  m("nvml", to.nvml);
  m("nvapi", to.nvapi);
  m("adl", to.adl);
  m("vulkan", to.vulkan);
  m("hip", to.hip);
  m("level_zero", to.level_zero);
  m("display_paths", to.display_paths);
  m("environment", to.environment);
  m("failures", to.failures);
  for (const DisplayAdapter& adapter : display_adapters) Add(adapter, to);
}

Machine LoadMachine(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw MachineError(path + ": cannot be opened");
  Machine machine;
  try {
    Read(JsonPath{Json::parse(file), path}, machine);
  } catch (const MachineError&) {
    throw;
  } catch (const std::exception& error) {
    throw MachineError(path + ": " + error.what());
  }
  return machine;
}

}  // namespace Vexil::Simulation
