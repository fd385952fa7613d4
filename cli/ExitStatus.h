#pragma once

namespace Vexil::Cli {

/// The exit status of every command.
enum ExitStatus : int {
  kFoundGPUs = 0,
  kFoundNone = 1,
  kCannot = 2,  ///< Misuse, or input or output that fails.
};

}  // namespace Vexil::Cli
