#include <fmt/ranges.h>

#include <fstream>

#include "simulation/SimulatedLibraries.h"
#include "tests/support/MachineTest.h"

namespace Vexil::Tests {
namespace {

/// What LoadMachine says of a file with this text; empty where it takes it.
std::string Complaint(const std::string& text) {
  const std::string path = TemporaryFile("machine.json");
  std::ofstream(path) << text;
  try {
    Simulation::LoadMachine(path);
  } catch (const Simulation::MachineError& error) {
    return std::string(error.what()).substr(path.size());
  }
  return "";
}

TEST(MachineFiles, SlipsAreTold) {
  constexpr const char* kNoNumber = R"(expected a whole number, or a text such as "0x10de")";
  constexpr const char* kNoAddress = R"(expected a PCI address such as "65:0.0")";
  constexpr const char* kOutOfRange = "number out of range";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {R"({"cudaa": {}})", R"(: unknown member "cudaa")"},
      {R"({"nvapi": {"gpus": [{}, {"nam": ""}]}})", R"(.nvapi.gpus[1]: unknown member "nam")"},
      {R"({"cuda": {"missing": ["cuInitxx"]}})", R"(.cuda: unknown entry point "cuInitxx" of nvcuda.dll)"},
      {R"({"nvapi": {"missing": ["cuInit"]}})", R"(.nvapi: unknown entry point "cuInit" of nvapi64.dll)"},
      {R"({"failures": ["cuInitt"]})", R"(.failures[0]: unknown call "cuInitt")"},
      {R"({"failures": [{"call": "cuInitt 3"}]})", R"(.failures[0]: unknown call "cuInitt")"},
      {R"({"windows": {"threads": 4294967296}})", std::string(".windows.threads: ") + kOutOfRange},
      {R"({"windows": {"threads": -2}})", std::string(".windows.threads: ") + kOutOfRange},
      {R"({"windows": {"threads": "0x100000000"}})", std::string(".windows.threads: ") + kNoNumber},
      {R"({"windows": {"threads": "0x1g"}})", std::string(".windows.threads: ") + kNoNumber},
      {R"({"windows": {"threads": 1.5}})", std::string(".windows.threads: ") + kNoNumber},
      {R"({"windows": {"memory_mib": -5}})", ".windows.memory_mib: expected a number of MiB"},
      {R"({"windows": {"memory_mib": 1e30}})", ".windows.memory_mib: expected a number of MiB"},
      {R"({"adl": {"claimed_count": 18446744073709551615}})", std::string(".adl.claimed_count: ") + kOutOfRange},
      {R"({"display_adapters": [{"outputs": [{"state": "attached"}]}]})",
       ".display_adapters[0].outputs[0].state: expected a list"},
      {R"({"display_class": [{"pci": "0000:65:00.0"}]})", std::string(".display_class[0].pci: ") + kNoAddress},
      {R"({"display_class": [{"pci": "65:0x"}]})", std::string(".display_class[0].pci: ") + kNoAddress},
      {R"({"display_class": [{"pci": "99999999999:0"}]})", std::string(".display_class[0].pci: ") + kNoAddress},
      {R"({"nvapi": {"displays": [{"gpus": [)" + fmt::format("{}", fmt::join(std::vector(65, 0), ", ")) + "]}]}}",
       ".nvapi.displays[0]: expected 64 GPUs at most"},
      {R"({"windows": {"threads": -1}, "adl": {"adapters": [{"vendor_id": "0xFFFFFFFF"}]}})", ""},
      {R"({"failures": ["cuDeviceGetAttribute 33"], "nvapi": {"missing": ["NvAPI_GPU_GetMemoryInfo"]}})", ""},
  };
  for (const auto& [text, complaint] : cases) EXPECT_EQ(Complaint(text), complaint) << text;
}

class KnownCalls : public MachineTest {};

TEST_F(KnownCalls, AreAllThatARichMachineSees) {
  Simulation::SetMachine(LoadTestMachine("five-gpus"));
  Simulation::WatchCalls([](std::uint64_t, std::string_view call, std::string_view) {
    EXPECT_TRUE(Simulation::IsKnownCall(std::string(call))) << call;
    return false;
  });
  TestDetector().Detect({});
}

}  // namespace
}  // namespace Vexil::Tests
