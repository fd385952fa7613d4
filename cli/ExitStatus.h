#pragma once

namespace Vexil::Cli {

/// The exit status of every command.
enum ExitStatus : int {
  kFoundGPUs = 0,
  kFoundNone = 1,
  kCannot = 2,   ///< Misuse, or input or output that fails.
  kDiffers = 3,  ///< A result is not what matching makes of its records now.
};

}  // namespace Vexil::Cli
