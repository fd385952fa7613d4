#include "tests/support/MachineTest.h"

extern "C" {
int older_host(char* out, std::size_t room);
int present_host(char* out, std::size_t room);
int newer_host(char* out, std::size_t room);
}

namespace Vexil::Tests {
namespace {

TEST(InterfaceVersions, HostsOfOlderAndNewerOnesGetTheSame) {
  Simulation::SetMachine(LoadTestMachine("five-gpus"));
  char older[4096] = {};
  char present[4096] = {};
  char newer[4096] = {};
  EXPECT_EQ(older_host(older, sizeof(older)), 0);
  EXPECT_EQ(present_host(present, sizeof(present)), 0);
  EXPECT_EQ(newer_host(newer, sizeof(newer)), 0);
  EXPECT_EQ(std::string(present).substr(0, 4), "gpu:");
  EXPECT_STREQ(older, present);
  EXPECT_STREQ(newer, present);
  EndProcess();
}

}  // namespace
}  // namespace Vexil::Tests
