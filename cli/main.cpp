#include <iostream>

#include "Vexil/Platform/OpenLibrary.h"
#include "cli/CommandLine.h"
#include "interfaces/Interfaces.h"

int main(int argc, char** argv) {
  Vexil::TrustSystemFolderOnly();
  if (const auto status = Vexil::Interfaces::ServeAsChild(argc, argv, Vexil::Interfaces::AnswerFor)) return *status;
  return Vexil::Cli::RunCommandLine(argc, argv, std::cout, std::cerr);
}
