#include <log4cxx/logger.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "Vexil/Common/Log.h"
#include "Vexil/Common/Progress.h"
#include "Vexil/Results/LiveMemory.h"
#include "Vexil/SystemInfo/WindowsSystemInfo.h"
#include "Vexil/Version.h"
#include "simulation/SimulatedLibraries.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::GPUType;
using FlatBuffers::Vendor;
using Simulation::Machine;
using Simulation::Observed;
using Simulation::SetMachine;
using IDs = std::unordered_set<std::string>;
using Texts = std::vector<std::string>;

class DetectionRun : public MachineTest {
 protected:
  TestDetector m_detector;
};

/// A driver's version text with a number that is no int stops the run with an exception.
Machine MachineThatThrows() {
  Machine machine = LoadTestMachine("five-gpus");
  machine.opencl->platforms[1].version = "OpenCL 99999999999.0";
  return machine;
}

TEST_F(DetectionRun, WithoutAnyGPUHasFailedAndIsNotRepeated) {
  SetMachine(LoadTestMachine("none"));
  EXPECT_EQ(m_detector.GetGPUIDs(), IDs());
  const Texts log = TakeLog();
  EXPECT_EQ(log.back(), "ERROR No matched GPUs found.");
  // A source that finds nothing says so.
  ForEachSource([&](const auto& source) {
    const std::string line = std::string("DEBUG   - ") + source.log_name + ": 0 detected in 0 ms.";
    EXPECT_TRUE(source.name == std::string("Win32") || std::count(log.begin(), log.end(), line) == 1) << line;
  });
  const auto calls = Observed().calls;
  EXPECT_EQ(m_detector.GetMainDisplayGPUID(), "");
  EXPECT_EQ(m_detector.GetMainDisplayGPU().name, "Invalid");
  EXPECT_EQ(m_detector.GetGPU("").id, "");
  EXPECT_EQ(m_detector.GetSystem().model, "Supermicro X11DPi-N");
  std::vector<std::uint8_t> buffer;
  EXPECT_TRUE(m_detector.Serialize(buffer));
  EXPECT_EQ(FlatBuffers::GetDetectionResult(buffer.data())->library_version()->str(), kLibraryVersion);
  EXPECT_EQ(Observed().calls, calls);

  SetMachine(LoadTestMachine("hybrid-laptop"));
  EXPECT_EQ(m_detector.GetGPUs().size(), 0U);
  EXPECT_TRUE(m_detector.Detect({}));
  EXPECT_EQ(m_detector.GetGPUs().size(), 2U);
}

TEST_F(DetectionRun, ThatThrowsLeavesTheStateAndTheLogAsTheyWere) {
  SetMachine(MachineThatThrows());
  EXPECT_THROW(m_detector.GetGPUs(), std::out_of_range);
  EXPECT_THROW(m_detector.GetGPUs(), std::out_of_range);
  SetMachine(LoadTestMachine("five-gpus"));
  EXPECT_EQ(m_detector.GetGPUs().size(), 5U);

  const auto logger = log4cxx::Logger::getLogger("Vexil");
  for (const auto& level : {log4cxx::LevelPtr(), log4cxx::Level::getInfo()}) {
    logger->setLevel(level);
    TakeLog();
    SetMachine(MachineThatThrows());
    EXPECT_THROW(m_detector.Detect({.KeepMarker = true, .Silent = true}), std::out_of_range);
    EXPECT_EQ(TakeLog(), Texts());
    EXPECT_EQ(logger->getLevel(), level);
  }
  logger->setLevel(nullptr);
  // The first run's success stands, but what it found is gone; the system is this run's.
  const auto calls = Observed().calls;
  EXPECT_TRUE(m_detector.GetGPUIDs().empty());
  EXPECT_TRUE(m_detector.GetMonitors().empty());
  EXPECT_EQ(m_detector.GetSystem().model, "ASUSTeK Pro WS W680-ACE");
  EXPECT_EQ(Observed().calls, calls);
}

TEST_F(DetectionRun, ReplacesWhatTheOneBeforeFound) {
  std::uint64_t free = 1;
  std::uint64_t total = 1;
  SetMachine(LoadTestMachine("five-gpus"));
  EXPECT_TRUE(m_detector.Detect({}));
  const IDs old_ids = m_detector.GetGPUIDs();
  const std::string old_id = m_detector.GetMainDisplayGPUID();
  EXPECT_EQ(old_ids.size(), 5U);
  for (const char* machine : {"none", "hybrid-laptop"}) {
    SetMachine(LoadTestMachine(machine));
    const bool has_gpus = machine != std::string("none");
    EXPECT_EQ(m_detector.Detect({}), has_gpus);
    const IDs ids = m_detector.GetGPUIDs();
    EXPECT_EQ(ids.size(), has_gpus ? 2U : 0U);
    for (const std::string& id : ids) EXPECT_FALSE(old_ids.contains(id));
    EXPECT_EQ(m_detector.GetMainDisplayGPUID().empty(), !has_gpus);
    EXPECT_NE(m_detector.GetMainDisplayGPUID(), old_id);
    EXPECT_EQ(m_detector.GetGPU(old_id).name, "Invalid");
    EXPECT_EQ(m_detector.GetMonitors().empty(), !has_gpus);
    EXPECT_FALSE(m_detector.GetGPUMemory(old_id, free, total));
    EXPECT_EQ(free + total, 2U);
    std::vector<std::uint8_t> buffer;
    m_detector.Serialize(buffer);
    const auto* gpus = FlatBuffers::GetDetectionResult(buffer.data())->gpus();
    EXPECT_EQ(gpus != nullptr ? gpus->size() : 0, ids.size());
  }
}

TEST_F(DetectionRun, IsStartedByTheFirstOperationThatNeedsResults) {
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  std::ostringstream stream;
  std::vector<std::uint8_t> buffer;
  const struct {
    std::function<void(Detector&)> operation;
    int runs;
  } kCases[] = {
      {[](Detector& vexil) { vexil.GetVersion(); }, 0},
      {[](Detector& vexil) { vexil.Reserved(); }, 0},
      {[&](Detector& vexil) { vexil.GetSystemMemory(free, total); }, 0},
      {[](Detector& vexil) { vexil.Detect({}); }, 1},
      {[](Detector& vexil) { vexil.GetGPUIDs(); }, 1},
      {[](Detector& vexil) { vexil.GetGPUIDsByVendor(Vendor::AMD); }, 1},
      {[](Detector& vexil) { vexil.GetGPUIDsByAPI(ComputeAPI::CUDA); }, 1},
      {[](Detector& vexil) { vexil.GetGPUIDsByType(GPUType::Discrete); }, 1},
      {[](Detector& vexil) { vexil.FindGPUIDs("gpu"); }, 1},
      {[](Detector& vexil) { vexil.GetMainDisplayGPUID(); }, 1},
      {[](Detector& vexil) { vexil.GetMainDisplayGPU(); }, 1},
      {[](Detector& vexil) { vexil.GetPeerGPUIDs("gpu:", ComputeAPI::CUDA); }, 1},
      {[](Detector& vexil) { vexil.GetGPU("gpu:"); }, 1},
      {[](Detector& vexil) { vexil.GetGPUs(); }, 1},
      {[](Detector& vexil) { vexil.GetMonitors(); }, 1},
      {[](Detector& vexil) { vexil.GetSystem(); }, 1},
      {[&](Detector& vexil) { vexil.GetGPUMemory("gpu:", free, total); }, 1},
      {[](Detector& vexil) { vexil.SaveToFile(TemporaryFile("result")); }, 1},
      {[&](Detector& vexil) { vexil.WriteTo(stream); }, 1},
      {[&](Detector& vexil) { vexil.Serialize(buffer); }, 1},
  };
  SetMachine(LoadTestMachine("intel-only"));
  for (const auto& test_case : kCases) {
    TestDetector detector;
    test_case.operation(detector);
    const Texts log = TakeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), std::string("INFO Starting Vexil ") + kLibraryVersion), test_case.runs)
        << "operation " << &test_case - kCases;
  }
}

// What a crash is blamed on has to be said before each call, whatever way the call takes.
TEST_F(DetectionRun, SaysWhatItIsAboutToAsk) {
  static Texts sources;
  static std::string call;
  constexpr ProgressWatcher watcher = {[](const char* name) { sources.emplace_back(name != nullptr ? name : "end"); },
                                       [](const char* name) { call = name; }};
  SetMachine(LoadTestMachine("five-gpus"));
  std::set<std::string> unsaid;
  Simulation::WatchCalls([&](std::uint64_t, std::string_view made, std::string_view parameter) {
    const auto libraries = Simulation::AllLibraries();
    const bool is_of_driver = std::any_of(libraries.begin(), libraries.end(), [&](const auto* library) {
      return Simulation::Offers(*library, std::string(made));
    });
    if (is_of_driver && call != made) unsaid.emplace(made);
    if (made == "LoadLibrary" && call != parameter) unsaid.emplace(parameter);
    return false;
  });
  progress_watcher = &watcher;
  m_detector.Detect({.Silent = true});
  progress_watcher = nullptr;
  EXPECT_EQ(unsaid, std::set<std::string>());
  Texts expected = {kSystemInformation};
  ForEachSource([&](const auto& source) { expected.emplace_back(source.name); });
  expected.emplace_back("end");
  EXPECT_EQ(sources, expected);
}

TEST_F(DetectionRun, LoadsAndStartsEachDriverOnce) {
  SetMachine(LoadTestMachine("five-gpus"));
  m_detector.Detect({});
  const std::map<std::string, int> once = {{"nvcuda.dll", 1}, {"nvml.dll", 1}, {"nvapi64.dll", 1}, {"atiadlxx.dll", 1}};
  EXPECT_EQ(Observed().starts, once);
  auto loads = once;
  loads["OpenCL.dll"] = 1;
  EXPECT_EQ(Observed().loads, loads);
}

/// What a host may attach to the log.
class HostAppender : public LogCapture {
 public:
  std::function<void()> work;

 protected:
  void append(const log4cxx::spi::LoggingEventPtr& /*event*/, log4cxx::helpers::Pool& /*pool*/) override { work(); }
};

TEST_F(DetectionRun, BearsTheAppendersOfItsHost) {
  const auto appender = std::make_shared<HostAppender>();
  const auto logger = log4cxx::Logger::getLogger("Vexil");
  logger->addAppender(appender);
  SetMachine(LoadTestMachine("five-gpus"));

  const auto lost = LostLogLines();
  appender->work = [] { throw std::runtime_error("The disk is full."); };
  EXPECT_TRUE(m_detector.Detect({}));
  EXPECT_GT(LostLogLines(), lost + 40);

  std::set<int> errors;
  std::uint64_t available = 0;
  std::uint64_t total = 0;
  appender->work = [&] {
    EXPECT_TRUE(m_detector.GetSystemMemory(available, total));
    try {
      m_detector.GetGPUs();
    } catch (const std::system_error& error) {
      errors.insert(error.code().value());
    }
  };
  EXPECT_TRUE(m_detector.Detect({}));
  EXPECT_EQ(errors, std::set<int>{static_cast<int>(std::errc::resource_deadlock_would_occur)});
  logger->removeAppender(appender);
  EXPECT_EQ(m_detector.GetGPUs().size(), 5U);
}

TEST_F(DetectionRun, BearsDriversThatThrow) {
  const auto detect = [this] {
    m_detector.Detect({.KeepMarker = false, .Silent = true});
    std::vector<std::uint8_t> buffer;
    m_detector.Serialize(buffer);
    return buffer;
  };
  SetMachine(LoadTestMachine("five-gpus"));
  const auto sound = detect();
  const std::uint64_t calls = Observed().calls;
  for (std::uint64_t place = 1; place <= calls; ++place) {
    SetMachine(LoadTestMachine("five-gpus"));
    std::string thrower;
    Simulation::WatchCalls([&](std::uint64_t number, std::string_view call, auto) {
      if (number != place || ShutsDown(call)) return false;
      thrower = call;
      throw std::runtime_error("A driver has thrown.");
    });
    try {
      detect();
      EXPECT_EQ(thrower, "");
    } catch (const std::runtime_error&) {
      EXPECT_NE(thrower, "");
    }
    // Nothing else is left open or up, and the Detector still works.
    EndProcess();
    if (place % 50 != 0) continue;
    SetMachine(LoadTestMachine("five-gpus"));
    EXPECT_EQ(detect(), sound) << thrower;
  }
}

TEST_F(DetectionRun, CanBeSilent) {
  SetMachine(LoadTestMachine("five-gpus"));
  EXPECT_TRUE(m_detector.Detect({.KeepMarker = false, .Silent = true}));
  EXPECT_EQ(TakeLog(), Texts());
  // Nor is NVAPI kept up for live figures that nobody reads.
  EXPECT_EQ(Observed().up.at("nvapi64.dll"), 0);
}

TEST_F(DetectionRun, AsksNoDriverForReportLinesThatNobodyWants) {
  const auto logger = log4cxx::Logger::getLogger("Vexil");
  logger->setLevel(log4cxx::Level::getWarn());
  Machine machine = LoadTestMachine("hybrid-laptop");
  machine.opencl.reset();
  SetMachine(machine);
  EXPECT_TRUE(m_detector.Detect({}));
  EXPECT_EQ(TakeLog(), Texts(2, "WARN     Warning: No OpenCL match."));
  EXPECT_EQ(Observed().up.at("nvapi64.dll"), 0);
  logger->setLevel(nullptr);
}

TEST_F(DetectionRun, HappensOnceForManyThreads) {
  SetMachine(LoadTestMachine("five-gpus"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      const std::string id = m_detector.GetMainDisplayGPUID();
      std::uint64_t free = 0;
      std::uint64_t total = 0;
      EXPECT_TRUE(m_detector.GetGPUMemory(id, free, total));
    });
  }
  for (std::thread& thread : threads) thread.join();
  const Texts log = TakeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), std::string("INFO Starting Vexil ") + kLibraryVersion), 1);
}

TEST_F(DetectionRun, TriesAnAdapterWithoutProviderAgainAtItsNextOutput) {
  SetMachine(LoadTestMachine("five-gpus"));
  Simulation::WatchCalls([first = true](auto, std::string_view call, std::string_view value) mutable {
    return call == "RegGetValue" && value == "ProviderName" && std::exchange(first, false);
  });
  Detector::Impl run;
  run.Detect();
  const auto& win32 = run.detectors_output.win32;
  ASSERT_EQ(win32.size(), 5U);
  EXPECT_EQ(win32[0]->device_names, (Texts{R"(\\.\DISPLAY2)", R"(\\.\DISPLAY3)"}));
}

TEST_F(DetectionRun, NamesMonitorsThatHaveNoName) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.desktop[0].monitors[0].description.clear();
  SetMachine(machine);
  EXPECT_EQ(m_detector.GetMonitors().front().name, "Monitor");
}

TEST_F(DetectionRun, AnswersFilters) {
  SetMachine(LoadTestMachine("five-gpus"));
  const auto& gpus = m_detector.GetGPUs();
  const auto ids = [&](std::initializer_list<std::size_t> places) {
    IDs result;
    for (const std::size_t place : places) result.insert(gpus[place].id);
    return result;
  };
  EXPECT_EQ(m_detector.GetGPUIDs(), ids({0, 1, 2, 3, 4}));
  EXPECT_EQ(m_detector.GetGPUIDsByVendor(Vendor::AMD), ids({2, 3}));
  EXPECT_EQ(m_detector.GetGPUIDsByVendor(Vendor::Apple), ids({}));
  EXPECT_EQ(m_detector.GetGPUIDsByType(GPUType::Integrated), ids({4}));
  EXPECT_EQ(m_detector.GetGPUIDsByAPI(ComputeAPI::CUDA), ids({0, 1}));
  EXPECT_EQ(m_detector.GetGPUIDsByAPI(ComputeAPI::OpenCL), ids({0, 1, 2, 3, 4}));

  EXPECT_EQ(m_detector.FindGPUIDs(""), ids({0, 1, 2, 3, 4}));
  EXPECT_EQ(m_detector.FindGPUIDs("nvidia geforce"), ids({0, 1}));
  EXPECT_EQ(m_detector.FindGPUIDs("770 INTEGRATED"), ids({4}));
  EXPECT_EQ(m_detector.FindGPUIDs(gpus[2].id + " AMD"), ids({2}));
  EXPECT_EQ(m_detector.FindGPUIDs("PCI:"), ids({}));

  EXPECT_EQ(m_detector.GetPeerGPUIDs(gpus[0].id, ComputeAPI::CUDA), ids({1}));
  EXPECT_EQ(m_detector.GetPeerGPUIDs(gpus[3].id, ComputeAPI::OpenCL), ids({2}));
  EXPECT_EQ(m_detector.GetPeerGPUIDs(gpus[0].id, ComputeAPI::OpenCL), ids({}));
  EXPECT_EQ(m_detector.GetPeerGPUIDs(gpus[0].id, ComputeAPI::Unknown), ids({}));
  EXPECT_EQ(m_detector.GetPeerGPUIDs("gpu:", ComputeAPI::CUDA), ids({}));

  EXPECT_EQ(m_detector.GetMainDisplayGPUID(), gpus[0].id);
  EXPECT_EQ(&m_detector.GetMainDisplayGPU(), &gpus.front());
  EXPECT_EQ(&m_detector.GetGPU(gpus[3].id), &gpus[3]);
  EXPECT_EQ(m_detector.GetGPU(gpus[3].id + "0").name, "Invalid");
}

TEST_F(DetectionRun, TellsLiveMemory) {
  Machine machine = LoadTestMachine("five-gpus");
  SetMachine(machine);
  const auto memory = [this](const std::string& id) {
    std::uint64_t free = 1;
    std::uint64_t total = 1;
    const bool known = m_detector.GetGPUMemory(id, free, total);
    return std::string(known ? "told " : "unknown ") + std::to_string(free) + " of " + std::to_string(total);
  };
  const auto gpus = m_detector.GetGPUs();
  EXPECT_EQ(memory(gpus[1].id), "told 24903680000 of 25165824000");
  EXPECT_EQ(memory(gpus[2].id), "told 15990784000 of 17163091968");
  EXPECT_EQ(memory(gpus[4].id), "unknown 1 of 1");
  EXPECT_EQ(memory("gpu:"), "unknown 1 of 1");
  machine.failures = {{"NvAPI_GPU_GetMemoryInfo", {}}, {"clGetDeviceInfo 0x4039", {}}};
  SetMachine(machine);
  EXPECT_EQ(memory(gpus[1].id), "unknown 0 of 0");
  EXPECT_EQ(memory(gpus[2].id), "unknown 0 of 0");
}

TEST_F(DetectionRun, AsksNoDriverForMemoryThatItCannotTell) {
  SetMachine(LoadTestMachine("five-gpus"));
  FlatBuffers::MatchedGPUT matched;
  matched.gpu = std::make_shared<GPUT>();
  matched.nvapi = std::make_shared<FlatBuffers::NvAPIGPUT>();
  matched.opencl = std::make_shared<FlatBuffers::OpenCLGPUT>();
  const auto is_asked = [&](Vendor vendor, std::uint64_t handle, std::uint64_t device, bool amd_attribute_query) {
    matched.gpu->vendor = vendor;
    matched.nvapi->handle = handle;
    matched.opencl->device_id = device;
    matched.opencl->amd_attribute_query = amd_attribute_query;
    std::uint64_t free = 1;
    std::uint64_t total = 1;
    return QueryGPUMemory(matched, free, total) || free != 1 || total != 1;
  };
  EXPECT_TRUE(is_asked(Vendor::NVIDIA, 1, 0, false));
  EXPECT_FALSE(is_asked(Vendor::NVIDIA, 0, 1, true));
  EXPECT_TRUE(is_asked(Vendor::AMD, 0, 1, true));
  EXPECT_FALSE(is_asked(Vendor::AMD, 1, 1, false));
  EXPECT_FALSE(is_asked(Vendor::AMD, 1, 0, true));
  EXPECT_FALSE(is_asked(Vendor::Intel, 1, 1, true));
}

TEST_F(DetectionRun, TellsSystemMemoryWhileADriverHangs) {
  SetMachine(LoadTestMachine("five-gpus"));
  std::promise<void> is_inside;
  std::promise<void> may_return;
  Simulation::WatchCalls([&](auto, std::string_view call, auto) {
    if (call != "cuDeviceGetCount") return false;
    is_inside.set_value();
    may_return.get_future().wait();
    return false;
  });
  std::thread run([this] { EXPECT_TRUE(m_detector.Detect({})); });
  is_inside.get_future().wait();
  std::uint64_t available = 0;
  std::uint64_t total = 0;
  EXPECT_TRUE(m_detector.GetSystemMemory(available, total));
  EXPECT_EQ(total >> 20, 130836U);
  may_return.set_value();
  run.join();
}

TEST_F(DetectionRun, TellsSystemMemoryWithoutDetecting) {
  Machine machine = LoadTestMachine("five-gpus");
  std::uint64_t available = 1;
  std::uint64_t total = 1;
  SetMachine(machine);
  EXPECT_TRUE(m_detector.GetSystemMemory(available, total));
  EXPECT_EQ(available >> 20, 98304U);
  EXPECT_EQ(total >> 20, 130836U);
  EXPECT_EQ(Observed().calls, 1U);
  machine.memory.reset();
  SetMachine(machine);
  EXPECT_FALSE(m_detector.GetSystemMemory(available, total));
  EXPECT_EQ(total >> 20, 130836U);
}

// Two cards cannot be at one place, but drivers may say so.
TEST_F(DetectionRun, KeepsGPUsWithOneIdentifier) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.nvapi->gpus[1].pci = machine.nvapi->gpus[0].pci;
  SetMachine(machine);
  const auto& gpus = m_detector.GetGPUs();
  ASSERT_EQ(gpus.size(), 5U);
  ASSERT_EQ(gpus[0].id, gpus[1].id);
  EXPECT_EQ(&m_detector.GetGPU(gpus[0].id), &gpus.front());
  std::uint64_t free = 0;
  std::uint64_t total = 0;
  EXPECT_TRUE(m_detector.GetGPUMemory(gpus[0].id, free, total));
  EXPECT_EQ(free, 24903680'000U);
}

TEST_F(DetectionRun, WritesOneBufferEverywhere) {
  SetMachine(LoadTestMachine("five-gpus"));
  std::vector<std::uint8_t> buffer(3, 0xFF);
  std::ostringstream stream;
  EXPECT_TRUE(m_detector.Serialize(buffer));
  EXPECT_TRUE(m_detector.WriteTo(stream));
  EXPECT_EQ(stream.str(), std::string(buffer.begin(), buffer.end()));
  EXPECT_FALSE(m_detector.SaveToFile(testing::TempDir() + "no-such-folder/result"));
  const std::string path = TemporaryFile("cut-off");
  std::filesystem::remove(path);
  EXPECT_FALSE(m_detector.SaveToFile(path + '\0' + ".vexil"));
  EXPECT_FALSE(std::filesystem::exists(path));
  stream.setstate(std::ios::badbit);
  EXPECT_FALSE(m_detector.WriteTo(stream));
  flatbuffers::Verifier verifier(buffer.data(), buffer.size());
  EXPECT_TRUE(FlatBuffers::VerifyDetectionResultBuffer(verifier));
}

TEST_F(DetectionRun, TellsTheSystem) {
  const struct {
    const char *product, *build, *maker, *board;
    const char *os_version, *model;
  } kCases[] = {
      {"Windows 10 Home", "21999", "ASUSTeK COMPUTER INC.", "X570", "10 Home (Build 21999)", "ASUSTeK X570"},
      {"Windows 10 Home", " 22000 ", "  ", " X570 ", "11 Home (Build 22000)", "X570"},
      {"windows 10 pro", "22621", "Dell", "", "11 pro (Build 22621)", "Dell"},
      {"Windows 10 Pro", "new", "", "", "10 Pro (Build new)", ""},
      {"", "", "", "", " (Build )", ""},
  };
  for (const auto& test_case : kCases) {
    Machine machine;
    auto& registry = machine.registry;
    registry[{R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", "ProductName"}] = test_case.product;
    registry[{R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", "CurrentBuildNumber"}] = test_case.build;
    registry[{R"(HARDWARE\DESCRIPTION\System\BIOS)", "BaseBoardManufacturer"}] = test_case.maker;
    registry[{R"(HARDWARE\DESCRIPTION\System\BIOS)", "BaseBoardProduct"}] = test_case.board;
    SetMachine(machine);
    Account account;
    const FlatBuffers::SystemT system = GetWindowsSystemInfo(account);
    EXPECT_EQ(system.os_version, test_case.os_version);
    EXPECT_EQ(system.model, test_case.model);
    EXPECT_EQ(system.ram_mib, -1);
  }
}

}  // namespace
}  // namespace Vexil::Tests
