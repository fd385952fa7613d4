#pragma once

#include "cli/Json.h"

namespace Vexil::Cli {

/// The report's document: everything that a detection found.
Json ResultToJson(const FlatBuffers::DetectionResultT& records);

}  // namespace Vexil::Cli
