#include <vexil.hpp>

#include "simulation/SimulatedPrograms.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

class WrapperTest : public testing::Test {
 protected:
  WrapperTest() { Simulation::SetMachine(LoadTestMachine("five-gpus")); }
  ~WrapperTest() override {
    Simulation::RunProgramsAs(nullptr);
    EndProcess();
  }
};

TEST_F(WrapperTest, TextsOutliveTheSnapshotObject) {
  std::vector<std::string_view> names;
  std::vector<vexil::GPU> gpus;
  for (const vexil::GPU& gpu : vexil::Detect().GPUs()) gpus.push_back(gpu);
  for (const vexil::GPU& gpu : gpus) names.push_back(gpu.name);
  EXPECT_EQ(names, (std::vector<std::string_view>{"GeForce RTX 3090", "GeForce RTX 3090", "Radeon RX 6800 XT",
                                                  "Radeon PRO W6800", "UHD Graphics 770"}));
  const vexil::System system = vexil::Detect().GetSystem();
  EXPECT_EQ(system.cpu_threads, 24);
  EXPECT_NE(system.os_version, "");
}

TEST_F(WrapperTest, WhatIsUnknownIsNothing) {
  const vexil::Snapshot snapshot = vexil::Detect({false, true, {}, {}, {}});
  const auto gpus = snapshot.GPUs();
  EXPECT_EQ(gpus[0].cuda_number, 0);
  EXPECT_EQ(gpus[4].cuda_number, std::nullopt);
  ASSERT_TRUE(gpus[0].opencl_number);
  EXPECT_EQ(gpus[0].opencl_number->first, 0);
  EXPECT_EQ(gpus[0].level_zero_number.has_value(), false);
  EXPECT_EQ(gpus[4].Memory().has_value(), false);
  EXPECT_GT(gpus[0].Memory().value().total_bytes, 20'000'000'000U);
  EXPECT_GT(vexil::SystemMemory().value().total_bytes, 0U);
  EXPECT_EQ(snapshot.Monitors().front().gpu_index, 0);

  const auto [data, size] = snapshot.Buffer();
  EXPECT_EQ(vexil::Snapshot::LoadBuffer(data, size).JSON(), snapshot.JSON());
  EXPECT_NE(snapshot.IdsJSON(), "");
}

TEST_F(WrapperTest, FailuresAreExceptions) {
  try {
    vexil::Snapshot::Load("/no/such/file");
    FAIL();
  } catch (const vexil::Error& error) {
    EXPECT_EQ(error.Status(), VEXIL_UNREADABLE);
    EXPECT_NE(error.what(), std::string());
    EXPECT_EQ(error.Known(), nullptr);
  }

  Simulation::RunProgramsAs([](const auto&, const auto&) {
    return std::optional<Interfaces::ProcessEnd>({Interfaces::ProcessEnd::TimedOut, 0, {}});
  });
  try {
    vexil::Detect({false, true, {}, {}, {}});
    FAIL();
  } catch (const vexil::Error& error) {
    EXPECT_EQ(error.Status(), VEXIL_HELPER_TIMED_OUT);
    EXPECT_NE(std::string(error.what()).find("hung"), std::string::npos);
    ASSERT_NE(error.Known(), nullptr);
    EXPECT_EQ(error.Known()->GPUs().size(), 5U);
  }
}

TEST_F(WrapperTest, LogFunctionsMayThrow) {
  vexil::Options options;
  int lines = 0;
  options.log = [&](vexil::LogLevel, std::string_view) {
    ++lines;
    throw std::logic_error("enough");
  };
  EXPECT_THROW(vexil::Detect(options), std::logic_error);
  EXPECT_EQ(lines, 1);
}

}  // namespace
}  // namespace Vexil::Tests
