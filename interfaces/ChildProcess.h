#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "interfaces/platform/Processes.h"

namespace Vexil::Interfaces {

// Drivers crash, hang and print. What may do so is asked in child processes.

/// Objects keep the order in which they were made.
using Json = nlohmann::ordered_json;

/// A kind of work that children do: each does the part of it that has a name.
struct ChildWork {
  const char* kind;
  Json (*answer)(const std::string& name);
};

/// What a child did instead of answering.
struct ChildFault {
  enum Kind { None, NotStarted, Crashed, Hung, NoAnswer };

  Kind kind = None;
  std::string text = {};
  std::string last_call = {};  ///< Where it did that; empty where it called nobody.
};

/// What came of one child.
struct ChildResult {
  Json answer;
  ChildFault fault = {};
};

/// The text where it answered with something else than what was wanted.
inline constexpr const char* kNoAnswer = "ended without an answer";

/// A program that serves as a child, and how long one may take before it is ended.
struct Helper {
  std::filesystem::path program = ThisProgram();
  /// As long as a machine with many cards takes to start its slowest driver, several times over.
  std::chrono::milliseconds limit = std::chrono::seconds(15);
};

/// Does each part of the work in a process of its own, all at once. The names, which live as long as the process, are
/// told to those who watch this process's progress.
std::vector<ChildResult> RunChildren(const Helper& helper, const std::vector<const char*>& names,
                                     const ChildWork& work);

/// To be called first in the main function of a program that runs children: the exit status where this process is such
/// a child, whose work is then done.
std::optional<int> ServeAsChild(int argc, const char* const* argv, std::span<const ChildWork> works);

}  // namespace Vexil::Interfaces
