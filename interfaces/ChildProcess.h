#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Vexil::Interfaces {

// Drivers crash, hang and print. What may do so is asked in child processes of this program.

/// Objects keep the order in which they were made.
using Json = nlohmann::ordered_json;

/// What a child does, by the name of its work.
using ChildWork = Json (*)(const std::string& name);

/// What came of one child.
struct ChildResult {
  Json answer;
  std::string fault;  ///< What it did instead of answering; empty where it answered.
};

/// Does each work in a process of its own, all at once. One that takes longer than the limit is ended.
std::vector<ChildResult> RunChildren(const std::vector<std::string>& names, ChildWork work,
                                     std::chrono::milliseconds limit);

/// To be called first in the main function of a program that runs children: the exit status where this process is such
/// a child, whose work is then done.
std::optional<int> ServeAsChild(int argc, const char* const* argv, ChildWork work);

}  // namespace Vexil::Interfaces
