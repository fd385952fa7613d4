#include <Vexil/Vexil.h>

#include <iostream>

#include "CommandLine.h"

int main(int argc, char** argv) {
  return Vexil::Program::RunCommandLine(argc, argv, *GetInstance(), std::cout, std::cerr);
}
