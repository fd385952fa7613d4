#pragma once

#include <iosfwd>

namespace Vexil::Cli {

/// The program: answers one command line, about this machine or a saved result, on `out`, with errors on `err`. The
/// log of a verbose run goes to standard error. The result is one of ExitStatus.
int RunCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace Vexil::Cli
