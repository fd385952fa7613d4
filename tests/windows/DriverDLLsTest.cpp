#include <Vexil/Vexil.h>
#include <windows.h>

#include <set>
#include <sstream>

#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Sources/Sources.h"
#include "tests/support/MachineTest.h"
#include "tests/windows/Wine.h"

// vexil.dll as it is shipped, beside the simulated drivers as DLLs. Windows tells it nothing here: there is no screen.

namespace Vexil::Tests {

using namespace FlatBuffers;
using IDs = std::unordered_set<std::string>;

/// The interface as hosts were compiled against it: operations are called by their place, so none may
/// move. Written apart from the class, with which it has nothing but the order in common. (Not in a namespace without
/// name: the compiler would conclude that nobody implements it.)
class Places {
 public:
  virtual ~Places() = default;
  virtual int Place1() const = 0;
  virtual bool Place2(const DetectOptions&) = 0;
  virtual IDs Place3() = 0;
  virtual IDs Place4(Vendor) = 0;
  virtual IDs Place5(ComputeAPI) = 0;
  virtual IDs Place6(GPUType) = 0;
  virtual IDs Place7(const std::string&) = 0;
  virtual std::string Place8() = 0;
  virtual const GPUT& Place9() = 0;
  virtual IDs Place10(const std::string&, ComputeAPI) = 0;
  virtual const GPUT& Place11(const std::string&) = 0;
  virtual const std::vector<GPUT>& Place12() = 0;
  virtual const std::vector<MonitorT>& Place13() = 0;
  virtual const SystemT& Place14() = 0;
  virtual bool Place15(std::uint64_t&, std::uint64_t&) = 0;
  virtual bool Place16(const std::string&, std::uint64_t&, std::uint64_t&) = 0;
  virtual void Place17() = 0;
  virtual bool Place18(const std::string&) = 0;
  virtual bool Place19(std::ostream&) = 0;
  virtual bool Place20(std::vector<std::uint8_t>&) = 0;
};

namespace {

/// The Detector of vexil.dll on a machine, the first one of this process. To be unloaded as often as it is loaded.
Detector& LoadDetector(const std::string& machine) {
  SetEnvironmentVariableA("VEXIL_SIMULATED_MACHINE", (VEXIL_MACHINES "/" + machine + ".json").c_str());
  const HMODULE library = LoadLibraryA("vexil.dll");
  const auto get_instance =
      reinterpret_cast<GetInstanceFunction>(reinterpret_cast<void*>(GetProcAddress(library, "GetInstance")));
  return *get_instance();
}

DetectionResultT Unpack(const std::vector<std::uint8_t>& buffer) {
  DetectionResultT result;
  GetDetectionResult(buffer.data())->UnPackTo(&result);
  return result;
}

/// What this program's own copy of the library finds where Windows tells nothing.
DetectionResultT Simulate(Simulation::Machine machine) {
  machine.desktop.clear();
  machine.display_class.clear();
  machine.dxgi.reset();
  Simulation::SetMachine(std::move(machine));
  Detector::Impl run;
  run.Detect();
  std::vector<std::uint8_t> buffer;
  PackResult(run.ToResult(), buffer);
  EndProcess();
  return Unpack(buffer);
}

template <typename Record>
void ExpectEqual(const std::vector<std::shared_ptr<Record>>& left, const std::vector<std::shared_ptr<Record>>& right) {
  ASSERT_EQ(left.size(), right.size());
  for (std::size_t i = 0; i < left.size(); ++i) EXPECT_TRUE(*left[i] == *right[i]) << "record " << i;
}

class OneMachine : public testing::Test {
  void SetUp() override {
    if (GetModuleHandleA("vexil.dll") != nullptr) GTEST_SKIP() << "One machine per process; ctest does that.";
    if (!IsWine()) GTEST_SKIP() << "needs a machine without GPU and screen";
  }
};
class DriverDLLs : public OneMachine, public testing::WithParamInterface<std::string> {};
class BinaryInterface : public OneMachine {};
class Unloading : public OneMachine {};

TEST_P(DriverDLLs, TellTheFinishedLibraryTheirMachine) {
  Detector& detector = LoadDetector(GetParam());
  detector.Detect({.KeepMarker = true, .Silent = true});
  std::vector<std::uint8_t> buffer;
  detector.Serialize(buffer);
  const DetectionResultT result = Unpack(buffer);
  const DetectionResultT expected = Simulate(LoadTestMachine(GetParam()));

  ForEachSource([&](const auto& source) {
    SCOPED_TRACE(source.name);
    ExpectEqual((*result.detectors_output).*source.list, (*expected.detectors_output).*source.list);
  });
  ExpectEqual(result.gpus, expected.gpus);
  EXPECT_EQ(result.system->nvidia_driver_major, expected.system->nvidia_driver_major);
  EXPECT_EQ(result.system->nvidia_driver_minor, expected.system->nvidia_driver_minor);
  EXPECT_EQ(result.system->cuda_driver_major, expected.system->cuda_driver_major);
  EXPECT_EQ(result.system->cuda_driver_minor, expected.system->cuda_driver_minor);
  EXPECT_EQ(result.system->amd_driver_version, expected.system->amd_driver_version);
  EXPECT_EQ(result.system->intel_driver_version, expected.system->intel_driver_version);

  // Those whose handles hosts are given stay.
  const std::set<std::string> kept = {OpenCLLibrary::kFileName, kNvAPIFileName};
  ForEachSource([&](const auto& source) {
    if (source.library == nullptr || kept.contains(source.library)) return;
    EXPECT_EQ(GetModuleHandleA(source.library), nullptr) << source.library << " is still loaded";
  });
}

INSTANTIATE_TEST_SUITE_P(Machines, DriverDLLs, testing::ValuesIn(MachineNames()), ToTestName);

TEST_F(BinaryInterface, KeepsEachOperationInItsPlace) {
  Places& places = *reinterpret_cast<Places*>(&LoadDetector("five-gpus"));
  EXPECT_EQ(places.Place1(), 1);
  DetectOptions silently;
  silently.Silent = true;
  EXPECT_TRUE(places.Place2(silently));
  const auto& gpus = places.Place12();
  ASSERT_EQ(gpus.size(), 4U);
  const auto ids = [&](std::initializer_list<std::size_t> indexes) {
    IDs result;
    for (const std::size_t index : indexes) result.insert(gpus[index].id);
    return result;
  };
  EXPECT_EQ(places.Place3(), ids({0, 1, 2, 3}));
  EXPECT_EQ(places.Place4(Vendor::AMD), ids({2, 3}));
  EXPECT_EQ(places.Place5(ComputeAPI::CUDA), ids({0, 1}));
  EXPECT_EQ(places.Place6(GPUType::Discrete), ids({0, 1, 2, 3}));
  EXPECT_EQ(places.Place7("w6800"), ids({3}));
  EXPECT_EQ(places.Place8(), gpus[0].id);
  EXPECT_EQ(&places.Place9(), gpus.data());
  EXPECT_EQ(places.Place10(gpus[0].id, ComputeAPI::CUDA), ids({1}));
  EXPECT_EQ(&places.Place11(gpus[2].id), &gpus[2]);
  EXPECT_TRUE(places.Place13().empty());
  EXPECT_EQ(places.Place14().os, OS::Windows);
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  EXPECT_TRUE(places.Place15(free, total));
  EXPECT_GT(total, free);
  EXPECT_TRUE(places.Place16(gpus[0].id, free, total));
  EXPECT_EQ(total, 25'165'824'000U);
  places.Place17();
  EXPECT_FALSE(places.Place18("no such folder/result"));
  std::ostringstream stream;
  EXPECT_TRUE(places.Place19(stream));
  std::vector<std::uint8_t> buffer;
  EXPECT_TRUE(places.Place20(buffer));
  EXPECT_EQ(stream.str(), std::string(buffer.begin(), buffer.end()));
}

TEST_F(Unloading, LeavesWhatTheNextLoadNeeds) {
  for (int time = 0; time < 5; ++time) {
    Detector& detector = LoadDetector("five-gpus");
    EXPECT_TRUE(detector.Detect({.KeepMarker = true, .Silent = true}));
    EXPECT_EQ(detector.GetGPUs().size(), 4U);
    std::uint64_t free = 0;
    std::uint64_t total = 0;
    EXPECT_TRUE(detector.GetGPUMemory(detector.GetMainDisplayGPUID(), free, total));
    EXPECT_EQ(total, 25'165'824'000U);
    FreeLibrary(GetModuleHandleA("vexil.dll"));
    EXPECT_EQ(GetModuleHandleA("vexil.dll"), nullptr);
  }
}

}  // namespace
}  // namespace Vexil::Tests
