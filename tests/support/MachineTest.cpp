#include "tests/support/MachineTest.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <utility>

#include "Vexil/NVIDIA/NvAPILoader.h"

namespace Vexil::Tests {

MachineTest::MachineTest() : m_log(LogCapture::Start()) {}

MachineTest::~MachineTest() { EndProcess(); }

std::vector<std::string> MachineTest::TakeLog() {
  static const std::regex duration(R"(\d+ ms\.)");
  std::vector<std::string> lines;
  lines.swap(m_log->lines);
  for (std::string& line : lines) line = std::regex_replace(line, duration, "0 ms.");
  return lines;
}

std::vector<std::string> MachineNames() {
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(VEXIL_MACHINES)) {
    if (file.path().extension() == ".json") names.push_back(file.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string ToTestName(const testing::TestParamInfo<std::string>& machine) {
  std::string name = machine.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

Simulation::Machine LoadTestMachine(const std::string& name) {
  return Simulation::LoadMachine(VEXIL_MACHINES "/" + name + ".json");
}

void EndProcess() {
  const Simulation::Observations& seen = Simulation::Observed();
  EXPECT_EQ(seen.misuses, std::vector<std::string>());
  // The library keeps NVAPI up for live memory, and where it cannot be shut down.
  Simulation::Machine machine = Simulation::TheMachine();
  const bool cannot_stop = NvAPI_Unload() == NVAPI_NO_IMPLEMENTATION;
  if (cannot_stop) Simulation::SetMachine(LoadTestMachine("five-gpus"));
  while (NvAPI_Unload() != NVAPI_API_NOT_INITIALIZED) continue;
  if (cannot_stop) Simulation::SetMachine(std::move(machine));
  for (const auto& [library, open] : seen.open) EXPECT_EQ(open, 0) << library;
  for (const auto& [library, up] : seen.up) EXPECT_EQ(up, 0) << library;
  EXPECT_EQ(seen.misuses, std::vector<std::string>());
  Simulation::BeginProcess();
}

bool ShutsDown(std::string_view call) {
  return call == "NvAPI_Unload" || call == "nvmlShutdown" || call == "ADL_Main_Control_Destroy";
}

std::string TemporaryFile(const std::string& name) {
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  return testing::TempDir() + "vexil-" + test.test_suite_name() + "-" + test.name() + "-" + name;
}

}  // namespace Vexil::Tests
