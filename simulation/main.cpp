#include <exception>
#include <iostream>

#include "cli/CommandLine.h"
#include "cli/platform/Terminal.h"
#include "simulation/LoadMachine.h"
#include "simulation/Simulation.h"

namespace {

constexpr const char* kUsage =
    "Usage: vexil-sim MACHINE [ARGUMENT...]\n"
    "\n"
    "The program vexil on a simulated machine, which the file MACHINE describes.\n"
    "The arguments are those of vexil.\n";

}  // namespace

int main(int argc, char** argv) {
  Vexil::Cli::UseUTF8Console();
  const auto arguments = Vexil::Cli::Arguments(argc, argv);
  if (arguments.size() < 2) {
    std::cerr << kUsage;
    return 2;
  }
  if (arguments[1] == "--help") {
    std::cout << kUsage;
    return std::cout.flush() ? 0 : 2;
  }
  try {
    Vexil::Simulation::SetMachine(Vexil::Simulation::LoadMachine(arguments[1]));
    return Vexil::Cli::RunCommandLine({arguments.begin() + 1, arguments.end()}, std::cout, std::cerr);
  } catch (const std::exception& error) {
    std::cerr << "vexil-sim: " << error.what() << '\n';
    return 2;
  }
}
