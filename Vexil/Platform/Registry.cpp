#include "Vexil/Platform/Registry.h"

#include <windows.h>

#include "Vexil/Common/Text.h"

namespace Vexil {

std::string ReadRegistryString(const std::string& key, const std::string& value) {
  char buffer[4096] = {};
  DWORD size = sizeof(buffer) - 1;
  const LSTATUS status = RegGetValueA(HKEY_LOCAL_MACHINE, key.c_str(), value.c_str(),
                                      RRF_RT_REG_SZ | RRF_RT_REG_MULTI_SZ, nullptr, buffer, &size);
  return status == ERROR_SUCCESS ? TextInBuffer(buffer) : std::string();
}

}  // namespace Vexil
