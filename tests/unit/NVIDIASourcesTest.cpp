#include <fmt/format.h>
#include <fmt/ranges.h>

#include <chrono>
#include <thread>

#include "Vexil/DetectCommon/CUDADetector.h"
#include "Vexil/NVIDIA/NVML.h"
#include "Vexil/NVIDIA/NvAPI.h"
#include "Vexil/NVIDIA/NvAPIDetector.h"
#include "Vexil/NVIDIA/NvAPIDriverVersion.h"
#include "tests/unit/SourceTest.h"

namespace Vexil::Tests {
namespace {

using Simulation::Machine;
using Simulation::Observed;
using Simulation::SetMachine;

class NVIDIASources : public SourceTest {};

TEST_F(NVIDIASources, CUDAVersionIsKeptOnceItIsKnown) {
  const auto read = [](const Change& change) {
    Machine machine = LoadTestMachine("five-gpus");
    machine.cuda->driver_version = 12345;
    change(machine);
    SetMachine(machine);
    std::int32_t major = 0;
    std::int32_t minor = 0;
    Account account;
    const bool known = GetCUDADriverVersion(major, minor, account);
    return fmt::format("{} {}.{}", known, major, minor);
  };
  // Where another test has already made this process know it, only what follows can be seen.
  if (read(NotInstalled(&Machine::cuda)) == "false -1.-1") {
    EXPECT_EQ(read(Failing("cuDriverGetVersion")), "false -1.-1");
    EXPECT_EQ(read([](Machine& machine) { machine.cuda->driver_version = 0; }), "false -1.-1");
    EXPECT_EQ(read(Nothing()), "true 12.4");
  }
  const std::string known = read(Nothing());
  EXPECT_EQ(read(NotInstalled(&Machine::cuda)), known);
  EXPECT_EQ(Observed().calls, 0U);
}

std::string DescribeCUDA(const FlatBuffers::CUDAGPUT& gpu) {
  return fmt::format("{} \"{}\" {} MiB, {}.{} at {}:{}, peers [{}]", gpu.index, gpu.name, gpu.memory_mib,
                     gpu.compute_major, gpu.compute_minor, gpu.pci_bus, gpu.pci_device, fmt::join(gpu.peers, " "));
}

TEST_F(NVIDIASources, CUDA) {
  const std::string first = "0 \"NVIDIA GeForce RTX 3090\" 24575 MiB, 8.6 at 1:0, peers [1]";
  const std::string second = "1 \"NVIDIA GeForce RTX 3090\" 24575 MiB, 8.6 at 65:0, peers [0]";
  const auto first_with = [&](const std::string& part, const std::string& replacement) {
    return Texts{ReplaceAllNoCase(first, part, replacement), second};
  };
  Check<FlatBuffers::CUDAGPUT>(
      {
          {"sound", Nothing(), {first, second}},
          {"not installed", NotInstalled(&Machine::cuda), {}},
          {"the first missing entry point is named",
           [](Machine& machine) {
             machine.cuda->missing = {"cuDriverGetVersion", "cuDeviceTotalMem_v2"};
           },
           {},
           {"ERROR CUDA: Failed to load cuDeviceTotalMem_v2"}},
          {"start", FailingAtOnce("cuInit"), {}},
          {"count", Failing("cuDeviceGetCount"), {}, {"ERROR cuDeviceGetCount failed with CUDA_ERROR_UNKNOWN"}},
          {"count, and the error's name",
           [](Machine& machine) {
             machine.failures = {{"cuDeviceGetCount", {}}, {"cuGetErrorName", {}}};
           },
           {},
           {"ERROR cuDeviceGetCount failed with "}},
          {"negative count", [](Machine& machine) { machine.cuda->claimed_count = -2; }, {}},
          {"device",
           Failing("cuDeviceGet", 0),
           {ReplaceAllNoCase(second, "[0]", "[]")},
           {"ERROR Failed to find CUDA Driver API device ID for 0"}},
          {"name", Failing("cuDeviceGetName", 0), first_with("NVIDIA GeForce RTX 3090", "")},
          {"memory", Failing("cuDeviceTotalMem_v2", 0), first_with("24575", "-1")},
          {"major", Failing("cuDeviceGetAttribute 75", 0), first_with("8.6", "-1.6")},
          {"minor", Failing("cuDeviceGetAttribute 76", 0), first_with("8.6", "8.-1")},
          {"bus",
           FailingAtOnce("cuDeviceGetAttribute 33", 0),
           first_with("1:0", "-1:0"),
           {"ERROR Failed to query PCI Bus ID to the CUDA Driver API."}},
          {"a failing call's bus counts",
           Failing("cuDeviceGetAttribute 33", 0),
           {first, second},
           {"ERROR Failed to query PCI Bus ID to the CUDA Driver API."}},
          {"place on the bus",
           FailingAtOnce("cuDeviceGetAttribute 34", 0),
           first_with("1:0", "1:-1"),
           {"ERROR Failed to query PCI Bus Device ID to the CUDA Driver API."}},
          {"a failing call's place counts",
           Failing("cuDeviceGetAttribute 34", 0),
           {first, second},
           {"ERROR Failed to query PCI Bus Device ID to the CUDA Driver API."}},
          {"peers", Failing("cuDeviceCanAccessPeer", 0), first_with("[1]", "[]")},
          {"name without end", [](Machine& machine) { machine.cuda->devices[0].name = std::string(2000, 'x'); },
           first_with("NVIDIA GeForce RTX 3090", std::string(1024, 'x'))},
      },
      GetCUDAGPUs, DescribeCUDA);
}

std::string DescribeNVML(const FlatBuffers::NVMLGPUT& gpu) {
  return fmt::format("{}:{} generation {} of {}, x{} of x{}, \"{}\", links to {} {} of versions {}", gpu.pci_bus,
                     gpu.pci_device, gpu.pcie_generation, gpu.pcie_max_generation, gpu.pcie_link_width,
                     gpu.pcie_max_link_width, gpu.vbios_version, fmt::join(gpu.nvlink_remote_pci_buses, ","),
                     fmt::join(gpu.nvlink_remote_pci_devices, ","), fmt::join(gpu.nvlink_versions, ","));
}

TEST_F(NVIDIASources, NVML) {
  const std::string first =
      "1:0 generation 1 of 4, x16 of x16, \"94.02.42.40.2B\", links to 65,65,65,65 0,0,0,0 of versions 3,3,3,3";
  const std::string second =
      "65:0 generation 4 of 4, x8 of x16, \"94.02.42.40.2B\", links to 1,1,1,1 0,0,0,0 of versions 3,3,3,3";
  const auto first_with = [&](const std::string& part, const std::string& replacement) {
    return Texts{ReplaceAllNoCase(first, part, replacement), second};
  };
  const auto error = [](const std::string& step) {
    return std::vector{"ERROR NVML Error Unknown Error (999): " + step};
  };
  Check<FlatBuffers::NVMLGPUT>(
      {
          {"sound", Nothing(), {first, second}},
          {"not installed", NotInstalled(&Machine::nvml), {}, {"DEBUG NVML lib not found"}},
          {"required entry point",
           Missing(&Machine::nvml, "nvmlDeviceGetPciInfo_v3"),
           {},
           {"ERROR NVML: Failed to load nvmlDeviceGetPciInfo_v3"}},
          {"start", FailingAtOnce("nvmlInit_v2"), {}},
          {"count", Failing("nvmlDeviceGetCount_v2"), {}, error("Enumerating devices")},
          {"count, and the error's text",
           [](Machine& machine) {
             machine.failures = {{"nvmlDeviceGetCount_v2", {}}, {"nvmlErrorString", {}}};
           },
           {},
           {"ERROR NVML Error  (999): Enumerating devices"}},
          {"negative count", [](Machine& machine) { machine.nvml->claimed_count = -1; }, {}},
          {"handle", Failing("nvmlDeviceGetHandleByIndex_v2", 0), {second}, error("Obtaining device handle")},
          {"place", Failing("nvmlDeviceGetPciInfo_v3", 0), {second}, error("Querying device PCI information")},
          {"generation", Failing("nvmlDeviceGetCurrPcieLinkGeneration", 0), first_with("generation 1", "generation -1"),
           error("Querying device current PCI generation")},
          {"most generation", Failing("nvmlDeviceGetMaxPcieLinkGeneration", 0), first_with("of 4", "of -1"),
           error("Querying device max PCI generation")},
          {"width", Failing("nvmlDeviceGetCurrPcieLinkWidth", 0), first_with(", x16", ", x-1"),
           error("Querying device current PCI link width")},
          {"most width", Failing("nvmlDeviceGetMaxPcieLinkWidth", 0), first_with("of x16", "of x-1"),
           error("Querying device max PCI link width")},
          {"VBIOS", Failing("nvmlDeviceGetVbiosVersion", 0), first_with("94.02.42.40.2B", ""),
           error("Query device VBIOS version")},
          {"VBIOS without end", [](Machine& machine) { machine.nvml->devices[0].vbios = std::string(40, '9'); },
           first_with("94.02.42.40.2B", std::string(32, '9'))},
          {"one link's version", Failing("nvmlDeviceGetNvLinkVersion 2", 0), first_with("3,3,3,3", "3,3,3")},
          {"NvLinks without end", [](Machine& machine) { machine.nvml->devices[0].has_endless_links = true; },
           Texts{fmt::format("1:0 generation 1 of 4, x16 of x16, \"94.02.42.40.2B\", links to {} {} of versions {}",
                             fmt::join(std::vector(1024, 65), ","), fmt::join(std::vector(1024, 0), ","),
                             fmt::join(std::vector(1024, 3), ",")),
                 second}},
          {"no NvLink", [](Machine& machine) { machine.nvml->devices[0].links.clear(); },
           first_with("65,65,65,65 0,0,0,0 of versions 3,3,3,3", "  of versions ")},
          {"an old driver",
           [](Machine& machine) {
             machine.nvml->missing = {"nvmlDeviceGetCurrPcieLinkGeneration", "nvmlDeviceGetMaxPcieLinkGeneration",
                                      "nvmlDeviceGetCurrPcieLinkWidth",      "nvmlDeviceGetMaxPcieLinkWidth",
                                      "nvmlDeviceGetNvLinkRemotePciInfo_v2", "nvmlDeviceGetVbiosVersion"};
             machine.nvml->devices.resize(1);
           },
           {"1:0 generation -1 of -1, x-1 of x-1, \"\", links to   of versions "}},
      },
      GetNVMLGPUs, DescribeNVML);
}

TEST_F(NVIDIASources, NVMLThatDidNotStartIsShutDownAllTheSame) {
  const std::pair<Change, int> kCases[] = {{FailingAtOnce("nvmlInit_v2"), 1},
                                           {Missing(&Machine::nvml, "nvmlDeviceGetPciInfo_v3"), 1},
                                           {Missing(&Machine::nvml, "nvmlInit_v2"), 0}};
  for (const auto& [change, shutdowns] : kCases) {
    Machine machine = LoadTestMachine("five-gpus");
    change(machine);
    SetMachine(machine);
    int seen = 0;
    Simulation::WatchCalls([&](auto, std::string_view call, auto) {
      if (call == "nvmlShutdown") ++seen;
      return false;
    });
    GetNVMLGPUs();
    EXPECT_EQ(seen, shutdowns);
  }
}

TEST_F(NVIDIASources, NVMLWithoutErrorTextsGivesTheNumber) {
  EXPECT_FALSE(NVML().Success(3, "Enumerating devices"));
  EXPECT_EQ(TakeLog(), Texts{"ERROR NVML Error 3: Enumerating devices"});
}

std::string DescribeNVAPI(const FlatBuffers::NvAPIGPUT& gpu) {
  return fmt::format("\"{}\" \"{}\" at {}:{}, {:x}/{:x}/{:x}, x{}, {}{}, displays [{}]", gpu.name, gpu.vbios_version,
                     gpu.pci_bus, gpu.pci_device, gpu.external_device_id, gpu.subsystem_id, gpu.revision_id,
                     gpu.pcie_link_width, EnumNameGPUType(gpu.type), gpu.is_laptop ? ", laptop" : "",
                     fmt::join(gpu.display_names, " "));
}

TEST_F(NVIDIASources, NVAPI) {
  const std::string first = R"("NVIDIA GeForce RTX 3090" "94.02.42.40.2b" at 1:0, 2204/38811462/a1, x16, Discrete, )"
                            R"(displays [\\.\DISPLAY1 \\.\DISPLAY2 \\.\DISPLAY3])";
  const std::string second = R"("NVIDIA GeForce RTX 3090" "94.02.42.40.2b" at 65:0, 2204/38811462/a1, x8, Discrete, )"
                             R"(displays [\\.\DISPLAY4 \\.\DISPLAY5])";
  const auto first_with = [&](const std::string& part, const std::string& replacement) {
    return Texts{ReplaceAllNoCase(first, part, replacement), second};
  };
  const auto first_gpu = [](const std::function<void(Simulation::NVAPIGPU&)>& change) {
    return [=](Machine& machine) { change(machine.nvapi->gpus[0]); };
  };
  const Texts without_display_2 = first_with(R"( \\.\DISPLAY2)", "");
  const Texts without_display_3 = first_with(R"( \\.\DISPLAY3)", "");
  Check<FlatBuffers::NvAPIGPUT>(
      {
          {"sound", Nothing(), {first, second}},
          {"not installed", NotInstalled(&Machine::nvapi), {}},
          {"no door", Missing(&Machine::nvapi, "nvapi_QueryInterface"), {}},
          {"start", FailingAtOnce("NvAPI_Initialize"), {}},
          {"GPUs", Failing("NvAPI_EnumPhysicalGPUs"), {}},
          {"more GPUs than handles", [](Machine& machine) { machine.nvapi->claimed_count = 1000; }, {first, second}},
          {"more GPUs on a display than handles",
           [](Machine& machine) { machine.nvapi->displays[0].claimed_gpus = 1000; },
           {first, second}},
          {"displays without end",
           [](Machine& machine) { machine.nvapi->has_endless_displays = true; },
           {first, second}},
          {"name", Failing("NvAPI_GPU_GetFullName", 0), first_with("NVIDIA GeForce RTX 3090", "")},
          {"name without end", first_gpu([](auto& gpu) { gpu.name = std::string(100, 'x'); }),
           first_with("NVIDIA GeForce RTX 3090", std::string(64, 'x'))},
          {"VBIOS", Failing("NvAPI_GPU_GetVbiosVersionString", 0), first_with("94.02.42.40.2b", "")},
          {"bus", Failing("NvAPI_GPU_GetBusId", 0), first_with("1:0", "-1:0")},
          {"slot", Failing("NvAPI_GPU_GetBusSlotId", 0), first_with("1:0", "1:-1")},
          {"PCI identifiers", Failing("NvAPI_GPU_GetPCIIdentifiers", 0), first_with("2204/38811462/a1", "-1/-1/-1")},
          {"width", Failing("NvAPI_GPU_GetCurrentPCIEDownstreamWidth", 0), first_with("x16", "x-1")},
          {"system type", Failing("NvAPI_GPU_GetSystemType", 0), {first, second}},
          {"laptop", first_gpu([](auto& gpu) { gpu.system_type = 1; }), first_with("Discrete", "Discrete, laptop")},
          {"GPU type", Failing("NvAPI_GPU_GetGPUType", 0), first_with("Discrete", "Unknown")},
          {"integrated", first_gpu([](auto& gpu) { gpu.gpu_type = 1; }), first_with("Discrete", "Integrated")},
          {"a type of the future", first_gpu([](auto& gpu) { gpu.gpu_type = 3; }), first_with("Discrete", "Unknown")},
          {"a function that old drivers lack",
           [](Machine& machine) {
             machine.nvapi->missing = {"NvAPI_GPU_GetGPUType"};
             machine.nvapi->gpus[1].gpu_type = 0;
           },
           {ReplaceAllNoCase(first, "Discrete", "Unknown"), ReplaceAllNoCase(second, "Discrete", "Unknown")}},
          {"an attached display's name", Failing("NvAPI_GetAssociatedNvidiaDisplayName", 1), without_display_2},
          {"an attached display's GPUs", Failing("NvAPI_GetPhysicalGPUsFromDisplay", 1), without_display_2},
          {"end of the attached displays", Failing("NvAPI_EnumNvidiaDisplayHandle", 1), without_display_2},
          {"an unattached display's name", Failing("NvAPI_GetUnAttachedAssociatedDisplayName", 2), without_display_3},
          {"an unattached display's GPU", Failing("NvAPI_GetPhysicalGPUFromUnAttachedDisplay", 2), without_display_3},
          {"attached displays first, each once, also on two GPUs",
           [](Machine& machine) {
             machine.nvapi->displays = {{"B", false, {0}}, {"A", true, {0, 1}}, {"C", true, {0}}, {"A", true, {0}}};
           },
           {ReplaceAllNoCase(first, R"(\\.\DISPLAY1 \\.\DISPLAY2 \\.\DISPLAY3)", "A C B"),
            ReplaceAllNoCase(second, R"(\\.\DISPLAY4 \\.\DISPLAY5)", "A")}},
      },
      GetNvAPIGPUs, DescribeNVAPI);
}

TEST_F(NVIDIASources, LiveMemoryBringsNVAPIUpAndKeepsItUp) {
  SetMachine(LoadTestMachine("five-gpus"));
  const auto gpus = GetNvAPIGPUs().records;
  ASSERT_EQ(Observed().up.at("nvapi64.dll"), 0);
  std::uint64_t available = 1;
  std::uint64_t total = 1;
  EXPECT_FALSE(GetNvAPIMemoryInfo({}, available, total));
  EXPECT_EQ(available + total, 0U);
  for (int time = 0; time < 2; ++time) {
    EXPECT_TRUE(GetNvAPIMemoryInfo(gpus[1], available, total));
    EXPECT_EQ(available, 24903680'000U);
    EXPECT_EQ(total, 25165824'000U);
    EXPECT_EQ(Observed().up.at("nvapi64.dll"), 1);
  }
  SetMachine([] {
    Machine machine = LoadTestMachine("five-gpus");
    machine.failures = {{"NvAPI_GPU_GetMemoryInfo", {}}};
    return machine;
  }());
  EXPECT_FALSE(GetNvAPIMemoryInfo(gpus[1], available, total));
  EXPECT_EQ(available + total, 0U);
}

TEST_F(NVIDIASources, NVAPIServesManyThreads) {
  using std::this_thread::sleep_for, std::chrono::milliseconds;
  const auto in_threads = [](const std::function<void()>& work) {
    SetMachine(LoadTestMachine("five-gpus"));
    // Time for another thread to come in between.
    Simulation::WatchCalls([](auto, std::string_view call, auto) {
      if (call != "NvAPI_GPU_GetMemoryInfo") sleep_for(milliseconds(1));
      return false;
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(Observed().misuses, Texts());
  };
  for (int time = 0; time < 10; ++time) {
    in_threads([] {
      Account account;
      EXPECT_EQ(NvAPI_Initialize(account), NVAPI_OK);
      NvPhysicalGpuHandle gpus[NVAPI_MAX_PHYSICAL_GPUS] = {};
      NvU32 count = 0;
      EXPECT_EQ(NvAPI_EnumPhysicalGPUs(gpus, &count), NVAPI_OK);
      EXPECT_EQ(count, 2U);
      EXPECT_EQ(NvAPI_Unload(), NVAPI_OK);
    });
    EXPECT_EQ(Observed().up.at("nvapi64.dll"), 0);
    EXPECT_EQ(Observed().open.at("nvapi64.dll"), 0);
    EXPECT_TRUE(Observed().pinned.contains("nvapi64.dll"));
    const auto gpus = GetNvAPIGPUs().records;
    in_threads([&] {
      std::uint64_t available = 0;
      std::uint64_t total = 0;
      EXPECT_TRUE(GetNvAPIMemoryInfo(gpus.at(0), available, total));
    });
    EXPECT_EQ(Observed().up.at("nvapi64.dll"), 1);
    EndProcess();
  }
}

TEST_F(NVIDIASources, DriverVersion) {
  const struct {
    Change change;
    std::string version;
    int left_up;
  } kCases[] = {
      {Nothing(), "true 537.41", 0},
      {NotInstalled(&Machine::nvapi), "false -1.-1", 0},
      {FailingAtOnce("NvAPI_Initialize"), "false -1.-1", 0},
      {Failing("NvAPI_SYS_GetDriverAndBranchVersion"), "false -1.-1", 1},
  };
  for (const auto& test_case : kCases) {
    Machine machine = LoadTestMachine("five-gpus");
    test_case.change(machine);
    SetMachine(machine);
    std::int32_t major = -1;
    std::int32_t minor = -1;
    Account account;
    const bool known = ReadNVIDIADriverVersion(major, minor, account);
    EXPECT_EQ(fmt::format("{} {}.{}", known, major, minor), test_case.version);
    EXPECT_EQ(Observed().up.at("nvapi64.dll"), test_case.left_up);
  }
}

}  // namespace
}  // namespace Vexil::Tests
