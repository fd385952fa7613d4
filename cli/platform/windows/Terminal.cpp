#include "cli/platform/Terminal.h"

#include <windows.h>

#include <shellapi.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace Vexil::Cli {
namespace {

UINT former_code_page = 0;

std::string Narrow(const wchar_t* text) {
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (bytes <= 1) return {};
  std::string utf8(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), bytes, nullptr, nullptr);
  utf8.pop_back();
  return utf8;
}

}  // namespace

std::vector<std::string> Arguments(int argc, const char* const* argv) {
  int count = 0;
  const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
  if (wide == nullptr) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(Narrow(wide[static_cast<std::size_t>(i)]));
  return arguments;
}

void UseUTF8Console() {
  former_code_page = GetConsoleOutputCP();
  if (former_code_page == 0 || SetConsoleOutputCP(CP_UTF8) == FALSE) return;
  std::atexit(RestoreConsole);
}

void RestoreConsole() {
  if (former_code_page != 0) SetConsoleOutputCP(former_code_page);
}

// Windows' C libraries translate "the pipe is being closed" differently.
bool IsReaderGone(int error_number) { return error_number == EPIPE || error_number == EINVAL; }

}  // namespace Vexil::Cli
