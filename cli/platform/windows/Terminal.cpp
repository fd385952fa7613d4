#include "cli/platform/Terminal.h"

#include <windows.h>

#include <shellapi.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "text/windows/Wide.h"

namespace Vexil::Cli {
namespace {

UINT former_code_page = 0;

}  // namespace

std::vector<std::string> Arguments(int argc, const char* const* argv) {
  int count = 0;
  const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
  if (wide == nullptr) return {argv, argv + argc};
  std::vector<std::string> arguments;
  arguments.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) arguments.push_back(ToUTF8(wide[static_cast<std::size_t>(i)]));
  return arguments;
}

void UseUTF8Console() {
  former_code_page = GetConsoleOutputCP();
  if (former_code_page == 0 || SetConsoleOutputCP(CP_UTF8) == FALSE) return;
  if (std::atexit(RestoreConsole) != 0) RestoreConsole();
}

void RestoreConsole() {
  if (former_code_page != 0) SetConsoleOutputCP(former_code_page);
}

bool IsErrorTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

// Windows' C libraries translate "the pipe is being closed" differently.
bool IsReaderGone(int error_number) { return error_number == EPIPE || error_number == EINVAL; }

}  // namespace Vexil::Cli
