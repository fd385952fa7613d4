#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "MachineTest.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::DetectorsOutputT;
using Simulation::Observed;
using Texts = std::vector<std::string>;

constexpr const char* kNVIDIAVersion = "NvAPI_SYS_GetDriverAndBranchVersion";

/// What a call, with its parameter, is asked for.
struct Use {
  const char* call;  ///< A part of its name.
  Texts tells;
  bool of_one_device = false;
};

const Use& UseOf(const std::string& call) {
  // The first that fits counts.
  static const std::vector<Use> kUses = {
      {"GetProcAddress cl", {"OpenCL", "DirectX", "Intel driver"}},
      {"GetProcAddress cu", {"CUDA", "CUDA driver"}},
      {"GetProcAddress nvml", {"NVML"}},
      {"GetProcAddress ADL", {"AMD DL", "AMD driver"}},
      {"QueryInterface NvAPI_GPU", {"NVAPI"}},
      {"GlobalMemoryStatusEx", {"memory"}},
      {"MachineGuid", {"system id"}},
      {"CurrentBuildNumber", {"OS version"}},
      {"ProductName", {"OS version"}},
      {"BaseBoard", {"model"}},
      {"ProcessorNameString", {"processor"}},
      {kNVIDIAVersion, {"NVIDIA driver"}},
      {"NvAPI_GPU", {"NVAPI"}, true},
      {"NvAPI_Enum", {"NVAPI"}},
      {"NvAPI_Get", {"NVAPI"}},
      {"nvapi", {"NVAPI", "NVIDIA driver"}},
      {"NvAPI", {"NVAPI", "NVIDIA driver"}},
      {"nvmlDeviceGetCount", {"NVML"}},
      {"nvmlDevice", {"NVML"}, true},
      {"nvml", {"NVML"}},
      {"ADL_Graphics_Versions_Get", {"AMD driver"}},
      {"ADL_Main_Control", {"AMD DL", "AMD driver"}},
      {"ADL_Adapter_ASICFamilyType_Get", {"AMD DL"}, true},
      {"ADL_Adapter", {"AMD DL"}},
      {"atiadlxx", {"AMD DL", "AMD driver"}},
      {"cuDriverGetVersion", {"CUDA driver"}},
      {"nvcuda", {"CUDA", "CUDA driver"}},
      {"cuInit", {"CUDA", "CUDA driver"}},
      {"cuDeviceGetCount", {"CUDA"}},
      {"cuDeviceGet ", {"CUDA"}},
      {"cuDevice", {"CUDA"}, true},
      {"clGetDeviceInfo 0x102d", {"OpenCL", "Intel driver"}, true},
      {"clGetDeviceInfo", {"OpenCL"}, true},
      {"clGetDeviceIDsFromD3D10KHR", {"DirectX"}, true},
      {"clGetExtension", {"DirectX"}, true},
      {"cl", {"OpenCL", "DirectX", "Intel driver"}},
      {"OpenCL", {"OpenCL", "DirectX", "Intel driver"}},
      {"GetDesc2", {"DirectX"}, true},
      {"SetupDiGetDeviceProperty", {"DirectX"}},
      {"RegGetValue", {"Windows"}},
      {"EnumDisplayDevices adapters", {"Windows", "Citrix"}},
      {"", {"Windows", "DirectX"}},
  };
  const auto fits = [&](const Use& use) { return call.find(use.call) != std::string::npos; };
  return *std::find_if(kUses.begin(), kUses.end(), fits);
}

using Told = std::map<std::string, Texts>;

/// What was told of the system, and each source's records as comparable bytes.
Told ToldBy(const std::vector<std::uint8_t>& buffer) {
  FlatBuffers::DetectionResultT result;
  FlatBuffers::GetDetectionResult(buffer.data())->UnPackTo(&result);
  const DetectorsOutputT& all = *result.detectors_output;
  const FlatBuffers::SystemT& system = *result.system;
  Told told = {
      {"system id", {system.system_id}},
      {"OS version", {system.os_version}},
      {"model", {system.model}},
      {"processor", {system.cpu_name}},
      {"threads", {std::to_string(system.cpu_threads)}},
      {"memory", {std::to_string(system.ram_mib)}},
      {"NVIDIA driver", {fmt::format("{}.{}", system.nvidia_driver_major, system.nvidia_driver_minor)}},
      {"CUDA driver", {fmt::format("{}.{}", system.cuda_driver_major, system.cuda_driver_minor)}},
      {"AMD driver", {fmt::format("{} {}", system.amd_driver_version, system.amd_driver_major)}},
      {"Intel driver", {fmt::format("{} {}", system.intel_driver_version, system.intel_driver_version_parts.size())}},
      {"Citrix", {system.citrix_indirect_display ? "yes" : "no"}},
  };
  const auto pack = [&](const std::string& source, auto list) {
    for (const auto& record : all.*list) {
      DetectorsOutputT only;
      (only.*list).push_back(record);
      flatbuffers::FlatBufferBuilder builder;
      builder.Finish(FlatBuffers::CreateDetectorsOutput(builder, &only));
      told[source].emplace_back(builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
    }
  };
  for (const auto& adapter : all.directx) {
    for (const auto& monitor : adapter->monitors) monitor->gpu_id.clear();
  }
  pack("OpenCL", &DetectorsOutputT::opencl);
  pack("CUDA", &DetectorsOutputT::cuda);
  pack("Windows", &DetectorsOutputT::win32);
  pack("DirectX", &DetectorsOutputT::directx);
  pack("AMD DL", &DetectorsOutputT::amddl);
  pack("NVAPI", &DetectorsOutputT::nvapi);
  pack("NVML", &DetectorsOutputT::nvml);
  return told;
}

bool Never(std::uint64_t /*number*/, const std::string& /*call*/) { return false; }

class FailureSweep : public MachineTest {
 protected:
  /// What one detection tells in which the first call that `fails` accepts fails, and what call that was.
  Told Detect(const std::function<bool(std::uint64_t number, const std::string& call)>& fails) {
    Simulation::SetMachine(m_machine);
    m_failed.clear();
    Simulation::WatchCalls([&](std::uint64_t number, std::string_view call, std::string_view parameter) {
      std::string text = std::string(call) + " " + std::string(parameter);
      if (!m_failed.empty() || !fails(number, text)) return false;
      m_failed = std::move(text);
      return true;
    });
    TestDetector detector;
    // A report would bring NVAPI up to stay.
    detector.Detect({.KeepMarker = false, .Silent = true});
    std::vector<std::uint8_t> buffer;
    detector.Serialize(buffer);
    auto up = Observed().up;
    EXPECT_EQ(up["nvapi64.dll"], m_failed.find(kNVIDIAVersion) != std::string::npos ? 1 : 0);
    EndProcess();
    for (const auto& [library, users] : Observed().up) EXPECT_EQ(users, 0) << library;
    return ToldBy(buffer);
  }

  void ExpectOnlyItsOwnIsLost(const Told& told, const Told& sound) {
    const Use& use = UseOf(m_failed);
    for (const auto& [source, records] : sound) {
      const auto found = told.find(source);
      const Texts now = found != told.end() ? found->second : Texts();
      const auto lost = std::count_if(records.begin(), records.end(), [&](const std::string& record) {
        return std::find(now.begin(), now.end(), record) == now.end();
      });
      if (std::find(use.tells.begin(), use.tells.end(), source) == use.tells.end()) {
        EXPECT_EQ(now, records) << source;
      } else if (use.of_one_device) {
        EXPECT_LE(lost, 1) << source;
      }
    }
  }

  const Simulation::Machine m_machine = LoadTestMachine("five-gpus");
  std::string m_failed;
};

TEST_F(FailureSweep, EachCallCostsOnlyWhatItWouldHaveTold) {
  const Told sound = Detect(Never);
  // OpenCL and NVAPI, for the life of the process; later also an AMD Display Library that would not start.
  auto may_stay_open = Observed().open;
  std::uint64_t call = 1;
  for (;; ++call) {
    const Told told = Detect([&](std::uint64_t number, const std::string&) { return number == call; });
    if (m_failed.empty()) break;
    SCOPED_TRACE("call " + std::to_string(call) + ", " + m_failed);
    if (m_failed == "ADL_Main_Control_Create ") ++may_stay_open["atiadlxx.dll"];
    ExpectOnlyItsOwnIsLost(told, sound);
    for (const auto& [library, open] : Observed().open) EXPECT_EQ(open, may_stay_open[library]) << library;
    ASSERT_FALSE(HasFailure());
  }
  std::cout << call - 1 << " calls failed, one at a time\n";
  EXPECT_GT(call, 500U);
}

using TimeOfCall = std::pair<std::string, int>;

/// What a process does once only, at its first use of OpenCL, CUDA and NVAPI: which time of which call fails.
class FirstDetection : public FailureSweep, public testing::WithParamInterface<TimeOfCall> {};

TEST_P(FirstDetection, LosesOnlyWhatTheCallWouldHaveTold) {
  if (Observed().open.contains("OpenCL.dll")) GTEST_SKIP() << "One per process; ctest does that.";
  int times = 0;
  const Told told = Detect(
      [&](std::uint64_t, const std::string& call) { return call == GetParam().first && ++times == GetParam().second; });
  EXPECT_EQ(m_failed, GetParam().first);
  const std::string failed = m_failed;
  const Told sound = Detect(Never);
  m_failed = failed;
  ExpectOnlyItsOwnIsLost(told, sound);
  EXPECT_EQ(Observed().open.at("OpenCL.dll"), 1);
  EXPECT_EQ(Observed().open.at("nvapi64.dll"), 1);
}

INSTANTIATE_TEST_SUITE_P(Calls, FirstDetection,
                         testing::Values(TimeOfCall("LoadLibrary nvapi64.dll", 1), TimeOfCall("NvAPI_Initialize ", 1),
                                         TimeOfCall("LoadLibrary nvapi64.dll", 2),
                                         TimeOfCall("LoadLibrary nvcuda.dll", 1), TimeOfCall("cuDriverGetVersion ", 1),
                                         TimeOfCall("LoadLibrary OpenCL.dll", 1),
                                         TimeOfCall("GetProcAddress clGetPlatformIDs", 1),
                                         TimeOfCall("LoadLibrary OpenCL.dll", 2),
                                         TimeOfCall("clGetPlatformIDs count", 1)));

}  // namespace
}  // namespace Vexil::Tests
