#include <iostream>

#include "Vexil/Platform/OpenLibrary.h"
#include "cli/CommandLine.h"
#include "cli/platform/Terminal.h"
#include "interfaces/Interfaces.h"

int main(int argc, char** argv) {
  Vexil::TrustSystemFolderOnly();
  if (const auto status = Vexil::Interfaces::ServeAsChild(argc, argv, Vexil::Interfaces::AnswerFor)) return *status;
  Vexil::Cli::UseUTF8Console();
  return Vexil::Cli::RunCommandLine(Vexil::Cli::Arguments(argc, argv), std::cout, std::cerr);
}
