#include "Common/OpenLibrary.h"

#include <windows.h>

namespace Vexil {

void* OpenLibrary(const char* file_name) { return LoadLibraryA(file_name); }

Symbol FindSymbol(void* library, const char* name) {
  return reinterpret_cast<Symbol>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

}  // namespace Vexil
