#pragma once

#include <iosfwd>

#include "cli/Memory.h"

namespace Vexil::Cli {

/// For Prometheus and what reads its files. What is unknown has no sample.
void PrintOpenMetrics(std::ostream& out, const Reading& reading);

}  // namespace Vexil::Cli
