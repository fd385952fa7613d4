// One of the simulated libraries as a DLL, which answers for the machine that the environment variable
// VEXIL_SIMULATED_MACHINE names. It does not load where that machine does not have the library, or where there is no
// such machine.

#include <windows.h>

#include <dxgi.h>

#include <cstddef>
#include <exception>
#include <iostream>

#include "simulation/LoadMachine.h"
#include "simulation/SimulatedLibraries.h"

namespace Vexil::Simulation {

std::optional<std::uint64_t> AdapterLUID(void* adapter) {
  DXGI_ADAPTER_DESC description = {};
  if (FAILED(static_cast<IDXGIAdapter*>(adapter)->GetDesc(&description))) return std::nullopt;
  const LUID& luid = description.AdapterLuid;
  return std::uint64_t{static_cast<std::uint32_t>(luid.HighPart)} << 32 | luid.LowPart;
}

namespace {

constexpr std::size_t kMostExports = 32;
constexpr std::size_t kLongestName = 64;

/// An export table, in the image of the DLL because its parts are known by their distance from the image's start.
struct Exports {
  IMAGE_EXPORT_DIRECTORY directory;
  DWORD functions[kMostExports];
  DWORD names[kMostExports];
  WORD ordinals[kMostExports];
  char texts[kMostExports][kLongestName];
} exports;

DWORD DistanceFrom(HINSTANCE image, const void* address) {
  return static_cast<DWORD>(static_cast<const std::byte*>(address) - reinterpret_cast<const std::byte*>(image));
}

template <typename Part>
Part* InImage(HINSTANCE image, std::size_t distance) {
  return reinterpret_cast<Part*>(reinterpret_cast<std::byte*>(image) + distance);
}

/// Exports the entry points that this machine's library has. The linker could only export all of them.
void Publish(HINSTANCE image, const SimulatedLibrary& library) {
  DWORD count = 0;
  for (const auto& [name, function] : library.exports) {
    if (library.installed()->missing.contains(name) || count == kMostExports) continue;
    name.copy(exports.texts[count], kLongestName - 1);
    exports.functions[count] = DistanceFrom(image, reinterpret_cast<const void*>(function));
    exports.names[count] = DistanceFrom(image, exports.texts[count]);
    exports.ordinals[count] = static_cast<WORD>(count);
    ++count;
  }
  exports.directory.Base = 1;
  exports.directory.NumberOfFunctions = exports.directory.NumberOfNames = count;
  exports.directory.AddressOfFunctions = DistanceFrom(image, exports.functions);
  exports.directory.AddressOfNames = DistanceFrom(image, exports.names);
  exports.directory.AddressOfNameOrdinals = DistanceFrom(image, exports.ordinals);

  const auto* dos = InImage<IMAGE_DOS_HEADER>(image, 0);
  auto* headers = InImage<IMAGE_NT_HEADERS>(image, static_cast<std::size_t>(dos->e_lfanew));
  IMAGE_DATA_DIRECTORY& place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  DWORD protection = 0;
  VirtualProtect(&place, sizeof(place), PAGE_READWRITE, &protection);
  place.VirtualAddress = DistanceFrom(image, &exports.directory);
  place.Size = sizeof(exports.directory);
  VirtualProtect(&place, sizeof(place), protection, &protection);
}

bool Load(HINSTANCE image) {
  const SimulatedLibrary& library = VEXIL_DRIVER();
  char path[MAX_PATH] = {};
  const DWORD length = GetEnvironmentVariableA("VEXIL_SIMULATED_MACHINE", path, sizeof(path));
  if (length == 0 || length >= sizeof(path)) return false;
  try {
    SetMachine(LoadMachine(path));
  } catch (const std::exception& error) {
    std::cerr << library.file_name << ": " << error.what() << '\n';
    return false;
  }
  if (library.installed() == nullptr) return false;
  CountOpen(library.file_name, 1);
  Publish(image, library);
  return true;
}

}  // namespace
}  // namespace Vexil::Simulation

BOOL WINAPI DllMain(HINSTANCE image, DWORD reason, LPVOID /*reserved*/) {
  return reason != DLL_PROCESS_ATTACH || Vexil::Simulation::Load(image) ? TRUE : FALSE;
}
