#include <Vexil/Vexil.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <regex>

#include "Vexil/Version.h"
#include "tests/windows/Module.h"
#include "tests/windows/Wine.h"

namespace Vexil::Tests {
namespace {

using Texts = std::vector<std::string>;

TEST(FinishedLibrary, ExportsItsOneFunctionAndWhatDriversLookFor) {
  const HMODULE library = LoadLibraryA("vexil.dll");
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(ExportsOf(library), (Texts{"AmdPowerXpressRequestHighPerformance", "GetInstance", "NvOptimusEnablement"}));
  for (const char* symbol : {"NvOptimusEnablement", "AmdPowerXpressRequestHighPerformance"}) {
    const auto* value = reinterpret_cast<const std::int32_t*>(reinterpret_cast<void*>(GetProcAddress(library, symbol)));
    ASSERT_NE(value, nullptr) << symbol;
    EXPECT_EQ(*value, 1) << symbol;
  }
  const auto get_instance =
      reinterpret_cast<GetInstanceFunction>(reinterpret_cast<void*>(GetProcAddress(library, "GetInstance")));
  EXPECT_NE(get_instance(), nullptr);
  EXPECT_EQ(get_instance(), get_instance());
}

TEST(FinishedLibrary, RunsNoForeignCodeWhileItLoads) {
  // A stack protector that asks Windows for random numbers would load three more DLLs under the loader lock.
  const HMODULE library = LoadLibraryA("vexil.dll");
  int functions = 0;
  const auto* dll = Directory<IMAGE_IMPORT_DESCRIPTOR>(library, IMAGE_DIRECTORY_ENTRY_IMPORT);
  for (; dll->Name != 0; ++dll) {
    for (const auto* entry = InModule<IMAGE_THUNK_DATA>(library, dll->OriginalFirstThunk); entry->u1.AddressOfData != 0;
         ++entry, ++functions) {
      const std::string name = InModule<IMAGE_IMPORT_BY_NAME>(library, entry->u1.AddressOfData)->Name;
      EXPECT_NE(name.rfind("Crypt", 0), 0U) << name;
    }
  }
  EXPECT_GT(functions, 50);
}

/// What Windows shows of a file; nothing where the file does not say it.
std::optional<std::string> DetailOf(const char* file, const std::string& name) {
  std::vector<char> resource(GetFileVersionInfoSizeA(file, nullptr));
  GetFileVersionInfoA(file, 0, static_cast<DWORD>(resource.size()), resource.data());
  void* text = nullptr;
  UINT size = 0;
  if (VerQueryValueA(resource.data(), ("\\StringFileInfo\\040904b0\\" + name).c_str(), &text, &size) == FALSE)
    return {};
  return static_cast<const char*>(text);
}

TEST(VersionResource, TellsWhatEachBinaryIs) {
  // "1.2_1-a10" as four numbers, which is how Windows orders files.
  const std::string numbers = std::regex_replace(kLibraryVersion, std::regex("[^0-9]+"), ".");
  for (const char* file : {"vexil.dll", "vexil.exe", "vexil-sim.exe"}) {
    EXPECT_EQ(DetailOf(file, "ProductName"), "Vexil") << file;
    EXPECT_EQ(DetailOf(file, "ProductVersion"), kLibraryVersion) << file;
    EXPECT_EQ(DetailOf(file, "FileVersion"), numbers) << file;
    EXPECT_EQ(DetailOf(file, "OriginalFilename"), file);
    EXPECT_NE(DetailOf(file, "FileDescription").value_or(""), "") << file;
    EXPECT_EQ(DetailOf(file, "CompanyName"), std::nullopt) << file;
  }
}

Texts LinesOf(const char* file) {
  std::ifstream stream(file);
  Texts lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

struct HostOutput {
  Texts standard_output;
  Texts standard_error;
};

HostOutput RunLoggingHost(const std::string& modes) {
  const std::string command = "vexil_logging_host.exe " + modes + " >logging_host.out 2>logging_host.err";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  return {LinesOf("logging_host.out"), LinesOf("logging_host.err")};
}

bool Has(const Texts& lines, const std::string& pattern) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return std::regex_match(line, std::regex(pattern)); });
}

const std::string kVersion = std::regex_replace(kLibraryVersion, std::regex("\\."), "\\.");
const std::string kTime = R"(\d\d:\d\d:\d\d,\d\d\d)";
const std::string kLastLine = kTime + R"( \| INFO  \| Vexil              \| after unloading)";

TEST(Logging, GoesToStandardErrorWhereTheHostHasNotSetItUp) {
  if (!IsWine()) GTEST_SKIP() << "needs a machine without OpenCL";
  const auto [output, error] = RunLoggingHost("");
  EXPECT_EQ(output, (Texts{"level unset", "appenders 1", "unloaded 1"}));
  EXPECT_TRUE(Has(error, kTime + R"( \| INFO  \| Vexil              \| Starting Vexil )" + kVersion));
  EXPECT_TRUE(Has(error, kTime + R"( \| DEBUG \| Vexil              \|   - OpenCL: 0 detected in \d+ ms\.)"));
  EXPECT_TRUE(Has(error, kLastLine));
  for (const std::string& line : error) EXPECT_TRUE(Has({line}, kTime + R"( \| .*)")) << line;
}

TEST(Logging, LeavesTheHostsSetUpAlone) {
  if (!IsWine()) GTEST_SKIP() << "needs a machine without GPU";
  const auto [output, error] = RunLoggingHost("configured");
  EXPECT_EQ(error, Texts{});
  EXPECT_TRUE(Has(output, "level INFO"));
  EXPECT_TRUE(Has(output, "appenders 0"));
  EXPECT_TRUE(Has(output, "HOST INFO Vexil Starting Vexil " + kVersion));
  EXPECT_TRUE(Has(output, "HOST ERROR Vexil No matched GPUs found\\."));
  EXPECT_FALSE(Has(output, "HOST DEBUG .*"));
}

TEST(Logging, StopsDuringASilentRunOnly) {
  const auto [output, error] = RunLoggingHost("silent");
  EXPECT_EQ(output, (Texts{"level unset", "appenders 1", "unloaded 1"}));
  EXPECT_EQ(error.size(), 1U);
  EXPECT_TRUE(Has(error, kLastLine));

  const auto [configured_output, configured_error] = RunLoggingHost("configured silent");
  EXPECT_EQ(configured_error, Texts{});
  EXPECT_EQ(configured_output, (Texts{"level INFO", "appenders 0", "unloaded 1", "HOST INFO Vexil after unloading"}));
}

}  // namespace
}  // namespace Vexil::Tests
