#include "Vexil/Platform/OpenLibrary.h"

#include <windows.h>

#include "Vexil/Common/Text.h"

namespace Vexil {

void* OpenLibrary(const char* file_name, std::uint32_t& error) {
  void* library = LoadLibraryA(file_name);
  if (library == nullptr) error = GetLastError();
  return library;
}

Symbol FindSymbol(void* library, const char* name) {
  return reinterpret_cast<Symbol>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

std::string SystemErrorText(std::uint32_t error) {
  char buffer[512] = {};
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, buffer, sizeof(buffer),
                 nullptr);
  return Trim(TextInBuffer(buffer));
}

}  // namespace Vexil
