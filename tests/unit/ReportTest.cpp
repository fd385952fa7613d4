#include "Vexil/Report/Report.h"

#include <gtest/gtest.h>

namespace Vexil::Tests {
namespace {

using FlatBuffers::GPUT;
using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using FlatBuffers::SystemT;
using Texts = std::vector<std::string>;

class Lines final : public ReportSink {
 public:
  Texts lines;

  bool Wants(LogLevel /*level*/) override { return true; }
  void Write(LogLevel level, const std::string& line, const LogSite& /*site*/) override {
    lines.push_back((level == LogLevel::Warn ? "WARN" : "") + line);
  }
};

/// What is written of a saved result.
Texts Report(const SystemT& system, const std::vector<MatchedGPUT>& matched = {},
             const std::vector<MonitorT>& monitors = {}) {
  std::vector<GPUT> gpus;
  for (const MatchedGPUT& entry : matched) gpus.push_back(*entry.gpu);
  Lines lines;
  WriteReport({system, matched, gpus, monitors, false}, lines);
  return lines.lines;
}

TEST(Report, LeavesOutWhatIsUnknownOfTheSystem) {
  const Texts nothing = {"Detected System:", "  - OS: Unknown ", "Detected 0 GPUs:", "Detected 0 monitors:"};
  SystemT system;
  EXPECT_EQ(Report(system), nothing);
  system.cuda_driver_major = 12;
  system.nvidia_driver_minor = 41;
  system.cpu_threads = 8;
  system.ram_mib = 0;
  EXPECT_EQ(Report(system), nothing);
  system.nvidia_driver_major = 537;
  system.ram_mib = 65461;
  EXPECT_EQ(Report(system)[2], "  - RAM: 63.9 GiB");
  EXPECT_EQ(Report(system)[3], "  - NVIDIA GPU Driver: 537.41, supports CUDA 12.-1");
}

MatchedGPUT MakeGPU(const std::string& id) {
  MatchedGPUT matched;
  matched.gpu = std::make_shared<GPUT>();
  matched.gpu->id = id;
  matched.gpu->name = "Card";
  matched.gpu->vendor = FlatBuffers::Vendor::AMD;
  matched.win32 = std::make_shared<FlatBuffers::EnumDisplayDevicesGPUT>();
  return matched;
}

TEST(Report, TellsOfAGPUWhatIsKnown) {
  std::vector<MatchedGPUT> matched = {MakeGPU("a"), MakeGPU("b")};
  GPUT& gpu = *matched[0].gpu;
  EXPECT_EQ(Report({}, matched),
            (Texts{"Detected System:", "  - OS: Unknown ", "Detected 2 GPUs:", "  - \"AMD Card\" (a)",
                   "    Unknown, Unknown VRAM", "    Matches: Win32", "WARN    Warning: No OpenCL match.",
                   "  - \"AMD Card\" (b)", "    Unknown, Unknown VRAM", "    Matches: Win32",
                   "WARN    Warning: No OpenCL match.", "Detected 0 monitors:"}));
  gpu.pci_bus = 1;
  EXPECT_EQ(Report({}, matched)[4], "    Unknown, Unknown VRAM, PCI:1");
  gpu.pci_device = gpu.pci_function = 0;
  gpu.pcie_link_width = 16;
  gpu.vram_mib = 512;
  EXPECT_EQ(Report({}, matched)[4], "    Unknown, 512 MiB VRAM, PCI:1:0.0 (x16)");

  matched[0].opencl = std::make_shared<FlatBuffers::OpenCLGPUT>();
  matched[0].amddl = std::make_shared<FlatBuffers::AMDDLGPUT>();
  gpu.is_main_display = true;
  gpu.peer_group_id = matched[1].gpu->peer_group_id = 5;
  gpu.cuda_peers = {3};
  gpu.opencl_peers = {9};
  matched[1].gpu->cuda_index = 3;
  matched[1].gpu->opencl_device_id = 9;
  Texts lines = Report({}, matched);
  lines.resize(9);
  lines.erase(lines.begin(), lines.begin() + 3);
  EXPECT_EQ(lines, (Texts{"  - \"AMD Card\" (a) <- Main Display GPU", "    Unknown, 512 MiB VRAM, PCI:1:0.0 (x16)",
                          "    Matches: AMDDL, OpenCL, Win32", "    Metal Peers: b", "    CUDA Peers: b",
                          "    OpenCL Peers: b"}));
}

TEST(Report, NamesPeersInTheOrderOfTheRecordAndOnce) {
  std::vector<MatchedGPUT> matched;
  for (const char* id : {"a", "b", "c", "d"}) {
    matched.push_back(MakeGPU(id));
    matched.back().gpu->cuda_index = static_cast<std::int32_t>(matched.size());
  }
  matched[0].gpu->cuda_peers = {3, 4, 2, 3, 9};
  EXPECT_EQ(Report({}, matched)[7], "    CUDA Peers: c, d, b");
}

TEST(Report, CountsAMonitorWhoseGPUIsNotListed) {
  std::vector<MonitorT> monitors(2);
  monitors[0].gpu_id = "gone";
  monitors[1].gpu_id = "a";
  monitors[1].name = "Monitor";
  monitors[1].is_main = true;
  Texts lines = Report({}, {MakeGPU("a")}, monitors);
  lines.erase(lines.begin(), lines.end() - 3);
  EXPECT_EQ(lines, (Texts{"Detected 2 monitors:", "  - \"Monitor\" <- Main Monitor",
                          "    -1x-1, connected to \"AMD Card\" (a)"}));
}

}  // namespace
}  // namespace Vexil::Tests
