#include "Vexil/Platform/OpenLibrary.h"

#include <windows.h>

#include <atomic>

#include "Vexil/Common/Text.h"

namespace Vexil {
namespace {

/// What LoadLibraryEx is told; 0 is Windows' own search.
std::atomic<DWORD> the_search = 0;

}  // namespace

void* OpenLibrary(const char* file_name, std::uint32_t& error) {
  DWORD mode = 0;
  const BOOL is_set = SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &mode);
  void* library = LoadLibraryExA(file_name, nullptr, the_search);
  if (library == nullptr) error = GetLastError();
  if (is_set != FALSE) SetThreadErrorMode(mode, nullptr);
  return library;
}

Symbol FindSymbol(void* library, const char* name) {
  return reinterpret_cast<Symbol>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

void PinLibrary(const char* file_name) {
  HMODULE library = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, file_name, &library);
}

void TrustSystemFolderOnly() {
  // Windows 7 has it only with an update.
  const auto set = reinterpret_cast<decltype(&SetDefaultDllDirectories)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "SetDefaultDllDirectories")));
  if (set != nullptr) set(LOAD_LIBRARY_SEARCH_SYSTEM32);
}

void OpenFromSystemFolderOnly() { the_search = LOAD_LIBRARY_SEARCH_SYSTEM32; }

std::string SystemErrorText(std::uint32_t error) {
  char buffer[512] = {};
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, buffer, sizeof(buffer),
                 nullptr);
  return Trim(TextInBuffer(buffer));
}

}  // namespace Vexil
