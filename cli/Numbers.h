#pragma once

#include <string_view>
#include <vector>

#include "cli/Json.h"
#include "interfaces/Join.h"

namespace Vexil::Cli {

/// By which numbers interfaces know the GPUs.
struct Numbers {
  std::vector<Interfaces::Told> told;
  Interfaces::Joined joined;

  /// Null where this interface was not asked.
  const Interfaces::Findings* Of(std::string_view interface) const;
};

/// Asks the interfaces of this machine, which has these GPUs.
Numbers AskNumbers(const std::vector<FlatBuffers::GPUT>& gpus, const Interfaces::Helper& helper = {});

/// One GPU's.
Json NumbersJson(const std::vector<Interfaces::Known>& known);
/// Those of the chosen GPUs, and what else the interfaces told.
Json IdsJson(const std::vector<FlatBuffers::GPUT>& gpus, const Numbers& numbers,
             const std::vector<std::size_t>& chosen);

}  // namespace Vexil::Cli
