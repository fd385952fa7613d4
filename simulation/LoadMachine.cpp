#include "LoadMachine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "JsonReader.h"
#include "SimulatedLibraries.h"

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

/// A word that stands for its place in the list, or a number.
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

struct MachineReader : JsonReader<MachineReader> {
  using JsonReader::Read;

  template <typename Bytes>
  static void Read(const Place& from, MiB<Bytes>& to) {
    // As many bytes as are told apart without rounding.
    constexpr double kMost = 1ULL << 53;
    const double bytes = from.json.is_number() ? from.json.get<double>() * (1 << 20) : -1;
    if (bytes < 0 || bytes > kMost) from.Fail("expected a number of MiB");
    to.bytes = static_cast<std::uint64_t>(std::llround(bytes));
  }

  static std::uint32_t Number(const Place& from) {
    std::uint32_t number = 0;
    Read(from, number);
    return number;
  }

  static void Read(const Place& from, Display& to) {
    if (!from.json.is_number()) return Read(from, to.name);
    to.name = fmt::format(R"(\\.\DISPLAY{})", Number(from));
  }

  static void Read(const Place& from, DriverKey& to) {
    if (!from.json.is_number()) return Read(from, to.text);
    to.text = fmt::format("{}\\{:04}", kDisplayClassGUID, Number(from));
  }

  static std::uint32_t PlaceOf(const Place& from, const std::vector<std::string>& words) {
    const auto word = std::find(words.begin(), words.end(), from.json);
    if (word == words.end()) from.Fail(fmt::format("expected one of {}", fmt::join(words, ", ")));
    return static_cast<std::uint32_t>(word - words.begin());
  }

  static void Read(const Place& from, Choice& to) {
    if (from.json.is_number()) return Read(from, to.number);
    to.number = PlaceOf(from, to.words);
  }

  static void Read(const Place& from, OutputState& to) {
    constexpr std::uint32_t kFlags[] = {kAttachedToDesktop, kPrimaryDevice, kMirroringDriver, kRemovable};
    if (!from.json.is_array()) from.Fail("expected a list");
    for (const Json& word : from.json) {
      to.flags |= kFlags[PlaceOf({word, from.path}, {"attached", "primary", "mirroring", "removable"})];
    }
  }

  /// "65:0.0", or without the function.
  static void Read(const Place& from, PCIAddress& to) {
    std::string text;
    Read(from, text);
    char rest = 0;
    const int numbers = std::sscanf(text.c_str(), "%u:%u.%u%c", &to.bus, &to.device, &to.function, &rest);
    if (numbers != 2 && numbers != 3) from.Fail("expected a place such as \"65:0.0\"");
  }

  /// "3840x2160@60"
  static void Read(const Place& from, DisplayMode& to) {
    std::string text;
    Read(from, text);
    char rest = 0;
    if (std::sscanf(text.c_str(), "%ux%u@%u%c", &to.width, &to.height, &to.refresh_rate, &rest) != 3) {
      from.Fail("expected a mode such as \"3840x2160@60\"");
    }
  }

  // What Windows tells

  static void Read(const Place& from, Windows& to) {
    const auto value = [&to](const char* key, const char* name) -> std::string& {
      return to.machine.registry[{key, name}];
    };
    constexpr const char* kVersion = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)";
    constexpr const char* kBoard = R"(HARDWARE\DESCRIPTION\System\BIOS)";
    constexpr const char* kProcessor = R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)";
    PhysicalMemory memory = {};
    ReadMembers(from, "product", value(kVersion, "ProductName"), "build", value(kVersion, "CurrentBuildNumber"),
                "machine_guid", value(R"(SOFTWARE\Microsoft\Cryptography)", "MachineGuid"), "board_maker",
                value(kBoard, "BaseBoardManufacturer"), "board", value(kBoard, "BaseBoardProduct"), "processor",
                value(kProcessor, "ProcessorNameString"), "threads", to.machine.processors, "memory_mib",
                MiB{memory.total}, "free_memory_mib", MiB{memory.available});
    if (memory.total != 0) to.machine.memory = memory;
  }

  static void Read(const Place& from, Monitor& to) {
    if (from.json.is_string()) return Read(from, to.name);
    ReadMembers(from, "name", to.name, "key", to.key);
  }

  static void Read(const Place& from, Output& to) {
    ReadMembers(from, "display", to.display, "key", to.key, "state", OutputState{to.flags}, "mode", to.mode, "monitors",
                to.monitors);
  }

  static void Read(const Place& from, DisplayAdapter& to) {
    ReadMembers(from, "name", to.name, "key", to.key, "hardware_id", to.hardware_id, "provider", to.provider, "driver",
                to.driver, "outputs", to.outputs);
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

  static void Read(const Place& from, ClassDevice& to) {
    DriverKey driver;
    ReadMembers(from, "driver", driver, "luid", to.luid, "pci", to.pci);
    if (!driver.text.empty()) to.driver_key = driver.text;
  }

  static void Read(const Place& from, GraphicsAdapter& to) {
    DXGIAdapterDescription& description = to.description;
    std::vector<Display> outputs;
    ReadMembers(from, "name", description.name, "vendor_id", description.vendor_id, "device_id", description.device_id,
                "subsystem_id", description.subsys_id, "revision", description.revision, "memory_mib",
                MiB{description.dedicated_video_memory}, "shared_memory_mib", MiB{description.shared_system_memory},
                "luid", description.luid, "software", description.is_software, "outputs", outputs);
    for (const Display& output : outputs) to.outputs.push_back(output.name);
  }

  // Vendor libraries

  static void Read(const Place& from, OpenCLDevice& to) {
    ReadMembers(from, "name", to.name, "vendor", to.vendor, "driver_version", to.driver_version, "extensions",
                to.extensions, "gpu", to.is_gpu, "memory_mib", MiB{to.memory_bytes}, "unified_memory",
                to.unified_memory, "pci", to.pci, "topology_type", to.topology_type, "board_name", to.board_name,
                "free_memory_kib", to.free_memory_kib, "peers", to.peers, "claimed_peers", to.peer_count, "dxgi_luid",
                to.luid, "claimed_text_size", to.claimed_text_size);
  }

  static void Read(const Place& from, OpenCLPlatform& to) {
    ReadMembers(from, "name", to.name, "version", to.version, "extensions", to.extensions, "device_vendor",
                to.device_vendor, "claimed_count", to.claimed_count, "devices", to.devices, "claimed_text_size",
                to.claimed_text_size);
  }

  /// A vendor's library: what all of them have, and its own members.
  template <typename... KeysAndValues>
  static void ReadLibrary(const Place& from, const SimulatedLibrary& library, Library& to,
                          KeysAndValues&&... keys_and_values) {
    ReadMembers(from, "missing", to.missing, "claimed_count", to.claimed_count, keys_and_values...);
    for (const std::string& entry_point : to.missing) {
      if (!Offers(library, entry_point))
        from.Fail(fmt::format("\"{}\" is no entry point of {}", entry_point, library.file_name));
    }
  }

  static void Read(const Place& from, OpenCL& to) {
    ReadLibrary(from, SimulatedOpenCL(), to, "platforms", to.platforms);
  }

  static void Read(const Place& from, CUDADevice& to) {
    ReadMembers(from, "name", to.name, "memory_mib", MiB{to.memory_bytes}, "compute_major", to.compute_major,
                "compute_minor", to.compute_minor, "pci", to.pci, "peers", to.peers);
  }

  static void Read(const Place& from, CUDA& to) {
    ReadLibrary(from, SimulatedCUDA(), to, "driver_version", to.driver_version, "devices", to.devices);
  }

  static void Read(const Place& from, NvLink& to) { ReadMembers(from, "remote", to.remote, "version", to.version); }

  static void Read(const Place& from, NVMLDevice& to) {
    ReadMembers(from, "pci", to.pci, "pcie_generation", to.generation, "pcie_max_generation", to.max_generation,
                "pcie_width", to.width, "pcie_max_width", to.max_width, "vbios", to.vbios, "nvlinks", to.links,
                "endless_nvlinks", to.has_endless_links);
  }

  static void Read(const Place& from, NVML& to) { ReadLibrary(from, SimulatedNVML(), to, "devices", to.devices); }

  static void Read(const Place& from, NVAPIDeviceIDs& to) {
    ReadMembers(from, "device", to.device, "subsystem", to.subsystem, "revision", to.revision, "external_device",
                to.external_device);
  }

  static void Read(const Place& from, NVAPIGPU& to) {
    ReadMembers(from, "name", to.name, "vbios", to.vbios, "pci", to.pci, "ids", to.ids, "pcie_width", to.width,
                "system", Choice{to.system_type, {"unknown", "laptop", "desktop"}}, "type",
                Choice{to.gpu_type, {"unknown", "integrated", "discrete"}}, "memory_kib", to.memory_kib,
                "free_memory_kib", to.free_memory_kib);
  }

  static void Read(const Place& from, NVAPIDisplay& to) {
    Display display;
    ReadMembers(from, "display", display, "attached", to.attached, "gpus", to.gpus, "claimed_gpus", to.claimed_gpus);
    to.name = display.name;
  }

  static void Read(const Place& from, NVAPI& to) {
    ReadLibrary(from, SimulatedNVAPI(), to, "driver_version", to.driver_version, "gpus", to.gpus, "displays",
                to.displays, "endless_displays", to.has_endless_displays);
  }

  static void Read(const Place& from, ADLAdapter& to) {
    Display display;
    ReadMembers(from, "index", to.index, "name", to.name, "display", display, "vendor_id", to.vendor_id, "pci", to.pci,
                "pnp", to.pnp, "asic_types", to.asic_types);
    to.display = display.name;
  }

  static void Read(const Place& from, ADL& to) {
    ReadLibrary(from, SimulatedADL(), to, "driver_version", to.driver_version, "primary_adapter", to.primary_adapter,
                "adapters", to.adapters);
  }

  static void Read(const Place& from, Failure& to) {
    if (from.json.is_string()) {
      Read(from, to.call);
    } else {
      ReadMembers(from, "call", to.call, "device", to.device, "status", to.status, "writes", to.writes);
    }
    const std::string name = to.call.substr(0, to.call.find(' '));
    if (!IsKnownCall(name)) from.Fail(fmt::format("there is no call \"{}\"", name));
  }

  static void Read(const Place& from, Machine& to) {
    std::vector<DisplayAdapter> display_adapters;
    ReadMembers(from, "about", to.about, "windows", Windows{to}, "display_adapters", display_adapters, "display_class",
                to.display_class, "dxgi", to.dxgi, "opencl", to.opencl, "cuda", to.cuda, "nvml", to.nvml, "nvapi",
                to.nvapi, "adl", to.adl, "failures", to.failures);
    for (const DisplayAdapter& adapter : display_adapters) Add(adapter, to);
  }
};

}  // namespace

Machine LoadMachine(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw MachineError(path + ": cannot be opened");
  Machine machine;
  try {
    MachineReader::Read({Json::parse(file), path}, machine);
  } catch (const MachineError&) {
    throw;
  } catch (const std::exception& error) {
    throw MachineError(path + ": " + error.what());
  }
  return machine;
}

}  // namespace Vexil::Simulation
