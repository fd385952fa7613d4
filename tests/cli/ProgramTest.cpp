#include "tests/cli/ProgramTest.h"

#include <fstream>
#include <sstream>

#include "cli/CommandLine.h"
#include "cli/FileName.h"

namespace Vexil::Tests {

Answer ProgramTest::Run(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "vexil");
  std::ostringstream out;
  std::ostringstream err;
  const int status = Cli::RunCommandLine(arguments, out, err);
  EndProcess();
  return {status, out.str(), err.str()};
}

std::vector<std::uint8_t> ProgramTest::Detect() {
  TestDetector detector;
  detector.Detect({.KeepMarker = true, .Silent = true});
  std::vector<std::uint8_t> buffer;
  detector.Serialize(buffer);
  EndProcess();
  return buffer;
}

void ProgramTest::WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(Cli::PathOf(path), std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace Vexil::Tests
