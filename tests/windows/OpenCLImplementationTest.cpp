#include <gtest/gtest.h>

#include <cstdlib>

#include "Vexil/DetectCommon/OpenCLDetector.h"
#include "tests/windows/Wine.h"

namespace Vexil::Tests {
namespace {

// Which OpenCL drivers there are is said by the environment that these tests are started in.

TEST(OpenCLImplementation, IsListedWithItsDevice) {
  const auto gpus = GetOpenCLGPUs().records;
  ASSERT_EQ(gpus.size(), 1U);
  const FlatBuffers::OpenCLGPUT& gpu = *gpus.begin();
  EXPECT_EQ(gpu.platform_name, std::getenv("VEXIL_TEST_OPENCL"));
  EXPECT_NE(gpu.name, "");
  EXPECT_NE(gpu.platform_id, 0U);
  EXPECT_NE(gpu.device_id, 0U);
  EXPECT_GT(gpu.memory_mib, 0);
  EXPECT_GE(gpu.version_major, 1);
  EXPECT_GE(gpu.version_minor, 0);
  EXPECT_NE(gpu.driver_version, "");
  EXPECT_EQ(gpu.pci_bus, -1);
  std::printf("%s: %s, %d MiB, OpenCL %d.%d, driver %s\n", gpu.platform_name.c_str(), gpu.name.c_str(), gpu.memory_mib,
              gpu.version_major, gpu.version_minor, gpu.driver_version.c_str());
}

TEST(OpenCLLoaderWithoutDrivers, ListsNothing) {
  if (!IsWine()) GTEST_SKIP() << "needs a machine without OpenCL";
  EXPECT_TRUE(GetOpenCLGPUs().records.empty());
}

}  // namespace
}  // namespace Vexil::Tests
