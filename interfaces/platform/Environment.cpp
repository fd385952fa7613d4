#include "interfaces/platform/Environment.h"

#include <windows.h>

#include <cstdlib>

namespace Vexil::Interfaces {

std::optional<std::string> GetVariable(const std::string& name) {
  // Lists of devices are short; what is longer than this counts as set all the same.
  char value[4096] = {};
  SetLastError(ERROR_SUCCESS);
  const DWORD length = GetEnvironmentVariableA(name.c_str(), value, sizeof(value));
  if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  return std::string(value);
}

void SetVariable(const std::string& name, const std::string& value) {
  // Changes the C library's copy and Windows' own.
  _putenv_s(name.c_str(), value.c_str());
}

}  // namespace Vexil::Interfaces
