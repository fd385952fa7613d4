#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace Vexil::Cli {

// What the command line's own description tells of itself.

/// The names of the commands, in the order of the help.
std::vector<std::string> CommandNames(const CLI::App& app);

/// A name that is hardly different from this one; empty where there is none.
std::string Nearest(const std::vector<std::string>& names, const std::string& name);

/// The names that an option takes; empty where it takes others.
std::vector<std::string> ChoicesOf(const CLI::Option& option);

/// A script with which PowerShell completes commands, options and names.
std::string PowerShellCompletion(const CLI::App& app);

}  // namespace Vexil::Cli
