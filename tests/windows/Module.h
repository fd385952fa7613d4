#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Vexil::Tests {

// What the loader reads of a DLL that it has loaded.

template <typename Type>
const Type* InModule(HMODULE module, std::size_t offset) {
  return reinterpret_cast<const Type*>(reinterpret_cast<const std::byte*>(module) + offset);
}

/// One of its tables.
template <typename Type>
const Type* Directory(HMODULE module, std::size_t entry) {
  const auto* headers =
      InModule<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(InModule<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
  return InModule<Type>(module, headers->OptionalHeader.DataDirectory[entry].VirtualAddress);
}

inline std::vector<std::string> ExportsOf(HMODULE module) {
  const auto* exports = Directory<IMAGE_EXPORT_DIRECTORY>(module, IMAGE_DIRECTORY_ENTRY_EXPORT);
  const auto* names = InModule<DWORD>(module, exports->AddressOfNames);
  std::vector<std::string> texts;
  for (DWORD index = 0; index < exports->NumberOfNames; ++index)
    texts.emplace_back(InModule<char>(module, names[index]));
  EXPECT_EQ(exports->NumberOfFunctions, exports->NumberOfNames) << "something is exported by number only";
  return texts;
}

/// The DLLs that it was linked with.
inline std::vector<std::string> ImportsOf(HMODULE module) {
  std::vector<std::string> texts;
  for (const auto* dll = Directory<IMAGE_IMPORT_DESCRIPTOR>(module, IMAGE_DIRECTORY_ENTRY_IMPORT); dll->Name != 0;
       ++dll)
    texts.emplace_back(InModule<char>(module, dll->Name));
  return texts;
}

}  // namespace Vexil::Tests
