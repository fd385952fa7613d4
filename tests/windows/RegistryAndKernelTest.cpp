#include <gtest/gtest.h>
#include <windows.h>

#include "Vexil/Platform/Kernel.h"
#include "Vexil/Platform/Registry.h"
#include "tests/windows/ImportPatch.h"

namespace Vexil::Tests {
namespace {

TEST(Registry, GivesTextsAndNothingElse) {
  const std::string key = "Software\\VexilTest";
  if (RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), "Value", REG_SZ, "", 1) == ERROR_ACCESS_DENIED) {
    GTEST_SKIP() << "needs administrator rights";
  }
  const auto read_back = [&](DWORD type, const std::string& data) {
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), "Value", type, data.data(), static_cast<DWORD>(data.size()));
    return ReadRegistryString(key, "Value");
  };
  const std::string nul(1, '\0');
  EXPECT_EQ(read_back(REG_SZ, "Maker" + nul), "Maker");
  EXPECT_EQ(read_back(REG_SZ, "no end"), "no end");
  EXPECT_EQ(read_back(REG_MULTI_SZ, "First" + nul + "Second" + nul + nul), "First");
  EXPECT_EQ(read_back(REG_SZ, std::string(4094, 'x') + nul), std::string(4094, 'x'));
  EXPECT_EQ(read_back(REG_SZ, std::string(4095, 'x') + nul), "");
  EXPECT_EQ(read_back(REG_BINARY, "Maker" + nul), "");
  EXPECT_EQ(ReadRegistryString(key, "Missing"), "");
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, key.c_str());
  EXPECT_EQ(ReadRegistryString(key, "Value"), "");
}

TEST(PhysicalMemory, IsUnknownWhereWindowsDoesNotTell) {
  const auto memory = GetPhysicalMemory();
  ASSERT_TRUE(memory);
  EXPECT_GT(memory->available, 0U);
  EXPECT_GT(memory->total, memory->available);

  const ImportPatch patch(
      "GlobalMemoryStatusEx", +[](MEMORYSTATUSEX*) { return FALSE; });
  EXPECT_FALSE(GetPhysicalMemory());
}

}  // namespace
}  // namespace Vexil::Tests
