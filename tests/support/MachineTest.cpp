#include "MachineTest.h"

#include <regex>

namespace Vexil::Tests {

MachineTest::MachineTest() : m_log(LogCapture::Start()) {}

MachineTest::~MachineTest() {
  Simulation::EndProcess();
  EXPECT_EQ(Simulation::Observed().misuses, std::vector<std::string>());
}

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

}  // namespace Vexil::Tests
