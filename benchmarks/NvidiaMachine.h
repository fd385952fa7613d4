#pragma once

#include "Machine.h"

namespace Vexil::Bench {

/// A workstation with this many NVIDIA cards, every source answering for each of them.
Simulation::Machine NvidiaMachine(std::size_t gpus);

}  // namespace Vexil::Bench
