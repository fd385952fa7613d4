#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <tuple>
#include <utility>

#include "Vexil/Results/ResultOutput.h"
#include "simulation/SimulatedLibraries.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::DetectorsOutputT;
using Texts = std::vector<std::string>;

constexpr const char* kNVIDIAVersion = "NvAPI_SYS_GetDriverAndBranchVersion";

/// What a call, with its parameter, is asked for.
struct Use {
  const char* call;  ///< A part of its name.
  Texts tells;
  bool of_one_device = false;
};

/// The sources of the library that the call or its parameter belongs to; those that ask Windows where that is none.
Texts SourcesOf(const std::string& call) {
  const auto space = call.find(' ');
  const std::string words[] = {call.substr(0, space), call.substr(space + 1)};
  const auto is_its = [&](const Simulation::SimulatedLibrary* library) {
    return words[1] == library->file_name || Offers(*library, words[0]) || Offers(*library, words[1]);
  };
  const auto libraries = Simulation::AllLibraries();
  const auto library = std::find_if(libraries.begin(), libraries.end(), is_its);
  const std::string file_name = library != libraries.end() ? (*library)->file_name : "";
  Texts names;
  ForEachSource([&](const auto& source) {
    if (file_name == (source.library != nullptr ? source.library : "")) names.emplace_back(source.name);
  });
  return names;
}

Use UseOf(const std::string& call) {
  // The first that fits counts. A call that is not here costs what its library tells.
  static const std::vector<Use> kUses = {
      {"GetProcAddress cl", {"OpenCL", "DirectX", "Intel driver"}},
      {"GetProcAddress cu", {"CUDA", "CUDA driver"}},
      {"GetProcAddress nvml", {"NVML"}},
      {"GetProcAddress ADL", {"AMDDL", "AMD driver"}},
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
      {"ADL_Graphics_Versions_Get", {"AMD driver"}},
      {"ADL_Main_Control", {"AMDDL", "AMD driver"}},
      {"ADL_Adapter_ASICFamilyType_Get", {"AMDDL"}, true},
      {"atiadlxx", {"AMDDL", "AMD driver"}},
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
      {"RegGetValue", {"Win32"}},
      {"EnumDisplayDevices adapters", {"Win32", "Citrix"}},
  };
  const auto fits = [&](const Use& use) { return call.find(use.call) != std::string::npos; };
  const auto use = std::find_if(kUses.begin(), kUses.end(), fits);
  return use != kUses.end() ? *use : Use{"", SourcesOf(call)};
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
  for (const auto& adapter : all.directx) {
    for (const auto& monitor : adapter->monitors) monitor->gpu_id.clear();
  }
  ForEachSource([&](const auto& source) {
    for (const auto& record : all.*source.list) {
      DetectorsOutputT only;
      (only.*source.list).push_back(record);
      flatbuffers::FlatBufferBuilder builder;
      builder.Finish(FlatBuffers::CreateDetectorsOutput(builder, &only));
      told[source.name].emplace_back(builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
    }
  });
  return told;
}

/// Windows does not tell such a failure from the end of its list.
bool IsLikeTheEndOfAList(const std::string& call) { return call.find("EnumDisplayDevices") == 0; }

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
    Detector::Impl run;
    // A report would bring NVAPI up to stay.
    run.options.Silent = true;
    run.Detect();
    m_account = run.account;
    PackResult(run.ToResult(), m_result);
    // NVAPI is left up where it does not tell the driver's version, and where it cannot be shut down.
    const auto is_of = [this](const char* function) { return m_failed.find(function) != std::string::npos; };
    const bool has_unload = m_machine.nvapi && !m_machine.nvapi->missing.contains("NvAPI_Unload");
    if (has_unload) {
      EXPECT_EQ(Simulation::IsUp(kNvAPIFileName), is_of(kNVIDIAVersion) || is_of("QueryInterface NvAPI_Unload"));
    }
    EndProcess();
    return ToldBy(m_result);
  }

  /// Whether the run's account tells that anything went wrong.
  bool IsAccounted() const {
    const auto tells = [](const Account& account) {
      return account.state != SourceState::Answered || !account.failed_calls.empty() || !account.remarks.empty() ||
             !account.missing_optional.empty();
    };
    return tells(m_account.system) || std::any_of(m_account.sources.begin(), m_account.sources.end(), tells);
  }

  void ExpectOnlyItsOwnIsLost(const Told& told, const Told& sound) {
    const Use use = UseOf(m_failed);
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
      EXPECT_TRUE(lost == 0 || IsAccounted() || IsLikeTheEndOfAList(m_failed)) << source;
    }
  }

  Simulation::Machine m_machine = LoadTestMachine("five-gpus");
  std::string m_failed;
  std::vector<std::uint8_t> m_result;
  RunAccount m_account;
};

TEST_F(FailureSweep, EachCallCostsOnlyWhatItWouldHaveTold) {
  const Told sound = Detect(Never);
  std::uint64_t call = 1;
  for (;; ++call) {
    const Told told = Detect([&](std::uint64_t number, const std::string&) { return number == call; });
    if (m_failed.empty()) break;
    SCOPED_TRACE("call " + std::to_string(call) + ", " + m_failed);
    ExpectOnlyItsOwnIsLost(told, sound);
    ASSERT_FALSE(HasFailure());
  }
  std::cout << call - 1 << " calls failed, one at a time\n";
  EXPECT_GT(call, 500U);
}

/// All that an account tells, line by line.
Texts Lines(const Account& account) {
  Texts lines = account.remarks;
  lines.push_back(std::to_string(static_cast<int>(account.state)));
  lines.insert(lines.end(), account.missing_required.begin(), account.missing_required.end());
  lines.insert(lines.end(), account.missing_optional.begin(), account.missing_optional.end());
  for (const FailedCall& call : account.failed_calls) lines.push_back(call.call + call.subject + call.unknown);
  return lines;
}

/// Everything that a run's account tells.
Texts Lines(const RunAccount& account) {
  Texts lines = Lines(account.system);
  for (const Account& source : account.sources) {
    const Texts of_source = Lines(source);
    lines.insert(lines.end(), of_source.begin(), of_source.end());
  }
  return lines;
}

/// Of every machine.
class SilentFailure : public FailureSweep, public testing::WithParamInterface<std::string> {};

TEST_P(SilentFailure, ChangesNothing) {
  m_machine = LoadTestMachine(GetParam());
  Detect(Never);
  const std::vector<std::uint8_t> sound = m_result;
  const Texts told = Lines(m_account);
  for (std::uint64_t call = 1;; ++call) {
    Detect([&](std::uint64_t number, const std::string&) { return number == call; });
    if (m_failed.empty()) break;
    EXPECT_TRUE(m_result == sound || Lines(m_account) != told || IsLikeTheEndOfAList(m_failed)) << m_failed;
  }
}

INSTANTIATE_TEST_SUITE_P(Machines, SilentFailure, testing::ValuesIn(MachineNames()), ToTestName);

/// What a process does once only: the call that fails then.
class FirstDetection : public FailureSweep, public testing::WithParamInterface<const char*> {};

TEST_P(FirstDetection, LosesOnlyWhatTheCallWouldHaveTold) {
  // Once known the CUDA version is kept for good.
  static bool has_detected = false;
  if (std::exchange(has_detected, true)) GTEST_SKIP() << "One per process; ctest does that.";
  const Told told = Detect([&](std::uint64_t, const std::string& call) { return call == GetParam(); });
  EXPECT_EQ(m_failed, GetParam());
  const auto failed = std::pair(m_failed, m_account);
  const Told sound = Detect(Never);
  std::tie(m_failed, m_account) = failed;
  ExpectOnlyItsOwnIsLost(told, sound);
}

INSTANTIATE_TEST_SUITE_P(Calls, FirstDetection,
                         testing::Values("LoadLibrary nvcuda.dll", "GetProcAddress cuInit", "cuInit ",
                                         "cuDriverGetVersion "));

}  // namespace
}  // namespace Vexil::Tests
