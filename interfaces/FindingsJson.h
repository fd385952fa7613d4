#pragma once

#include <optional>

#include "interfaces/ChildProcess.h"
#include "interfaces/Device.h"

namespace Vexil::Interfaces {

/// Without what is unknown.
Json ToJson(const Device& device);
Json ToJson(const Findings& findings);

/// Nothing where it is not what ToJson makes.
std::optional<Findings> FromJson(const Json& json);

/// "answered", "absent", "failed"
const char* StateName(State state);

}  // namespace Vexil::Interfaces
