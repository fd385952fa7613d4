#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "simulation/Machine.h"

namespace Vexil::Simulation {

// One machine at a time is simulated, for the whole process.

/// What the drivers have seen.
struct Observations {
  // Since SetMachine.
  std::uint64_t calls = 0;
  /// Calls that no caller with sense makes: into a library that is closed, with a buffer of the wrong size.
  std::vector<std::string> misuses;

  // In this process. By library: opened and not yet closed, started and not yet shut down.
  std::map<std::string, int> open;
  std::map<std::string, int> up;
  /// How often it came into memory, and how often its driver was started that had not been up.
  std::map<std::string, int> loads;
  std::map<std::string, int> starts;
  /// Never to leave memory.
  std::set<std::string> pinned;
};

/// Takes the place of the machine before. Nothing may be running on it.
void SetMachine(Machine machine);
const Machine& TheMachine();
const Observations& Observed();
/// Forgets what was seen of the process: the next call is the first one of a new process.
void BeginProcess();

/// Is told of every call, by its number, counted from 1, its name and its parameter; where it says so the call
/// fails, also one that the machine itself lets pass. It may throw, as drivers do, and is told by whatever thread
/// calls. SetMachine forgets it.
using CallWatcher = std::function<bool(std::uint64_t number, std::string_view call, std::string_view parameter)>;
void WatchCalls(CallWatcher watcher);

/// Is told when the library calls a driver or Windows, and when the call returns. Null ends that.
using CallTimer = void (*)(bool is_call);
void TimeCalls(CallTimer timer);

// For the simulated drivers.

/// A call of a driver or of Windows, as long as this lives.
class InsideCall {
 public:
  InsideCall();
  ~InsideCall();
  InsideCall(const InsideCall&) = delete;
  InsideCall& operator=(const InsideCall&) = delete;
};

constexpr std::int64_t kNoDevice = -1;

/// Every driver call passes here first. Tells how it has to fail, if it has to.
std::optional<Failure> FailureOf(std::string_view call, std::string_view parameter, std::int64_t device);
bool CallFails(std::string_view call, std::string_view parameter = {}, std::int64_t device = kNoDevice);
bool CallFails(std::string_view call, std::int64_t device);

void CountOpen(const std::string& library, int change);
void CountUp(const std::string& library, int change);
void Pin(const std::string& library);
bool IsUp(const std::string& library);
void ReportMisuse(const std::string& what);

/// As careless drivers do: a text that fills its buffer gets no NUL.
void WriteText(const std::string& text, char* buffer, std::size_t size);

/// "8-4-4-4-12" hexadecimal digits.
std::string ToText(const UUID& uuid);

// The environment of the process: the machine's, until something changes it.

std::optional<std::string> Variable(const std::string& name);
/// Nothing removes the variable.
void ChangeVariable(const std::string& name, const std::optional<std::string>& value);

/// "0x1a"
std::string Hex(std::uint64_t value);

}  // namespace Vexil::Simulation
