#pragma once

#include <cstddef>

namespace Vexil::Bench {

/// Makes the driver calls of one detection on NvidiaMachine(gpus), and nothing else: no records, no
/// strings, no matching, no log; for the report, a logged one also asks for live figures. What a detection takes
/// beyond this is the library's own.
void MakeBareCalls(std::size_t gpus, bool for_report);

}  // namespace Vexil::Bench
