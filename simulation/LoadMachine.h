#pragma once

#include <stdexcept>
#include <string>

#include "simulation/Machine.h"

namespace Vexil::Simulation {

/// What is wrong with a machine file, and where in it.
struct MachineError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Reads a machine file; README.md says what stands in one. Throws MachineError.
Machine LoadMachine(const std::string& path);

}  // namespace Vexil::Simulation
