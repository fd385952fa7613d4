#pragma once

#include "simulation/Machine.h"

namespace Vexil::Benchmarks {

/// The machine of tests/machines/four-equal-cards.json with this many of its first card, every source answering for
/// each of them.
Simulation::Machine Workstation(std::size_t gpus);

}  // namespace Vexil::Benchmarks
