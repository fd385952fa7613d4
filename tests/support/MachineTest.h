#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Vexil/DetectorImpl.h"
#include "simulation/LoadMachine.h"
#include "simulation/Simulation.h"
#include "tests/support/LogCapture.h"

namespace Vexil::Tests {

/// A Detector of the test's own.
class TestDetector : public Detector {};

/// A test that runs on simulated machines and reads the log. It ends as a process does, with nothing left up.
class MachineTest : public testing::Test {
 protected:
  MachineTest();
  ~MachineTest() override;

  /// The log since the last call. Durations read "0 ms".
  std::vector<std::string> TakeLog();

 private:
  std::shared_ptr<LogCapture> m_log;
};

/// The machines of tests/machines, in alphabetical order, and one of them.
std::vector<std::string> MachineNames();
Simulation::Machine LoadTestMachine(const std::string& name);

/// A machine's name as a part of a test's.
std::string ToTestName(const testing::TestParamInfo<std::string>& machine);

/// Ends as a process does. Until then every library must have been closed, every driver shut down and none misused.
void EndProcess();

/// Whether this call shuts a driver down. Destructors call it, and nobody could catch what is thrown there.
bool ShutsDown(std::string_view call);

/// A file that no other test uses.
std::string TemporaryFile(const std::string& name);

}  // namespace Vexil::Tests
