#include "tests/hostile/RandomMachine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

#include "simulation/SimulatedLibraries.h"

namespace Vexil::Tests {

using namespace Simulation;

namespace {

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;

bool StartsOrStops(const std::string& entry_point) {
  constexpr std::array<const char*, 4> kWords = {"Init", "Create", "Destroy", "Shutdown"};
  return std::any_of(kWords.begin(), kWords.end(),
                     [&](const char* word) { return entry_point.find(word) != std::string::npos; });
}

class Generator {
 public:
  explicit Generator(std::uint64_t seed) : m_random(seed) {}

  Machine Make() {
    Machine machine;
    machine.registry = Registry();
    machine.memory = Maybe(PhysicalMemory{Number(), Number()});
    machine.processors = Number32();
    machine.has_unsteady_counts = Chance(50);
    machine.desktop = Several(&Generator::MakeOutput);
    machine.display_class = Several(&Generator::MakeClassDevice);
    machine.dxgi = Maybe(Several(&Generator::MakeGraphicsAdapter));
    if (Chance(80))
      AddTo(machine, machine.opencl, SimulatedOpenCL()).platforms = Several(&Generator::MakeOpenCLPlatform);
    if (Chance(60)) AddTo(machine, machine.cuda, SimulatedCUDA()).devices = Several(&Generator::MakeCUDADevice);
    if (Chance(60)) AddTo(machine, machine.nvml, SimulatedNVML()).devices = Several(&Generator::MakeNVMLDevice);
    if (Chance(60)) {
      NVAPI& nvapi = AddTo(machine, machine.nvapi, SimulatedNVAPI());
      nvapi.driver_version = Number32();
      nvapi.gpus = Several(&Generator::MakeNVAPIGPU);
      nvapi.displays = Several(&Generator::MakeNVAPIDisplay);
      nvapi.has_endless_displays = Chance(5);
      for (const char* call : {"NvAPI_EnumPhysicalGPUs", "NvAPI_GetPhysicalGPUsFromDisplay", "NvAPI_GPU_GetFullName"}) {
        MaybeFail(machine, call);
      }
    }
    if (Chance(60)) {
      ADL& adl = AddTo(machine, machine.adl, SimulatedADL());
      adl.driver_version = Version();
      adl.primary_adapter = Maybe(static_cast<std::int32_t>(Below(4)));
      adl.adapters = Several(&Generator::MakeADLAdapter);
    }
    if (Chance(60)) AddTo(machine, machine.vulkan, SimulatedVulkan()).devices = Several(&Generator::MakeVulkanDevice);
    if (Chance(60)) AddTo(machine, machine.hip, SimulatedHIP7()).devices = Several(&Generator::MakeHIPDevice);
    if (Chance(60)) {
      AddTo(machine, machine.level_zero, SimulatedLevelZero()).drivers = Several(&Generator::MakeLevelZeroDriver);
    }
    return machine;
  }

 private:
  std::size_t Below(std::size_t end) { return static_cast<std::size_t>(m_random() % end); }
  bool Chance(unsigned percent) { return Below(100) < percent; }

  template <typename Value, std::size_t Size>
  const Value& OneOf(const std::array<Value, Size>& values) {
    return values.at(Below(Size));
  }

  template <typename Value>
  std::optional<Value> Maybe(Value value) {
    return Chance(85) ? std::optional(std::move(value)) : std::nullopt;
  }

  template <typename Element>
  std::vector<Element> Several(Element (Generator::*make)()) {
    std::vector<Element> elements(Chance(2) ? 64 : Below(5));
    for (Element& element : elements) element = (this->*make)();
    return elements;
  }

  std::uint64_t Number() {
    constexpr std::array<std::uint64_t, 8> kNumbers = {0, 1, 256, 0x7FFFFFFF, 0x80000000, kAllBits, ~0ULL, 8ULL << 30};
    return Chance(80) ? OneOf(kNumbers) : m_random();
  }
  std::uint32_t Number32() { return static_cast<std::uint32_t>(Number()); }

  std::optional<std::int64_t> ClaimedCount() {
    constexpr std::array<std::int64_t, 6> kCounts = {-1, 0, 1, 65, 1000000, 0x7FFFFFFF};
    return Chance(15) ? std::optional(OneOf(kCounts)) : std::nullopt;
  }

  /// Up to more than any buffer holds, with every byte there is.
  std::string Garbage() {
    constexpr std::array<std::size_t, 10> kLengths = {1, 31, 32, 63, 64, 255, 256, 1024, 4096, 5000};
    std::string text(OneOf(kLengths), '\0');
    for (char& c : text) c = static_cast<char>(Below(256));
    return text;
  }

  std::string Text() {
    static const std::array<std::string, 12> kTexts = {
        "",           " \t ",
        "(TM)(R)",    "{}%s%n{0}",
        "NVIDIA",     "ATI",
        "Intel",      "Microsoft Basic Render Driver",
        "OpenCLOn12", "Citrix Indirect Display Adapter",
        "}{",         R"(\Registry\Machine\System\CurrentControlSet\{A}{B}\)"};
    return Chance(70) ? OneOf(kTexts) : Garbage();
  }

  /// Names a maker, of GPUs, of devices and of platforms.
  std::string Name() {
    static const std::array<std::string, 4> kNames = {"NVIDIA GeForce RTX 3090", "AMD Radeon RX 6800 XT",
                                                      "Intel(R) UHD Graphics 770", "Intel(R) Arc(TM) A770 Graphics"};
    return Chance(85) ? OneOf(kNames) : Text();
  }

  std::string Version() {
    static const std::array<std::string, 6> kVersions = {
        "OpenCL 3.0 CUDA 12.2.79", "31.0.101.4502", "OpenCL 1.2", "1.", "1.2.3.4.5", "-1.-1.-1.-1"};
    if (Chance(1)) return "OpenCL 99999999999.99999999999.1.1";
    return Chance(85) ? OneOf(kVersions) : Text();
  }

  std::string Extensions() {
    static const std::array<std::string, 4> kExtensions = {
        "cl_khr_icd cl_khr_d3d10_sharing", "cl_nv_device_attribute_query",
        "cl_amd_device_attribute_query cl_amd_copy_buffer_p2p",
        "cl_amd_device_attribute_query cl_nv_device_attribute_query"};
    return Chance(90) ? OneOf(kExtensions) : Text();
  }

  std::string Display() {
    static const std::array<std::string, 4> kDisplays = {R"(\\.\DISPLAY1)", R"(\\.\DISPLAY2)", R"(\\.\DISPLAY3)", ""};
    return Chance(90) ? OneOf(kDisplays) : Text();
  }

  PCIAddress Place() {
    constexpr std::array<PCIAddress, 6> kPlaces = {
        {{0, 2, 0}, {1, 0, 0}, {65, 0, 0}, {256, 0, 0}, {kAllBits, kAllBits, kAllBits}, {1, kAllBits, 0}}};
    return Chance(90) ? OneOf(kPlaces) : PCIAddress{Number32(), Number32(), Number32()};
  }

  std::size_t Index() { return Below(6); }

  // Windows

  static std::string AdapterKey(std::size_t adapter) {
    return fmt::format(R"(System\CurrentControlSet\Control\Video\{{{}}})", adapter);
  }
  std::string DriverKey() { return fmt::format("driver {}", Below(4)); }

  std::map<std::pair<std::string, std::string>, std::string> Registry() {
    std::map<std::pair<std::string, std::string>, std::string> registry;
    for (std::size_t adapter = 0; adapter < 4; ++adapter) {
      if (Chance(90)) registry[{AdapterKey(adapter) + R"(\Video)", "Driver"}] = DriverKey();
      if (Chance(90)) registry[{AdapterKey(adapter) + R"(\0000)", "ProviderName"}] = Name();
    }
    registry[{R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", "ProductName"}] = Text();
    registry[{R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", "CurrentBuildNumber"}] = Version();
    registry[{R"(HARDWARE\DESCRIPTION\System\BIOS)", "BaseBoardManufacturer"}] = Text();
    registry[{R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)", "ProcessorNameString"}] = Text();
    return registry;
  }

  DisplayDevice MakeMonitor() { return {Display(), Text(), Number32(), Text(), fmt::format("{{{}}}", Text())}; }

  DesktopOutput MakeOutput() {
    constexpr std::array<std::uint32_t, 5> kStates = {0, 0x1, 0x5, 0x9, 0x21};
    const std::string key = R"(\Registry\Machine\)" + AdapterKey(Below(4)) + R"(\0000)";
    const DisplayDevice device = {Display(), Name(), OneOf(kStates), Text(), Chance(85) ? key : Text()};
    return {device, Maybe(DisplayMode{Number32(), Number32(), Number32()}), Several(&Generator::MakeMonitor)};
  }

  ClassDevice MakeClassDevice() { return {Maybe(DriverKey()), Maybe<std::uint64_t>(Below(4)), Maybe(Place())}; }

  GraphicsAdapter MakeGraphicsAdapter() {
    return {{Name(), Number32(), Number32(), Number32(), Number32(), Number(), Number(), Below(4), Chance(5)},
            Several(&Generator::Display)};
  }

  // Vendors' libraries

  template <typename Section>
  Section& AddTo(Machine& machine, std::optional<Section>& section, const SimulatedLibrary& library) {
    section.emplace();
    section->claimed_count = ClaimedCount();
    for (const auto& [name, symbol] : library.exports) {
      if (Chance(2)) section->missing.insert(name);
      // Starting and stopping either succeeds or fails.
      if (!StartsOrStops(name)) MaybeFail(machine, name);
    }
    return *section;
  }

  VulkanDevice MakeVulkanDevice() {
    const std::uint32_t version = Chance(80) ? 0x00401000 : Number32();
    return {Name(), Number32(), Maybe(Number32()), version, {}, Maybe(Number()), Number32(), Maybe(Place())};
  }
  HIPDevice MakeHIPDevice() { return {Name(), Maybe(Place()), Maybe(Text()), Maybe(Number()), Number32()}; }
  LevelZeroDevice MakeLevelZeroDevice() { return {Name(), Chance(90), {}, Maybe(Number()), Maybe(Place())}; }
  LevelZeroDriver MakeLevelZeroDriver() { return {Several(&Generator::MakeLevelZeroDevice)}; }

  /// With any status, after an answer or without one.
  void MaybeFail(Machine& machine, const std::string& call) {
    constexpr std::array<std::int32_t, 4> kStatuses = {0, 1, -1, 999};
    if (Chance(4)) machine.failures.push_back({call, {}, OneOf(kStatuses), Chance(50)});
  }

  std::optional<std::uint64_t> ClaimedTextSize() {
    constexpr std::array<std::uint64_t, 5> kSizes = {0, 1, 1 << 20, (1 << 20) + 1, ~0ULL};
    return Chance(5) ? std::optional(OneOf(kSizes)) : std::nullopt;
  }

  OpenCLDevice MakeOpenCLDevice() {
    return {Name(),
            Name(),
            Version(),
            Extensions(),
            Chance(90),
            Maybe(Number()),
            Maybe(Chance(50)),
            Maybe(Place()),
            Chance(80) ? 1 : Number32(),
            Maybe(Text()),
            Maybe(Number()),
            Several(&Generator::Index),
            ClaimedCount(),
            Maybe<std::uint64_t>(Below(4)),
            ClaimedTextSize()};
  }

  OpenCLPlatform MakeOpenCLPlatform() {
    const std::optional<std::string> device_vendor = Chance(10) ? std::optional("Microsoft") : std::nullopt;
    return {Name(),           Version(),      Extensions(),
            device_vendor,    ClaimedCount(), Several(&Generator::MakeOpenCLDevice),
            ClaimedTextSize()};
  }

  CUDADevice MakeCUDADevice() {
    const auto number = [this] { return Maybe(static_cast<std::int32_t>(Number())); };
    return {Name(), Maybe(Number()), number(), number(), Maybe(Place()), Several(&Generator::Index)};
  }

  NvLink MakeNvLink() { return {Place(), Maybe(Number32())}; }

  NVMLDevice MakeNVMLDevice() {
    return {Maybe(Place()),
            Maybe(Number32()),
            Maybe(Number32()),
            Maybe(Number32()),
            Maybe(Number32()),
            Maybe(Text()),
            Several(&Generator::MakeNvLink),
            Chance(3)};
  }

  NVAPIGPU MakeNVAPIGPU() {
    const NVAPIDeviceIDs ids = {Number32(), Number32(), Number32(), Number32()};
    const auto one_or_two = static_cast<std::uint32_t>(Below(4));
    return {Name(),
            Text(),
            Maybe(Place()),
            Maybe(ids),
            Maybe(Number32()),
            Maybe(one_or_two),
            Maybe(one_or_two),
            Maybe(Number32()),
            Number32()};
  }

  NVAPIDisplay MakeNVAPIDisplay() { return {Display(), Chance(70), Several(&Generator::Index), ClaimedCount()}; }

  ADLAdapter MakeADLAdapter() {
    constexpr std::array<std::int32_t, 6> kVendors = {0x1002, 0x1022, 1002, 1022, 0x8086, -1};
    const std::string pnp = R"(PCI\VEN_1002&DEV_73BF&SUBSYS_0E3A1002&REV_C1)";
    return {static_cast<std::int32_t>(Below(4)),
            Name(),
            Display(),
            OneOf(kVendors),
            Place(),
            Chance(80) ? pnp + Text() : Text(),
            Maybe(static_cast<std::int32_t>(Number()))};
  }

  std::mt19937_64 m_random;
};

}  // namespace

Machine MakeRandomMachine(std::uint64_t seed) { return Generator(seed).Make(); }

CallWatcher MakeRandomFailures(std::uint64_t seed) {
  constexpr std::array<std::uint64_t, 5> kOfTenThousand = {0, 10, 100, 500, 3000};
  const std::uint64_t rate = kOfTenThousand.at(seed % kOfTenThousand.size());
  return [=](std::uint64_t number, std::string_view, std::string_view) {
    std::uint64_t mixed = (seed << 32 ^ number) * 0x9E3779B97F4A7C15;
    mixed = (mixed ^ mixed >> 29) * 0xBF58476D1CE4E5B9;
    return (mixed ^ mixed >> 32) % 10000 < rate;
  };
}

}  // namespace Vexil::Tests
