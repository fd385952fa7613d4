#include "interfaces/platform/LibraryFile.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace Vexil::Interfaces {
namespace {

struct Free {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};
using Module = std::unique_ptr<std::remove_pointer_t<HMODULE>, Free>;

/// The start of a version resource: sizes and type, the name "VS_VERSION_INFO" and its NUL, padding, and the numbers.
struct VersionResource {
  WORD sizes_and_type[3];
  WCHAR name[16];
  WORD padding;
  VS_FIXEDFILEINFO numbers;
};
static_assert(offsetof(VersionResource, numbers) == 40);

// version.dll would tell the same, but as a DLL that this program is linked with it could be planted beside it.
std::string ReadVersion(HMODULE module) {
  HRSRC resource = FindResourceA(module, MAKEINTRESOURCEA(VS_VERSION_INFO), MAKEINTRESOURCEA(16));
  if (resource == nullptr || SizeofResource(module, resource) < sizeof(VersionResource)) return {};
  const HGLOBAL loaded = LoadResource(module, resource);
  const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (bytes == nullptr) return {};
  VersionResource version = {};
  std::memcpy(&version, bytes, sizeof(version));
  constexpr DWORD kSignature = 0xFEEF04BD;
  if (version.numbers.dwSignature != kSignature) return {};
  const auto text = [](DWORD numbers) {
    return std::to_string(HIWORD(numbers)) + "." + std::to_string(LOWORD(numbers));
  };
  return text(version.numbers.dwFileVersionMS) + "." + text(version.numbers.dwFileVersionLS);
}

}  // namespace

std::optional<LibraryFile> FindLibraryFile(const std::string& file_name) {
  char folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryA(folder, sizeof(folder));
  if (length == 0 || length >= sizeof(folder)) return std::nullopt;
  LibraryFile file = {std::string(folder) + "\\" + file_name, {}};
  if (GetFileAttributesA(file.path.c_str()) == INVALID_FILE_ATTRIBUTES) return std::nullopt;
  const Module module(
      LoadLibraryExA(file.path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
  if (module != nullptr) file.version = ReadVersion(module.get());
  return file;
}

}  // namespace Vexil::Interfaces
