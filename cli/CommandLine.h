#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Vexil::Cli {

/// The program: answers one command line, about this machine or saved results, on `out`, with errors on `err`. The
/// arguments are UTF-8, the first is the program itself. The log of a verbose run goes to standard error. The result is
/// one of ExitStatus.
int RunCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace Vexil::Cli
