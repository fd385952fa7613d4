#include <iostream>

#include "cli/CommandLine.h"

int main(int argc, char** argv) { return Vexil::Cli::RunCommandLine(argc, argv, std::cout, std::cerr); }
