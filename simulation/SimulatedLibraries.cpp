#include "simulation/SimulatedLibraries.h"

#include <algorithm>
#include <utility>

namespace Vexil::Simulation {
namespace {

thread_local std::optional<int> t_status;

const std::set<std::string>& CallsOfWindows() {
  static const std::set<std::string> calls = {"CreateDXGIFactory",
                                              "EnumAdapterByGpuPreference",
                                              "EnumAdapters1",
                                              "EnumDisplayDevices",
                                              "EnumDisplaySettings",
                                              "EnumOutputs",
                                              "GetDesc",
                                              "GetDesc2",
                                              "GetProcAddress",
                                              "GlobalMemoryStatusEx",
                                              "LoadLibrary",
                                              "QueryDisplayConfig",
                                              "QueryInterface",
                                              "RegGetValue",
                                              "SetupDiEnumDeviceInfo",
                                              "SetupDiGetClassDevs",
                                              "SetupDiGetDeviceProperty",
                                              "SetupDiGetDeviceRegistryProperty"};
  return calls;
}

}  // namespace

bool Offers(const SimulatedLibrary& library, const std::string& entry_point) {
  return library.exports.contains(entry_point) || library.functions.contains(entry_point);
}

bool IsKnownCall(const std::string& name) {
  const auto libraries = AllLibraries();
  return CallsOfWindows().contains(name) ||
         std::any_of(libraries.begin(), libraries.end(),
                     [&](const SimulatedLibrary* library) { return Offers(*library, name); });
}

std::optional<int> TakeStatus() { return std::exchange(t_status, std::nullopt); }

bool EntryFails(const SimulatedLibrary& library, std::string_view call, std::string_view parameter,
                std::int64_t device) {
  const bool is_loaded = Observed().open.at(library.file_name) > 0 || Observed().pinned.contains(library.file_name);
  if (!is_loaded) ReportMisuse(std::string(call) + " of a closed library");
  const std::optional<Failure> failure = FailureOf(call, parameter, device);
  if (library.installed() == nullptr) return true;
  if (!failure) return false;
  constexpr int kSomeError = -1;
  t_status = failure->writes ? failure->status.value_or(kSomeError) : failure->status;
  return !failure->writes;
}

}  // namespace Vexil::Simulation
