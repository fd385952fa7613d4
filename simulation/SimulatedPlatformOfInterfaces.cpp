#include <algorithm>

#include "interfaces/platform/Adapters.h"
#include "interfaces/platform/Crash.h"
#include "interfaces/platform/Environment.h"
#include "interfaces/platform/LibraryFile.h"
#include "interfaces/platform/RemoteSession.h"
#include "simulation/SimulatedLibraries.h"
#include "simulation/SimulatedPrograms.h"

// What Windows answers where the programs ask it.

namespace Vexil {
namespace {

Simulation::ProgramRun the_program_run;

}  // namespace

void Simulation::RunProgramsAs(ProgramRun run) { the_program_run = std::move(run); }

namespace Interfaces {

using namespace Simulation;

std::optional<std::string> GetVariable(const std::string& name) { return Variable(name); }

void SetVariable(const std::string& name, const std::string& value) {
  ChangeVariable(name, value.empty() ? std::nullopt : std::optional(value));
}

std::optional<std::vector<std::uint64_t>> GetAdaptersByPerformance() {
  const InsideCall inside;
  std::vector<std::pair<std::uint32_t, std::uint64_t>> ranked;
  for (const GraphicsAdapter& adapter : TheMachine().dxgi.value_or(std::vector<GraphicsAdapter>())) {
    if (adapter.performance_rank) ranked.emplace_back(*adapter.performance_rank, adapter.description.luid);
  }
  if (CallFails("EnumAdapterByGpuPreference") || ranked.empty()) return std::nullopt;
  std::sort(ranked.begin(), ranked.end());
  std::vector<std::uint64_t> luids(ranked.size());
  std::transform(ranked.begin(), ranked.end(), luids.begin(), [](const auto& adapter) { return adapter.second; });
  return luids;
}

std::vector<DisplayNode> GetDisplayNodes() {
  const InsideCall inside;
  std::vector<DisplayNode> nodes;
  if (CallFails("SetupDiGetClassDevs")) return nodes;
  for (const ClassDevice& device : TheMachine().display_class) {
    DisplayNode& node = nodes.emplace_back();
    node = {device.instance,       device.name,       device.luid, device.physical_index, {}, {},
            device.driver_version, device.driver_date};
    if (!device.pci) continue;
    node.bus = device.pci->bus;
    node.address = device.pci->device << 16 | device.pci->function;
  }
  return nodes;
}

std::vector<DisplayPath> GetDisplayPaths() {
  const InsideCall inside;
  return CallFails("QueryDisplayConfig") ? std::vector<DisplayPath>() : TheMachine().display_paths;
}

// Programs go by their names alone.
std::filesystem::path ThisProgram() { return "vexil"; }
std::filesystem::path OwnFolder() { return {}; }

std::vector<ProcessEnd> RunAtOnce(
    const std::filesystem::path& program, const std::vector<std::vector<std::string>>& arguments,
    std::chrono::milliseconds /*limit*/, const std::function<void(std::size_t child)>& waits_for,
    const std::function<std::string(const std::vector<std::string>& arguments)>& in_this_process) {
  // What a child does to its environment is the child's own affair.
  const auto environment = TheMachine().environment;
  std::vector<ProcessEnd> ends;
  for (const auto& of_child : arguments) {
    waits_for(ends.size());
    auto end = the_program_run ? the_program_run(program, of_child) : std::nullopt;
    ends.push_back(end ? std::move(*end) : ProcessEnd{ProcessEnd::Ended, 0, in_this_process(of_child)});
    for (const auto& [name, value] : std::map(TheMachine().environment)) ChangeVariable(name, std::nullopt);
    for (const auto& [name, value] : environment) ChangeVariable(name, value);
  }
  return ends;
}

void BecomeChild() {}

std::optional<LibraryFile> FindLibraryFile(const std::string& file_name) {
  for (const SimulatedLibrary* library : AllLibraries()) {
    if (library->file_name != file_name || library->installed() == nullptr) continue;
    return LibraryFile{R"(C:\Windows\System32\)" + file_name, library->installed()->file_version};
  }
  return std::nullopt;
}

bool IsRemoteSession() { return TheMachine().is_remote_session; }

// A simulated machine's drivers do not crash.
void ExplainCrashes(CrashMessage /*message*/, int /*exit_status*/) {}

ProcessEnd RunProgram(const std::vector<std::string>& command_line) {
  // It tells what it was started with.
  ProcessEnd end = {ProcessEnd::Ended, 7, {}};
  for (const std::string& argument : command_line) end.output += argument + "\n";
  for (const auto& [name, value] : TheMachine().environment) end.output.append(name).append("=").append(value) += '\n';
  return end;
}

}  // namespace Interfaces
}  // namespace Vexil
