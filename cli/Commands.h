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
int List(const Session& session, const Filter& filter);

/// All that is known of one GPU, and what other interfaces call it.
int Show(const Session& session, const std::string& id);

/// By which numbers every interface of this machine knows its GPUs, or one of them.
int Ids(const Session& session, const std::optional<std::string>& id);

/// The variables that lead programs to this GPU, for a shell or, where it has another name, as JSON.
int Env(const Session& session, const std::string& id, const std::string& shell);

/// Runs a program with these variables, and returns its exit status.
int Run(const Session& session, const std::string& id, const std::vector<std::string>& command_line);

struct Watch {
  std::optional<double> seconds;  ///< Between two answers; without it there is only one.
  unsigned count = 0;             ///< 0: until the program is ended.
};

/// Memory of the machine and of one GPU or all.
int Memory(const Session& session, const std::optional<std::string>& id, const Watch& watch);

/// Writes the results to a file and reads them back.
int Save(const Session& session, const std::string& path);

/// Matches the raw records again and tells what differs from what was stored.
int Rematch(const Session& session);

/// The status of each source, and what was not matched.
int Doctor(const Session& session);

}  // namespace Vexil::Cli
