#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <set>
#include <stdexcept>
#include <utility>

#include "Vexil/DetectGPUWindows/Matching.h"
#include "interfaces/Interfaces.h"
#include "tests/hostile/RandomMachine.h"
#include "tests/support/MachineTest.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/common_interface_defs.h>
#endif

namespace Vexil::Tests {
namespace {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using FlatBuffers::Vendor;

/// A number from the environment.
std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

std::uint64_t the_seed = 0;

/// Where a sanitizer ends the process, no test tells the seed.
void TellSeedAtDeath() {
#ifdef __SANITIZE_ADDRESS__
  __sanitizer_set_death_callback([] { std::fprintf(stderr, "seed %d\n", static_cast<int>(the_seed)); });
#endif
}

/// What drivers throw that should not.
struct Thrown {};

/// What a detection packs; nothing where it throws the one exception that it may, or its drivers do.
using Packed = std::optional<std::vector<std::uint8_t>>;

/// No record of this source is in two GPUs.
template <typename Record>
void ExpectInOneGPU(const std::vector<MatchedGPUT>& matched, std::shared_ptr<Record> MatchedGPUT::*source) {
  std::set<const Record*> met;
  for (const MatchedGPUT& entry : matched) {
    const Record* record = (entry.*source).get();
    EXPECT_TRUE(record == nullptr || met.insert(record).second);
  }
}

/// GPUs share a record of compute libraries only where drivers put several GPUs at the record's place, or link
/// several adapters with the record's device.
void ExpectSharedByRule(const MatchedGPUT& entry) {
  const auto is_at_place = [&](const auto& record) {
    return record.pci_bus == entry.gpu->pci_bus && record.pci_device == entry.gpu->pci_device;
  };
  EXPECT_TRUE(entry.cuda == nullptr || is_at_place(*entry.cuda));
  EXPECT_TRUE(entry.nvml == nullptr || is_at_place(*entry.nvml));
  if (entry.opencl == nullptr) return;
  if (entry.gpu->vendor == Vendor::Intel) {
    EXPECT_EQ(entry.opencl->platform_id, entry.directx->opencl_platform_id);
    EXPECT_EQ(entry.opencl->device_id, entry.directx->opencl_device_id);
  } else {
    EXPECT_TRUE(is_at_place(*entry.opencl));
  }
}

void CheckAnswers(Detector& detector) {
  const auto& gpus = detector.GetGPUs();
  const auto is_main = [](const auto& gpu) { return gpu.is_main_display; };
  EXPECT_EQ(std::count_if(gpus.begin(), gpus.end(), is_main), gpus.empty() ? 0 : 1);
  for (const auto& gpu : gpus) {
    EXPECT_TRUE(!gpu.is_main_display || gpu.id == detector.GetMainDisplayGPUID());
    std::uint64_t free = 0;
    std::uint64_t total = 0;
    detector.GetGPUMemory(gpu.id, free, total);
  }
  const auto ids = detector.GetGPUIDs();
  for (const MonitorT& monitor : detector.GetMonitors()) {
    EXPECT_TRUE(ids.contains(monitor.gpu_id)) << monitor.gpu_id;
    EXPECT_FALSE(monitor.name.empty());
  }
}

/// What is packed is sound, and matching its raw records again finds the same GPUs.
void CheckPacked(const std::vector<std::uint8_t>& buffer) {
  flatbuffers::Verifier verifier(buffer.data(), buffer.size(), 64, 100'000'000);
  ASSERT_TRUE(FlatBuffers::VerifyDetectionResultBuffer(verifier));
  FlatBuffers::DetectionResultT result;
  FlatBuffers::GetDetectionResult(buffer.data())->UnPackTo(&result);
  std::vector<MatchedGPUT> matched;
  std::vector<MonitorT> monitors;
  DetectWindowsGPUs(*result.detectors_output, matched, monitors);
  ExpectInOneGPU(matched, &MatchedGPUT::nvapi);
  ExpectInOneGPU(matched, &MatchedGPUT::amddl);
  ExpectInOneGPU(matched, &MatchedGPUT::directx);
  ExpectInOneGPU(matched, &MatchedGPUT::win32);
  std::set<std::string> ids;
  for (const MatchedGPUT& entry : matched) {
    ExpectSharedByRule(entry);
    ids.insert(entry.gpu->id);
  }
  EXPECT_EQ(result.gpus.size(), ids.size());
  EXPECT_EQ(result.monitors.size(), monitors.size());
}

class HostileDrivers : public testing::Test {
 protected:
  using Libraries = std::set<std::string>;

  Packed Detect(std::uint64_t seed) {
    Simulation::SetMachine(MakeRandomMachine(seed));
    const auto fails = MakeRandomFailures(seed);
    Simulation::WatchCalls([&](std::uint64_t number, std::string_view call, std::string_view parameter) {
      const bool failed = fails(number, call, parameter);
      if (failed && seed % 16 == 1 && !ShutsDown(call)) throw Thrown();
      return failed;
    });
    Packed packed;
    TestDetector detector;
    try {
      detector.Detect({.KeepMarker = false, .Silent = seed % 2 != 0});
      CheckAnswers(detector);
      detector.Serialize(packed.emplace());
    } catch (const std::out_of_range&) {
      // A version text with a number beyond 32 bits.
    } catch (const Thrown&) {
      ++m_throws;
    }
    EndProcess();
    m_log->lines.clear();
    return packed;
  }

  int m_throws = 0;
  std::shared_ptr<LogCapture> m_log = LogCapture::Start();
};

// VEXIL_HOSTILE_SEED=n VEXIL_HOSTILE_MACHINES=1 runs one machine again.
TEST_F(HostileDrivers, LeaveTheResultsSound) {
  TellSeedAtDeath();
  // The first use of OpenCL and NVAPI differs from all others.
  Simulation::SetMachine(LoadTestMachine("five-gpus"));
  TestDetector().Detect({});
  EndProcess();

  const std::uint64_t first = Setting("VEXIL_HOSTILE_SEED", 1);
  const std::uint64_t machines = Setting("VEXIL_HOSTILE_MACHINES", 2000);
  int with_gpus = 0;
  int thrown = 0;
  for (std::uint64_t seed = first; seed < first + machines; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    the_seed = seed;
    const Packed packed = Detect(seed);
    EXPECT_EQ(Detect(seed), packed);
    if (packed) CheckPacked(*packed);
    with_gpus += packed && FlatBuffers::GetDetectionResult(packed->data())->gpus() != nullptr ? 1 : 0;
    thrown += packed ? 0 : 1;
    ASSERT_FALSE(HasFailure()) << "on the machine of seed " << seed;
  }
  std::cout << machines << " machines, " << with_gpus << " of them with GPUs, " << m_throws / 2
            << " with drivers that threw, " << thrown - m_throws / 2 << " with version numbers beyond 32 bits\n";
}

TEST_F(HostileDrivers, LeaveTheNumbersSound) {
  TellSeedAtDeath();
  const std::uint64_t first = Setting("VEXIL_HOSTILE_SEED", 1);
  const std::uint64_t machines = Setting("VEXIL_HOSTILE_MACHINES", 300);
  std::size_t devices = 0;
  for (std::uint64_t seed = first; seed < first + machines; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    the_seed = seed;
    Simulation::SetMachine(MakeRandomMachine(seed));
    for (const Interfaces::Told& told : Interfaces::AskInterfaces()) {
      devices += told.findings.devices.size();
      EXPECT_LE(told.findings.devices.size(), 64U * 64U) << told.name;
    }
    EndProcess();
    ASSERT_FALSE(HasFailure()) << "on the machine of seed " << seed;
  }
  EXPECT_TRUE(machines < 300 || devices > 1000) << devices;
}

}  // namespace
}  // namespace Vexil::Tests
