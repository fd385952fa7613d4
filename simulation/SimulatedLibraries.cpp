#include "SimulatedLibraries.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Vexil {

using namespace Simulation;

namespace {

thread_local std::optional<int> t_status;

std::array<const SimulatedLibrary*, 5> AllLibraries() {
  return {&SimulatedOpenCL(), &SimulatedCUDA(), &SimulatedNVML(), &SimulatedNVAPI(), &SimulatedADL()};
}

const std::set<std::string>& CallsOfWindows() {
  static const std::set<std::string> calls = {"CreateDXGIFactory",
                                              "EnumAdapters1",
                                              "EnumDisplayDevices",
                                              "EnumDisplaySettings",
                                              "EnumOutputs",
                                              "GetDesc",
                                              "GetDesc2",
                                              "GetProcAddress",
                                              "GlobalMemoryStatusEx",
                                              "LoadLibrary",
                                              "QueryInterface",
                                              "RegGetValue",
                                              "SetupDiEnumDeviceInfo",
                                              "SetupDiGetClassDevs",
                                              "SetupDiGetDeviceProperty",
                                              "SetupDiGetDeviceRegistryProperty"};
  return calls;
}

}  // namespace

bool Simulation::Offers(const SimulatedLibrary& library, const std::string& entry_point) {
  return library.exports.contains(entry_point) || library.functions.contains(entry_point);
}

bool Simulation::IsKnownCall(const std::string& name) {
  const auto libraries = AllLibraries();
  return CallsOfWindows().contains(name) ||
         std::any_of(libraries.begin(), libraries.end(),
                     [&](const SimulatedLibrary* library) { return Offers(*library, name); });
}

std::optional<int> Simulation::TakeStatus() { return std::exchange(t_status, std::nullopt); }

bool Simulation::EntryFails(const SimulatedLibrary& library, std::string_view call, std::string_view parameter,
                            std::int64_t device) {
  if (Observed().open.at(library.file_name) <= 0) ReportMisuse(std::string(call) + " of a closed library");
  const std::optional<Failure> failure = FailureOf(call, parameter, device);
  if (library.installed() == nullptr) return true;
  if (!failure) return false;
  constexpr int kSomeError = -1;
  t_status = failure->writes ? failure->status.value_or(kSomeError) : failure->status;
  return !failure->writes;
}

void* OpenLibrary(const char* file_name) {
  for (const SimulatedLibrary* library : AllLibraries()) {
    if (std::string_view(library->file_name) != file_name) continue;
    if (library->installed() == nullptr || CallFails("LoadLibrary", file_name)) return nullptr;
    CountOpen(file_name, 1);
    return const_cast<SimulatedLibrary*>(library);
  }
  ReportMisuse(std::string("nobody has a library ") + file_name);
  return nullptr;
}

Symbol FindSymbol(void* library, const char* name) {
  const auto& simulated = *static_cast<const SimulatedLibrary*>(library);
  const auto entry = simulated.exports.find(name);
  if (entry == simulated.exports.end()) ReportMisuse(std::string(simulated.file_name) + " never had " + name);
  const Library* installed = simulated.installed();
  const bool is_missing = entry == simulated.exports.end() || installed == nullptr || installed->missing.contains(name);
  return CallFails("GetProcAddress", name) || is_missing ? nullptr : entry->second;
}

void CloseLibrary(void* library) {
  const auto& simulated = *static_cast<const SimulatedLibrary*>(library);
  CountOpen(simulated.file_name, -1);
  if (Observed().open.at(simulated.file_name) < 0) ReportMisuse(std::string(simulated.file_name) + " closed twice");
}

}  // namespace Vexil
