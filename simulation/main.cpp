#include <exception>
#include <iostream>
#include <string_view>

#include "cli/CommandLine.h"
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
  if (argc < 2) {
    std::cerr << kUsage;
    return 2;
  }
  if (argv[1] == std::string_view("--help")) {
    std::cout << kUsage;
    return std::cout.flush() ? 0 : 2;
  }
  try {
    Vexil::Simulation::SetMachine(Vexil::Simulation::LoadMachine(argv[1]));
    return Vexil::Cli::RunCommandLine(argc - 1, argv + 1, std::cout, std::cerr);
  } catch (const std::exception& error) {
    std::cerr << "vexil-sim: " << error.what() << '\n';
    return 2;
  }
}
