#pragma once

#include <cstdint>

#include "simulation/Simulation.h"

namespace Vexil::Tests {

/// A machine whose drivers answer with anything that fits into an answer: the same for the same seed. Places,
/// displays and makers come from small sets, so that records of different sources do meet.
Simulation::Machine MakeRandomMachine(std::uint64_t seed);

/// Which calls fail on top: none, few or many, the same for the same seed.
Simulation::CallWatcher MakeRandomFailures(std::uint64_t seed);

}  // namespace Vexil::Tests
