#include <algorithm>
#include <fstream>
#include <regex>
#include <set>

#include "c_interface/vexil_c.h"
#include "tests/windows/Module.h"

namespace Vexil::Tests {
namespace {

// vexil_c.dll in a folder of its own, as hosts load it.

template <typename Function>
Function* Find(HMODULE library, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

std::set<std::string> DeclaredFunctions() {
  std::ifstream file(VEXIL_C_HEADER);
  static const std::regex declaration("^VEXIL_C_API .*?(vexil_[a-z_]+)[(].*");
  std::set<std::string> names;
  std::smatch parts;
  for (std::string line; std::getline(file, line);) {
    if (std::regex_match(line, parts, declaration)) names.insert(parts[1]);
  }
  return names;
}

TEST(FinishedCLibrary, ExportsItsFunctionsAndNothingElse) {
  const HMODULE library = LoadLibraryA(VEXIL_C_DLL);
  ASSERT_NE(library, nullptr) << GetLastError();
  const auto exports = ExportsOf(library);
  EXPECT_EQ(std::set<std::string>(exports.begin(), exports.end()), DeclaredFunctions());
  EXPECT_GT(exports.size(), 15U);
  FreeLibrary(library);
}

TEST(FinishedCLibrary, NeedsOnlyWhatWindowsHas) {
  const HMODULE library = LoadLibraryA(VEXIL_C_DLL);
  ASSERT_NE(library, nullptr);
  const auto imports = ImportsOf(library);
  FreeLibrary(library);
  EXPECT_FALSE(imports.empty());
  for (const std::string& name : imports) {
    char folder[MAX_PATH] = {};
    GetSystemDirectoryA(folder, sizeof(folder));
    const bool is_windows_own = GetFileAttributesA((folder + ("\\" + name)).c_str()) != INVALID_FILE_ATTRIBUTES;
    EXPECT_TRUE(is_windows_own) << name;
  }
}

TEST(FinishedCLibrary, IsLoadedUsedAndUnloadedOverAndOver) {
  for (int i = 0; i < 3; ++i) {
    const HMODULE library = LoadLibraryA(VEXIL_C_DLL);
    ASSERT_NE(library, nullptr);
    vexil_snapshot* snapshot = nullptr;
    EXPECT_EQ(Find<decltype(vexil_abi)>(library, "vexil_abi")(), VEXIL_ABI);
    EXPECT_EQ(Find<decltype(vexil_detect)>(library, "vexil_detect")(nullptr, &snapshot), VEXIL_OK);
    EXPECT_EQ(Find<decltype(vexil_load)>(library, "vexil_load")("no such file", &snapshot), VEXIL_UNREADABLE);
    EXPECT_NE(Find<decltype(vexil_last_error)>(library, "vexil_last_error")(), std::string());
    EXPECT_NE(FreeLibrary(library), FALSE);
    EXPECT_EQ(GetModuleHandleA("vexil_c.dll"), nullptr);
  }
}

}  // namespace
}  // namespace Vexil::Tests
