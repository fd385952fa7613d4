#include <iostream>

#include "Vexil/Platform/OpenLibrary.h"
#include "cli/CommandLine.h"

int main(int argc, char** argv) {
  Vexil::TrustSystemFolderOnly();
  return Vexil::Cli::RunCommandLine(argc, argv, std::cout, std::cerr);
}
