#include <cstdlib>
#include <exception>
#include <iostream>

#include "simulation/LoadMachine.h"
#include "simulation/Simulation.h"

#ifdef _WIN32
#include <windows.h>
#endif

// The interface as a library that answers for the machine which the environment variable VEXIL_SIMULATED_MACHINE names.

namespace Vexil::Simulation {
namespace {

bool SetNamedMachine() {
  const char* path = std::getenv("VEXIL_SIMULATED_MACHINE");
  try {
    if (path != nullptr) SetMachine(LoadMachine(path));
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    std::abort();
  }
  return true;
}

#ifndef _WIN32
[[maybe_unused]] const bool is_set = SetNamedMachine();
#endif

}  // namespace
}  // namespace Vexil::Simulation

#ifdef _WIN32
// Called when all other variables of the library have been set up.
BOOL WINAPI DllMain(HINSTANCE /*image*/, DWORD reason, LPVOID /*reserved*/) {
  return reason != DLL_PROCESS_ATTACH || Vexil::Simulation::SetNamedMachine() ? TRUE : FALSE;
}
#endif
