#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Vexil::Interfaces {

/// How a process ended, and what it wrote on standard output.
struct ProcessEnd {
  enum Kind { Ended, TimedOut, NotStarted } kind;
  std::uint32_t code;  ///< Its exit status, or the system's error number.
  std::string output = {};
  std::chrono::milliseconds duration = {};  ///< From its start to its end.
};

/// The program that this process runs.
std::filesystem::path ThisProgram();
/// The folder of the program or DLL that this code is in.
std::filesystem::path OwnFolder();

/// Starts a program once for each list of arguments, which are ASCII, all at once, and waits for all. A process that
/// runs longer than the limit is ended, and so are all when this one ends. `waits_for` is told now and then which of
/// them is waited for, by its place in the list. Where programs cannot be started, as on a simulated machine,
/// `in_this_process` gives the output instead.
std::vector<ProcessEnd> RunAtOnce(
    const std::filesystem::path& program, const std::vector<std::vector<std::string>>& arguments,
    std::chrono::milliseconds limit, const std::function<void(std::size_t child)>& waits_for,
    const std::function<std::string(const std::vector<std::string>& arguments)>& in_this_process);

/// In a process so started: from now on no fault opens a dialog.
void BecomeChild();

/// Runs a program with this process's streams and environment until it ends.
ProcessEnd RunProgram(const std::vector<std::string>& command_line);

}  // namespace Vexil::Interfaces
