#include "MachineTest.h"

#include <regex>

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

Simulation::Machine LoadTestMachine(const std::string& name) {
  return Simulation::LoadMachine(VEXIL_MACHINES "/" + name + ".json");
}

void EndProcess() {
  Simulation::EndProcess();
  EXPECT_EQ(Simulation::Observed().misuses, std::vector<std::string>());
}

std::string TemporaryFile(const std::string& name) {
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  return testing::TempDir() + "vexil-" + test.test_suite_name() + "-" + test.name() + "-" + name;
}

}  // namespace Vexil::Tests
