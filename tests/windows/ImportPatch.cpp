#include "tests/windows/ImportPatch.h"

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Vexil::Tests {
namespace {

template <typename Type>
Type* InProgram(std::size_t offset) {
  return reinterpret_cast<Type*>(reinterpret_cast<std::byte*>(GetModuleHandleA(nullptr)) + offset);
}

}  // namespace

void** FindImport(const char* function_name) {
  const auto* headers = InProgram<IMAGE_NT_HEADERS>(static_cast<std::size_t>(InProgram<IMAGE_DOS_HEADER>(0)->e_lfanew));
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* dll = InProgram<IMAGE_IMPORT_DESCRIPTOR>(directory.VirtualAddress); dll->Name != 0; ++dll) {
    const auto* name = InProgram<IMAGE_THUNK_DATA>(dll->OriginalFirstThunk);
    auto* slot = InProgram<void*>(dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      if (std::strcmp(InProgram<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name, function_name) == 0) return slot;
    }
  }
  throw std::runtime_error(std::string("this program does not call ") + function_name);
}

void* FindExport(const char* dll, const char* function_name) {
  return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(dll), function_name));
}

void SetImport(void** import, void* function) {
  DWORD protection = 0;
  VirtualProtect(import, sizeof(*import), PAGE_READWRITE, &protection);
  *import = function;
  VirtualProtect(import, sizeof(*import), protection, &protection);
}

}  // namespace Vexil::Tests
