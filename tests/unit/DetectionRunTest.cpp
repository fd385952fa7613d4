#include "MachineTest.h"

namespace Vexil::Tests {
namespace {

using Simulation::SetMachine;

class DetectionRun : public MachineTest {};

TEST_F(DetectionRun, Report) {
  SetMachine(LoadTestMachine("five-gpus"));
  TestDetector detector;
  EXPECT_TRUE(detector.Detect({}));
  for (const auto& line : TakeLog()) std::puts(line.c_str());
}

}  // namespace
}  // namespace Vexil::Tests
