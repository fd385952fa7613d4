#include <iostream>

#include "Vexil/Platform/OpenLibrary.h"
#include "cli/CommandLine.h"
#include "cli/DetectApart.h"
#include "cli/Detection.h"
#include "cli/platform/Terminal.h"
#include "interfaces/Interfaces.h"

int main(int argc, char** argv) {
  Vexil::TrustSystemFolderOnly();
  const Vexil::Interfaces::ChildWork works[] = {Vexil::Interfaces::kInterfaceWork, Vexil::Cli::kSourceWork,
                                                Vexil::Cli::kDetectionWork};
  if (const auto status = Vexil::Interfaces::ServeAsChild(argc, argv, works)) return *status;
  Vexil::Cli::UseUTF8Console();
  return Vexil::Cli::RunCommandLine(Vexil::Cli::Arguments(argc, argv), std::cout, std::cerr);
}
