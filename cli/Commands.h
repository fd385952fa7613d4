#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Selection.h"
#include "cli/Session.h"

namespace Vexil::Cli {

// The commands. Each prints its answer and returns the exit status; each throws an Error where it
// cannot answer.

/// The report of a detection run.
int Report(const Session& session);

/// One line per GPU.
int List(const Sessions& sessions, const Filter& filter);

/// What people ask about one GPU, what other interfaces call it and, if so wanted, the raw records.
int Show(const Session& session, const std::string& id, bool is_raw);

/// The monitors, their modes and where they stand.
int Monitors(const Session& session);

/// By which numbers every interface of this machine knows its GPUs, or one of them.
int Ids(const Session& session, const std::optional<std::string>& id);

/// The variables that lead programs to this GPU, for a shell or, where it has another name, as JSON.
int Env(const Session& session, const std::string& id, const std::string& shell);

/// Runs a program with these variables, and returns its exit status.
int Run(const Session& session, const std::string& id, const std::vector<std::string>& command_line);

struct Pictures {
  std::optional<std::string> svg;
  std::optional<std::string> html;
};

/// What is linked to what; where files are given, as pictures in these instead.
int Topo(const Session& session, const Pictures& pictures);

struct MemoryOptions {
  std::optional<double> seconds;  ///< Between two answers; without it there is only one.
  unsigned count = 0;             ///< 0: until the program is ended.
  bool is_openmetrics = false;
};

/// Memory of the machine and of one GPU, or of those that the filter leaves.
int Memory(const Session& session, const std::optional<std::string>& id, const Filter& filter,
           const MemoryOptions& options);

/// Writes the results to a file and reads them back.
int Save(const Session& session, const std::string& path);

/// Matches the raw records again and tells what differs from what was stored.
int Rematch(const Sessions& sessions);

/// The status of each source, and what was not matched.
int Doctor(const Session& session);

}  // namespace Vexil::Cli
