#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Vexil/Platform/OpenLibrary.h"
#include "simulation/Simulation.h"

namespace Vexil::Simulation {

// The vendors' libraries as the loader of the operating system sees them. Each simulated library has its own
// declarations of its driver's binary interface and does not use the product's headers, so that a wrong name, number
// or size there shows.

struct SimulatedLibrary {
  const char* file_name;
  /// The machine's; null where the library is not installed.
  const Library* (*installed)();
  std::map<std::string, Symbol> exports;
  /// Functions that the library hands out in another way.
  std::set<std::string> functions = {};
  /// The driver is up until its library leaves memory: there is no call that ends it.
  bool is_up_while_loaded = false;
};

/// Every entry point passes here first. True when it has to fail at once; what it then returns, or returns
/// in the end, is replaced where the machine has another status for it.
bool EntryFails(const SimulatedLibrary& library, std::string_view call, std::string_view parameter = {},
                std::int64_t device = kNoDevice);

/// The LUID of the adapter that OpenCL is given, a DXGI interface.
std::optional<std::uint64_t> AdapterLUID(void* adapter);

const SimulatedLibrary& SimulatedOpenCL();
const SimulatedLibrary& SimulatedCUDA();
const SimulatedLibrary& SimulatedNVML();
const SimulatedLibrary& SimulatedNVAPI();
const SimulatedLibrary& SimulatedADL();
const SimulatedLibrary& SimulatedVulkan();
const SimulatedLibrary& SimulatedHIP5();
const SimulatedLibrary& SimulatedHIP6();
const SimulatedLibrary& SimulatedHIP7();
const SimulatedLibrary& SimulatedLevelZero();

inline std::vector<const SimulatedLibrary*> AllLibraries() {
  return {&SimulatedOpenCL(), &SimulatedCUDA(), &SimulatedNVML(), &SimulatedNVAPI(), &SimulatedADL(),
          &SimulatedVulkan(), &SimulatedHIP5(), &SimulatedHIP6(), &SimulatedHIP7(),  &SimulatedLevelZero()};
}

/// The status with which the machine wants this thread's call to fail, if it does; asking forgets it.
std::optional<int> TakeStatus();

template <typename Result, typename... Arguments>
struct StatusReplaced {
  /// The entry point as its callers see it.
  template <Result (*entry)(Arguments...)>
  static Result Call(Arguments... arguments) {
    const InsideCall inside;
    if constexpr (std::is_void_v<Result>) {
      entry(arguments...);
      TakeStatus();
    } else {
      const Result result = entry(arguments...);
      const std::optional<int> status = TakeStatus();
      if constexpr (std::is_same_v<Result, int>) return status.value_or(result);
      return result;
    }
  }
};

template <typename Result, typename... Arguments>
StatusReplaced<Result, Arguments...> ReplacementFor(Result (*)(Arguments...));

/// An entry point for the library's table.
template <auto entry>
Symbol ToSymbol() noexcept {
  return reinterpret_cast<Symbol>(decltype(ReplacementFor(entry))::template Call<entry>);
}

/// Whether any version of the library has this entry point.
bool Offers(const SimulatedLibrary& library, const std::string& entry_point);

/// Whether a call of this name is ever made, of a library or of Windows.
bool IsKnownCall(const std::string& name);

template <typename Section>
const Library* Installed(const std::optional<Section>& section) {
  return section ? &*section : nullptr;
}

/// One start of the library less, also where the call that ends it fails; hands on what that call answers.
inline int CountDown(const char* library, int answer) {
  if (IsUp(library)) CountUp(library, -1);
  return answer;
}

/// The element that a driver's handle or index stands for; null where there is none.
template <typename Element>
const Element* At(const std::vector<Element>& elements, std::int64_t index) {
  const auto size = static_cast<std::int64_t>(elements.size());
  return index >= 0 && index < size ? &elements[static_cast<std::size_t>(index)] : nullptr;
}

/// The number of devices that a library claims.
template <typename Number, typename Element>
Number Count(const std::optional<std::int64_t>& claimed, const std::vector<Element>& elements) {
  const bool is_true = TheMachine().has_unsteady_counts && Observed().calls % 2 == 0;
  return static_cast<Number>(claimed && !is_true ? *claimed : static_cast<std::int64_t>(elements.size()));
}

}  // namespace Vexil::Simulation
