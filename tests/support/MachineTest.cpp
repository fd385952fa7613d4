#include "tests/support/MachineTest.h"

#include <algorithm>
#include <filesystem>
#include <regex>

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
  // The library keeps NVAPI up for live memory.
  while (NvAPI_Unload() != NVAPI_API_NOT_INITIALIZED) continue;
  EXPECT_EQ(Simulation::Observed().misuses, std::vector<std::string>());
}

std::string TemporaryFile(const std::string& name) {
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  return testing::TempDir() + "vexil-" + test.test_suite_name() + "-" + test.name() + "-" + name;
}

}  // namespace Vexil::Tests
