#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "interfaces/platform/Processes.h"

namespace Vexil::Simulation {

/// What comes of a program that is started; nothing where it does in this process what it would do in its own, as all
/// programs of a simulated machine do at first.
using ProgramRun = std::function<std::optional<Interfaces::ProcessEnd>(const std::filesystem::path& program,
                                                                       const std::vector<std::string>& arguments)>;
void RunProgramsAs(ProgramRun run);

}  // namespace Vexil::Simulation
