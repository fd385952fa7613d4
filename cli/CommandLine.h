#pragma once

#include <iosfwd>

#include "Vexil.h"

namespace Vexil::Program {

/// What a command tells the shell.
enum ExitStatus : int {
  kFoundGPUs = 0,
  kFoundNone = 1,
  kCannot = 2,  ///< Misuse, or input or output that fails.
};

/// The program: answers one command line, of `detector` or of a saved result, on `out`, with errors and
/// the log of a verbose run on `err` and standard error. The result is the program's exit status.
int RunCommandLine(int argc, const char* const* argv, Detector& detector, std::ostream& out, std::ostream& err);

}  // namespace Vexil::Program
