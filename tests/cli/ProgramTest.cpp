#include "ProgramTest.h"

#include <fstream>
#include <sstream>

#include "CommandLine.h"

namespace Vexil::Tests {

Answer ProgramTest::Run(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "vexil");
  std::vector<const char*> argv;
  for (const std::string& argument : arguments) argv.push_back(argument.c_str());
  TestDetector detector;
  std::ostringstream out;
  std::ostringstream err;
  const int status = Program::RunCommandLine(static_cast<int>(argv.size()), argv.data(), detector, out, err);
  Simulation::EndProcess();
  return {status, out.str(), err.str()};
}

std::vector<std::uint8_t> ProgramTest::Detect() {
  TestDetector detector;
  detector.Detect({.KeepMarker = true, .Silent = true});
  std::vector<std::uint8_t> buffer;
  detector.Serialize(buffer);
  Simulation::EndProcess();
  return buffer;
}

std::string ProgramTest::TemporaryFile(const std::string& name) { return testing::TempDir() + "vexil-" + name; }

void ProgramTest::WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace Vexil::Tests
