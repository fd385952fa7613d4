#include <nlohmann/json.hpp>

#include "simulation/SimulatedPrograms.h"
#include "tests/c_interface/Snapshots.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

using Interfaces::ProcessEnd;

class HelperTest : public testing::Test {
 protected:
  HelperTest() { Simulation::SetMachine(LoadTestMachine("five-gpus")); }
  ~HelperTest() override {
    Simulation::RunProgramsAs(nullptr);
    EndProcess();
  }
};

TEST_F(HelperTest, IsolatedDetectionTellsTheSame) {
  const SnapshotPtr here = MakeSnapshot({.flags = VEXIL_NUMBERS});
  std::vector<std::filesystem::path> started;
  std::vector<std::string> work;
  Simulation::RunProgramsAs([&](const auto& program, const auto& arguments) -> std::optional<ProcessEnd> {
    started.push_back(program);
    work.push_back(arguments.at(1));
    return std::nullopt;
  });
  const SnapshotPtr there = MakeSnapshot({.flags = VEXIL_ISOLATED | VEXIL_NUMBERS});
  EXPECT_EQ(WithoutHandles(JSONOf(there)), WithoutHandles(JSONOf(here)));
  EXPECT_EQ(IdsJSONOf(there), IdsJSONOf(here));
  EXPECT_EQ(started.front(), "vexil.exe");
  EXPECT_EQ(work.front(), "detection");
  EXPECT_GT(work.size(), 5U);

  MakeSnapshot({.flags = VEXIL_ISOLATED, .helper = "C:/els\xC3\xA9where/helper.exe"});
  EXPECT_EQ(started.back(), std::filesystem::path(u8"C:/els\u00E9where/helper.exe"));
}

TEST_F(HelperTest, EachFaultHasItsStatusAndWhatIsKnownIsTold) {
  struct Case {
    ProcessEnd end;
    vexil_status status;
    const char* text;
  };
  const std::string start = "\x1E";
  const std::vector<Case> cases = {
      {{ProcessEnd::NotStarted, 2, ""}, VEXIL_HELPER_MISSING, "its process did not start (error 2)"},
      {{ProcessEnd::TimedOut, 0, "so far"}, VEXIL_HELPER_TIMED_OUT, "hung and was ended after 30 s"},
      {{ProcessEnd::Ended, 0xC0000005, ""}, VEXIL_HELPER_CRASHED, "crashed after 0 ms (0xC0000005)"},
      {{ProcessEnd::Ended, 2, "usage"}, VEXIL_HELPER_NO_ANSWER, "ended with status 2 after 0 ms"},
      {{ProcessEnd::Ended, 0, ""}, VEXIL_HELPER_NO_ANSWER, "ended without an answer"},
      {{ProcessEnd::Ended, 0, start + "{\"result\""}, VEXIL_HELPER_NO_ANSWER, "ended without an answer"},
      {{ProcessEnd::Ended, 0, start + "[1]\n"}, VEXIL_HELPER_NO_ANSWER, "ended without an answer"},
      {{ProcessEnd::Ended, 0, start + "{}\n"}, VEXIL_HELPER_NO_ANSWER, "ended without an answer"},
      {{ProcessEnd::Ended, 0, start + "{\"result\": 7}\n"}, VEXIL_HELPER_NO_ANSWER, "ended without an answer"},
      {{ProcessEnd::Ended, 0, start + "{\"result\": \"0z\"}\n"}, VEXIL_HELPER_NO_ANSWER, "ended without an answer"},
      {{ProcessEnd::Ended, 0, start + "{\"result\": \"00ff00ff00ff00ff\"}\n"},
       VEXIL_HELPER_NO_ANSWER,
       "ended without an answer"},
  };
  for (const Case& c : cases) {
    const auto as_in_case = [&](const auto&, const auto&) { return std::optional(c.end); };
    const auto only_detection = [&](const auto&, const auto& arguments) {
      return arguments.at(1) == "detection" ? std::optional(c.end) : std::nullopt;
    };

    Simulation::RunProgramsAs(as_in_case);
    SnapshotPtr snapshot = MakeSnapshot({.flags = VEXIL_ISOLATED, .helper = "h.exe", .expected = c.status});
    EXPECT_EQ(vexil_last_error(), std::string("the helper \"h.exe\": ") + c.text);
    EXPECT_EQ(vexil_gpu_count(snapshot.get()), 0U);
    EXPECT_EQ(nlohmann::json::parse(JSONOf(snapshot))["version"], 1);

    // The numbers alone need it: the GPUs are known.
    snapshot = MakeSnapshot({.flags = VEXIL_NUMBERS, .expected = c.status});
    EXPECT_EQ(GPUOf(snapshot, 0).pci_bus, 1);
    EXPECT_EQ(GPUOf(snapshot, 0).dxgi_number, -1);

    // The interfaces answered: their devices are known.
    Simulation::RunProgramsAs(only_detection);
    snapshot = MakeSnapshot({.flags = VEXIL_ISOLATED | VEXIL_NUMBERS, .expected = c.status});
    EXPECT_GT(nlohmann::json::parse(IdsJSONOf(snapshot))["none_of_these"].size(), 5U);
  }
}

TEST_F(HelperTest, AnInterfaceWhoseDriverCrashesIsNoFailure) {
  Simulation::RunProgramsAs([](const auto&, const auto& arguments) -> std::optional<ProcessEnd> {
    if (arguments.back() != "CUDA") return std::nullopt;
    return ProcessEnd{ProcessEnd::Ended, 0xC0000005, {}};
  });
  const SnapshotPtr snapshot = MakeSnapshot({.flags = VEXIL_NUMBERS});
  EXPECT_EQ(GPUOf(snapshot, 0).cuda_number, -1);
  EXPECT_EQ(GPUOf(snapshot, 0).dxgi_number, 0);
}

}  // namespace
}  // namespace Vexil::Tests
