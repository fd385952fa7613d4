#include "Vexil/DetectGPUWindows/Matching.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "Vexil/Common/Text.h"
#include "Vexil/DetectGPUWindows/MainDisplayChoice.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::DetectorsOutputT;
using FlatBuffers::GPUType;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using Texts = std::vector<std::string>;

/// Device 0 of a bus where no other is said, the unknown one of the unknown bus.
struct Place {
  Place(int on_bus) : Place(on_bus, on_bus < 0 ? -1 : 0) {}
  Place(int on_bus, int at_device) : bus(on_bus), device(at_device) {}

  int bus;
  int device;
};

/// What the sources found, record by record.
struct Found : DetectorsOutputT {
  Found& NVAPI(Place place, Texts displays = {}, GPUType type = GPUType::Discrete) {
    auto& gpu = Add(DetectorsOutputT::nvapi, place);
    gpu.name = "NVIDIA GeForce";
    gpu.type = type;
    gpu.display_names = displays;
    gpu.pcie_link_width = 8;
    gpu.external_device_id = 0x2204;
    gpu.subsystem_id = 0x38811462;
    gpu.revision_id = 0x1A1;
    return *this;
  }
  Found& CUDA(Place place, int index) {
    auto& gpu = Add(DetectorsOutputT::cuda, place);
    gpu.index = index;
    gpu.memory_mib = 24575;
    return *this;
  }
  Found& NVML(Place place, const std::vector<Place>& remotes = {}) {
    auto& gpu = Add(DetectorsOutputT::nvml, place);
    gpu.pcie_link_width = 4;
    gpu.pcie_max_link_width = 16;
    for (const Place& remote : remotes) {
      gpu.nvlink_remote_pci_buses.push_back(remote.bus);
      gpu.nvlink_remote_pci_devices.push_back(remote.device);
    }
    return *this;
  }
  Found& ADL(Place place, Texts displays = {}, bool is_primary = false, const std::string& hardware_id = "id") {
    auto& gpu = Add(DetectorsOutputT::amddl, place);
    gpu.name = "AMD Radeon";
    gpu.pci_function = 0;
    gpu.display_names = displays;
    gpu.is_primary = is_primary;
    gpu.hardware_id = hardware_id;
    return *this;
  }
  Found& DirectX(const std::string& name, Place place, Texts outputs = {}, std::uint64_t opencl_device = 0) {
    auto& gpu = Add(DetectorsOutputT::directx, place);
    gpu.name = name;
    gpu.is_first_adapter = DetectorsOutputT::directx.size() == 1;
    gpu.pci_function = place.bus < 0 ? -1 : 1;
    gpu.device_id = 0x4680;
    gpu.subsys_id = 0x06941043;
    gpu.revision = 0xC;
    gpu.output_names = outputs;
    gpu.opencl_platform_id = gpu.opencl_device_id = opencl_device;
    for (const std::string& output : outputs) {
      gpu.monitors.push_back(std::make_shared<MonitorT>());
      gpu.monitors.back()->name = "on " + output;
    }
    return *this;
  }
  Found& OpenCL(Place place, std::uint64_t device, bool unified = false) {
    auto& gpu = Add(DetectorsOutputT::opencl, place);
    gpu.platform_id = gpu.device_id = device;
    gpu.memory_mib = 16368;
    gpu.host_unified_memory = unified;
    gpu.peers = {device + 1};
    return *this;
  }
  Found& Win32(Place place, const std::string& name, bool is_primary = false) {
    auto& gpu = Add(DetectorsOutputT::win32, place);
    gpu.name = name;
    gpu.is_primary = is_primary;
    return *this;
  }

 private:
  template <typename Record>
  static Record& Add(std::vector<std::shared_ptr<Record>>& list, Place place) {
    list.push_back(std::make_shared<Record>());
    list.back()->pci_bus = place.bus;
    list.back()->pci_device = place.device;
    return *list.back();
  }
};

std::string Describe(const MatchedGPUT& entry) {
  const FlatBuffers::GPUT& gpu = *entry.gpu;
  std::string text =
      fmt::format("{} {} {} {}", EnumNameVendor(gpu.vendor), gpu.name, gpu.pci_location, EnumNameGPUType(gpu.type));
  if (entry.nvapi != nullptr) text += " nvapi";
  if (entry.amddl != nullptr) text += " adl";
  if (entry.cuda != nullptr) text += fmt::format(" cuda{}", entry.cuda->index);
  if (entry.nvml != nullptr) text += " nvml";
  if (entry.directx != nullptr) text += " dx";
  if (entry.opencl != nullptr) text += fmt::format(" cl{}", entry.opencl->device_id);
  if (entry.win32 != nullptr) text += " " + entry.win32->name;
  if (!gpu.cuda_peers.empty()) text += fmt::format(" peers {}", fmt::join(gpu.cuda_peers, ","));
  if (gpu.is_main_display) text += " <- main";
  return text;
}

class Matching : public MachineTest {
 protected:
  std::vector<MatchedGPUT> Match(const DetectorsOutputT& found) {
    m_monitors.clear();
    std::vector<MatchedGPUT> matched;
    EXPECT_TRUE(DetectWindowsGPUs(found, matched, m_monitors));
    return matched;
  }

  std::vector<MonitorT> m_monitors;
};

TEST_F(Matching, JoinsTheRecordsOfOneGPU) {
  const Texts no_log;
  const Texts ignored = {"WARN Ignoring unmatched DirectX GPU \"NVIDIA GeForce\"."};
  const std::string nvlink_fix = "INFO NVIDIA NVLINK Main Display GPU fix: Using card at PCI:65:0";
  const struct {
    const char* name;
    Found found;
    Texts matched;
    Texts log;
  } kCases[] = {
      {"nothing", Found(), {}, no_log},
      {"twin cards by their places",
       Found()
           .NVAPI(65)
           .NVAPI(1)
           .CUDA(1, 0)
           .CUDA(65, 1)
           .NVML(1)
           .NVML(65)
           .DirectX("NVIDIA GeForce", 1)
           .DirectX("NVIDIA GeForce", 65)
           .OpenCL(65, 7)
           .OpenCL(1, 8)
           .Win32(65, "w65"),
       {"NVIDIA GeForce PCI:65:0 Discrete nvapi cuda1 nvml dx cl7 w65",
        "NVIDIA GeForce PCI:1:0 Discrete nvapi cuda0 nvml dx cl8 <- main"},
       no_log},
      {"cards on one bus, told by every source",
       Found()
           .NVAPI({0, 4})
           .NVAPI({0, 5})
           .ADL({0, 6})
           .ADL({0, 7})
           .CUDA({0, 5}, 0)
           .CUDA({0, 4}, 1)
           .NVML({0, 5}, {{0, 4}})
           .DirectX("AMD Radeon", {0, 7})
           .DirectX("AMD Radeon", {0, 6})
           .DirectX("NVIDIA GeForce", {0, 5})
           .DirectX("NVIDIA GeForce", {0, 4})
           .OpenCL({0, 7}, 17)
           .OpenCL({0, 6}, 16)
           .OpenCL({0, 5}, 15)
           .OpenCL({0, 4}, 14)
           .Win32({0, 7}, "w7")
           .Win32({0, 6}, "w6")
           .Win32({0, 5}, "w5")
           .Win32({0, 4}, "w4"),
       {"NVIDIA GeForce PCI:0:4 Discrete nvapi cuda1 dx cl14 w4",
        "NVIDIA GeForce PCI:0:5 Discrete nvapi cuda0 nvml dx cl15 w5 peers 1",
        "AMD Radeon PCI:0:6.0 Discrete adl dx cl16 w6", "AMD Radeon PCI:0:7.0 Discrete adl dx cl17 w7 <- main"},
       no_log},
      {"the first of two records at one place, but the last that the window system has",
       Found().NVAPI(1).CUDA(1, 0).CUDA(1, 1).OpenCL(1, 7).OpenCL(1, 8).Win32(1, "a").Win32(1, "b").DirectX("", 1),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi cuda0 dx cl7 b <- main"},
       no_log},
      {"a laptop: the Intel GPU only DirectX knows",
       Found().NVAPI(1).DirectX("Intel(R) UHD Graphics", 0, {}, 9).DirectX("NVIDIA GeForce", 1).OpenCL(-1, 9, true),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx", "Intel UHD Graphics PCI:0:0.1 Integrated dx cl9 <- main"},
       no_log},
      {"an Intel card without unified memory",
       Found().DirectX("Intel(R) Arc", 3, {}, 9).OpenCL(-1, 9),
       {"Intel Arc PCI:3:0.1 Discrete dx cl9 <- main"},
       no_log},
      {"an Intel GPU without OpenCL", Found().DirectX("Intel", -1), {"Intel  PCI:-1:-1 Integrated dx <- main"}, no_log},
      {"an Intel GPU takes no OpenCL device that is merely at its place",
       Found().DirectX("Intel(R) Arc", 3, {}, 9).OpenCL(3, 7),
       {"Intel Arc PCI:3:0.1 Integrated dx <- main"},
       no_log},
      {"an adapter whose vendor does not know it",
       Found().NVAPI(1).DirectX("NVIDIA GeForce", 2),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi"},
       ignored},
      {"unknown places are not equal",
       Found().NVAPI(-1, {"D1"}).DirectX("NVIDIA GeForce", -1, {"D2"}).Win32(-1, "w"),
       {"NVIDIA GeForce PCI:-1:-1 Discrete nvapi"},
       ignored},
      {"nor is half a place a place",
       Found().NVAPI({1, -1}).DirectX("NVIDIA GeForce", {1, -1}).Win32({1, -1}, "w"),
       {"NVIDIA GeForce PCI:1:-1 Discrete nvapi"},
       ignored},
      {"to the vendors' interfaces unknown places are equal",
       Found().NVAPI(-1).CUDA(-1, 0).NVML(-1).OpenCL(-1, 7),
       {"NVIDIA GeForce PCI:-1:-1 Discrete nvapi cuda0 nvml cl7"},
       no_log},
      {"by a display's name, where the place does not tell",
       Found().NVAPI(1, {"D1"}).ADL(3, {"D2", "D3"}).DirectX("a", -1, {"", "D3"}).DirectX("b", 9, {"D1"}),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx", "AMD Radeon PCI:3:0.0 Discrete adl dx <- main"},
       no_log},
      {"names of displays have letter case, and empty ones are none",
       Found().ADL(3, {"", "D2"}).DirectX("NVIDIA GeForce", -1, {"", "d2"}),
       {"AMD Radeon PCI:3:0.0 Discrete adl"},
       ignored},
      {"a later adapter at the same place takes over",
       Found().NVAPI(1).DirectX("a", 1).DirectX("b", 1),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx"},
       no_log},
      {"NVLinks to cards that CUDA sees",
       Found()
           .NVAPI(1)
           .NVAPI(65)
           .CUDA(1, 0)
           .CUDA(65, 1)
           .NVML(1, {65, 65, 7})
           .NVML(65, {1})
           .DirectX("", 1)
           .DirectX("", 65),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi cuda0 nvml dx peers 1,1 <- main",
        "NVIDIA GeForce PCI:65:0 Discrete nvapi cuda1 nvml dx peers 0"},
       no_log},
      {"NVLink pair as one adapter: the window system's primary",
       Found().NVAPI(1).NVAPI(65).DirectX("", 1).Win32(1, "a").Win32(65, "b", true),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx a", "NVIDIA GeForce PCI:65:0 Discrete nvapi b <- main"},
       {nvlink_fix}},
      {"as many adapters as cards: DirectX's word counts",
       Found().NVAPI(1).NVAPI(65).DirectX("", 1).DirectX("", 65).Win32(65, "b", true),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx <- main", "NVIDIA GeForce PCI:65:0 Discrete nvapi dx b"},
       no_log},
      {"an adapter that is dropped counts as one",
       Found().NVAPI(1).NVAPI(65).DirectX("", 1).DirectX("NVIDIA GeForce", 9).Win32(65, "b", true),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx <- main", "NVIDIA GeForce PCI:65:0 Discrete nvapi b"},
       ignored},
      {"AMD pair as one adapter: ADL's primary",
       Found().ADL(3).ADL(6, {}, true).DirectX("", 3).Win32(3, "a", true),
       {"AMD Radeon PCI:3:0.0 Discrete adl dx a", "AMD Radeon PCI:6:0.0 Discrete adl <- main"},
       {"INFO AMD XMGI Main Display GPU fix: Using card at PCI:6:0"}},
      {"nobody is primary",
       Found().ADL(3).ADL(6).DirectX("", 3),
       {"AMD Radeon PCI:3:0.0 Discrete adl dx <- main", "AMD Radeon PCI:6:0.0 Discrete adl"},
       no_log},
      {"two vendors: no fix",
       Found().NVAPI(1).ADL(3, {}, true).DirectX("", 1).Win32(3, "a", true),
       {"NVIDIA GeForce PCI:1:0 Discrete nvapi dx <- main", "AMD Radeon PCI:3:0.0 Discrete adl a"},
       no_log},
      {"types of the unknown",
       Found().NVAPI(1, {}, GPUType::Unknown).NVAPI(2, {}, GPUType::Unknown).OpenCL(1, 7, true),
       {"NVIDIA GeForce PCI:1:0 Integrated nvapi cl7", "NVIDIA GeForce PCI:2:0 Discrete nvapi"},
       no_log},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    Texts described;
    for (const MatchedGPUT& entry : Match(test_case.found)) described.push_back(Describe(entry));
    EXPECT_EQ(described, test_case.matched);
    EXPECT_EQ(TakeLog(), test_case.log);
  }
}

TEST_F(Matching, FillsTheGPUFromItsRecords) {
  const auto matched = Match(Found()
                                 .NVAPI(1)
                                 .CUDA(1, 3)
                                 .NVML(1)
                                 .OpenCL(1, 7)
                                 .ADL(3, {}, false, "")
                                 .OpenCL(3, 8)
                                 .DirectX("AMD", 3)
                                 .DirectX("Intel(R) UHD", 0));
  const FlatBuffers::GPUT& nvidia = *matched[0].gpu;
  EXPECT_EQ(nvidia.hardware_id, R"(PCI\VEN_10DE&DEV_2204&SUBSYS_38811462&REV_A1)");
  EXPECT_EQ(nvidia.id, "gpu:61279526.5150080d");
  EXPECT_EQ(nvidia.vram_mib, 24575);
  EXPECT_EQ(nvidia.cuda_index, 3);
  EXPECT_EQ(nvidia.pcie_link_width, 8);
  EXPECT_EQ(nvidia.pcie_max_link_width, 16);
  EXPECT_EQ(nvidia.opencl_device_id, 7U);
  EXPECT_EQ(nvidia.opencl_peers, std::vector<std::uint64_t>{8});
  EXPECT_EQ(nvidia.compute_apis, (std::vector{FlatBuffers::ComputeAPI::CUDA, FlatBuffers::ComputeAPI::OpenCL}));
  // Whose own library does not tell the id, DirectX does, but the vendor is the GPU's.
  EXPECT_EQ(matched[1].gpu->hardware_id, R"(PCI\VEN_1002&DEV_4680&SUBSYS_06941043&REV_0C)");
  EXPECT_EQ(matched[1].gpu->vram_mib, 16368);
  EXPECT_EQ(matched[2].gpu->hardware_id, R"(PCI\VEN_8086&DEV_4680&SUBSYS_06941043&REV_0C)");
  EXPECT_EQ(matched[2].gpu->vram_mib, -1);
}

TEST_F(Matching, GivesMonitorsTheirGPU) {
  const auto found =
      Found().NVAPI(1).NVAPI(65).DirectX("", 65, {"D1"}).DirectX("gone", 9, {"D2"}).DirectX("", 1, {"D3"});
  const auto matched = Match(found);
  ASSERT_EQ(m_monitors.size(), 2U);
  EXPECT_EQ(m_monitors[0].name + m_monitors[1].name, "on D3on D1");
  EXPECT_EQ(m_monitors[0].gpu_id, matched[0].gpu->id);
  EXPECT_EQ(m_monitors[1].gpu_id, matched[1].gpu->id);
  EXPECT_EQ(found.directx[0]->monitors[0]->gpu_id, matched[1].gpu->id);
}

TEST_F(Matching, LeavesOneMainDisplayGPU) {
  const struct {
    std::vector<bool> claims;
    std::vector<std::pair<std::string, bool>> monitors;  // GPU, is main
    std::string main;
    Texts log;
  } kCases[] = {
      {{false, true, false}, {{"gpu0", true}}, "gpu1", {}},
      {{false, true, true}, {}, "gpu1", {"ERROR Multiple Main Display GPUs found, ignoring gpu2."}},
      {{false, false},
       {{"gpu0", false}, {"gpu1", true}},
       "gpu1",
       {"WARN Found Main Display GPU gpu1 through monitor match."}},
      {{false, false},
       {{"gpu1", false}, {"gpu0", false}},
       "gpu1",
       {"WARN Found Main Display GPU gpu1 through monitor match."}},
      {{false, false},
       {{"gpu1", false}, {"other", true}},
       "gpu0",
       {"ERROR No Main Display GPU found and no monitors found to match, defaulting to gpu0."}},
      {{false, false},
       {},
       "gpu0",
       {"ERROR No Main Display GPU found and no monitors found to match, defaulting to gpu0."}},
  };
  for (const auto& test_case : kCases) {
    std::vector<MatchedGPUT> matched(test_case.claims.size());
    for (std::size_t i = 0; i < matched.size(); ++i) {
      matched[i].gpu = std::make_shared<FlatBuffers::GPUT>();
      matched[i].gpu->id = fmt::format("gpu{}", i);
      matched[i].gpu->is_main_display = test_case.claims[i];
    }
    std::vector<MonitorT> monitors;
    for (const auto& [gpu, is_main] : test_case.monitors) {
      monitors.emplace_back().gpu_id = gpu;
      monitors.back().is_main = is_main;
    }
    Texts remarks;
    EXPECT_EQ(ChooseMainDisplayGPU(matched, monitors, remarks), test_case.main);
    EXPECT_EQ(remarks.size(), test_case.log.size());
    EXPECT_EQ(TakeLog(), test_case.log);
    for (const MatchedGPUT& entry : matched) EXPECT_EQ(entry.gpu->is_main_display, entry.gpu->id == test_case.main);
  }
}

}  // namespace
}  // namespace Vexil::Tests
