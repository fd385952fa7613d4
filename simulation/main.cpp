#include <iostream>

#include "CommandLine.h"
#include "LoadMachine.h"
#include "Simulation.h"
#include "Vexil.h"

// The companion program on a machine made of data: the first argument is the machine's file, the others
// are the program's.
int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "Usage: vexil-sim MACHINE [ARGUMENT...]\n";
    return 2;
  }
  try {
    Vexil::Simulation::SetMachine(Vexil::Simulation::LoadMachine(argv[1]));
  } catch (const Vexil::Simulation::MachineError& error) {
    std::cerr << error.what() << '\n';
    return 2;
  }
  return Vexil::Program::RunCommandLine(argc - 1, argv + 1, *GetInstance(), std::cout, std::cerr);
}
