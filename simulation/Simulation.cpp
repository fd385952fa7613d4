#include "simulation/Simulation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

namespace Vexil::Simulation {
namespace {

struct State {
  Machine machine;
  Observations observed;
  CallWatcher watcher;
  // Hosts ask from several threads.
  std::mutex mutex;
};

CallTimer the_timer = nullptr;

State& TheState() {
  static State state;
  return state;
}

bool Matches(const Failure& failure, std::string_view call, std::string_view parameter, std::int64_t device) {
  if (failure.device && *failure.device != device) return false;
  return failure.call == call || failure.call == fmt::format("{} {}", call, parameter);
}

}  // namespace

void SetMachine(Machine machine) {
  State& state = TheState();
  const std::lock_guard lock(state.mutex);
  state.machine = std::move(machine);
  state.observed.calls = 0;
  state.observed.misuses.clear();
  state.watcher = nullptr;
}

const Machine& TheMachine() { return TheState().machine; }

void BeginProcess() {
  const std::lock_guard lock(TheState().mutex);
  TheState().observed = {};
}

const Observations& Observed() { return TheState().observed; }

void WatchCalls(CallWatcher watcher) { TheState().watcher = std::move(watcher); }

void TimeCalls(CallTimer timer) { the_timer = timer; }

InsideCall::InsideCall() {
  if (the_timer != nullptr) the_timer(true);
}
InsideCall::~InsideCall() {
  if (the_timer != nullptr) the_timer(false);
}

std::optional<Failure> FailureOf(std::string_view call, std::string_view parameter, std::int64_t device) {
  State& state = TheState();
  std::uint64_t number = 0;
  {
    const std::lock_guard lock(state.mutex);
    number = ++state.observed.calls;
  }
  const auto& failures = state.machine.failures;
  if (state.watcher && state.watcher(number, call, parameter)) return Failure{std::string(call), {}};
  const auto failure = std::find_if(failures.begin(), failures.end(), [&](const Failure& candidate) {
    return Matches(candidate, call, parameter, device);
  });
  return failure != failures.end() ? std::optional(*failure) : std::nullopt;
}

bool CallFails(std::string_view call, std::string_view parameter, std::int64_t device) {
  return FailureOf(call, parameter, device).has_value();
}

bool CallFails(std::string_view call, std::int64_t device) { return CallFails(call, {}, device); }

void CountOpen(const std::string& library, int change) {
  const std::lock_guard lock(TheState().mutex);
  Observations& observed = TheState().observed;
  const bool is_loaded = observed.open[library] > 0 || observed.pinned.contains(library);
  if (change > 0 && !is_loaded) ++observed.loads[library];
  observed.open[library] += change;
}

void CountUp(const std::string& library, int change) {
  const std::lock_guard lock(TheState().mutex);
  Observations& observed = TheState().observed;
  if (change > 0 && observed.up[library] == 0) ++observed.starts[library];
  observed.up[library] += change;
}

void Pin(const std::string& library) {
  const std::lock_guard lock(TheState().mutex);
  TheState().observed.pinned.insert(library);
}

bool IsUp(const std::string& library) {
  const std::lock_guard lock(TheState().mutex);
  const auto& up = TheState().observed.up;
  const auto found = up.find(library);
  return found != up.end() && found->second > 0;
}

void ReportMisuse(const std::string& what) {
  const std::lock_guard lock(TheState().mutex);
  TheState().observed.misuses.push_back(what);
}

void WriteText(const std::string& text, char* buffer, std::size_t size) {
  std::memcpy(buffer, text.c_str(), std::min(text.size() + 1, size));
}

std::string ToText(const UUID& uuid) {
  std::string text;
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    text += fmt::format("{}{:02x}", i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "", uuid[i]);
  }
  return text;
}

std::optional<std::string> Variable(const std::string& name) {
  const std::lock_guard lock(TheState().mutex);
  const auto& environment = TheState().machine.environment;
  const auto found = environment.find(name);
  return found != environment.end() ? std::optional(found->second) : std::nullopt;
}

void ChangeVariable(const std::string& name, const std::optional<std::string>& value) {
  const std::lock_guard lock(TheState().mutex);
  auto& environment = TheState().machine.environment;
  environment.erase(name);
  if (value) environment[name] = *value;
}

std::string Hex(std::uint64_t value) { return fmt::format("0x{:x}", value); }

}  // namespace Vexil::Simulation
