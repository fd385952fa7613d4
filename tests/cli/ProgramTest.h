#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/MachineTest.h"

namespace Vexil::Tests {

struct Answer {
  int status;
  std::string out;
  std::string err;
};

/// Runs the program on a simulated machine.
class ProgramTest : public testing::Test {
 protected:
  /// One call of the program, with a Detector of its own as in a process of its own.
  static Answer Run(std::vector<std::string> arguments);

  /// What the machine's detection packs.
  static std::vector<std::uint8_t> Detect();

  static void WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes);
};

}  // namespace Vexil::Tests
