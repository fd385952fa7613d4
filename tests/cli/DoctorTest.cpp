#include <functional>
#include <nlohmann/json.hpp>

#include "ProgramTest.h"
#include "Simulation.h"

namespace Vexil::Tests {
namespace {

using nlohmann::json;
using Simulation::Machine;

class DoctorTest : public ProgramTest {
 protected:
  static json Diagnose(const Machine& machine) {
    Simulation::SetMachine(machine);
    const Answer answer = Run({"doctor", "--json"});
    const json parsed = json::parse(answer.out);
    json diagnosis;
    for (const json& source : parsed["sources"]) diagnosis[source["source"]] = source;
    return diagnosis;
  }
};

TEST_F(DoctorTest, EachSourceAnswersOnAHealthyMachine) {
  const json diagnosis = Diagnose(LoadMachine("five-gpus"));
  EXPECT_EQ(diagnosis.size(), 7U);
  for (const json& source : diagnosis) {
    EXPECT_EQ(source["state"], "answered") << source;
    EXPECT_GE(source["records"], 2) << source;
    EXPECT_TRUE(source.contains("milliseconds")) << source;
    EXPECT_EQ(source["unmatched"], json::array()) << source;
    EXPECT_EQ(source["messages"], json::array()) << source;
  }
}

TEST_F(DoctorTest, TellsWhatKeepsASourceFromAnswering) {
  constexpr const char* kNotInstalled = "library not installed or not loadable";
  struct Case {
    const char* source;
    std::function<void(Machine&)> harm;
    const char* state;
    const char* detail;  ///< Somewhere in what is told of the source.
  };
  const auto fail = [](const char* call) { return [=](Machine& m) { m.failures.push_back({call, {}}); }; };
  const std::vector<Case> cases = {
      {"OpenCL", [](Machine& m) { m.opencl.reset(); }, kNotInstalled, "OpenCL.dll"},
      {"OpenCL", [](Machine& m) { m.opencl->missing = {"clGetDeviceIDs"}; }, "entry point missing", "clGetDeviceIDs"},
      {"OpenCL", fail("clGetPlatformIDs"), "call failed", "clGetPlatformIDs, status"},
      {"CUDA", [](Machine& m) { m.cuda.reset(); }, kNotInstalled, "nvcuda.dll"},
      {"CUDA", [](Machine& m) { m.cuda->missing = {"cuDriverGetVersion"}; }, "entry point missing",
       "cuDriverGetVersion"},
      {"CUDA", fail("cuInit"), "call failed", "cuInit"},
      {"CUDA", fail("cuDeviceGetCount"), "call failed", "cuDeviceGetCount failed with"},
      {"NVML", [](Machine& m) { m.nvml.reset(); }, kNotInstalled, "nvml.dll"},
      {"NVML", [](Machine& m) { m.nvml->missing = {"nvmlShutdown"}; }, "entry point missing", "nvmlShutdown"},
      {"NVML", [](Machine& m) { m.nvml->missing = {"nvmlDeviceGetVbiosVersion"}; }, "answered",
       "nvmlDeviceGetVbiosVersion"},
      {"NVML", fail("nvmlInit_v2"), "call failed", "nvmlInit_v2"},
      {"NVAPI", [](Machine& m) { m.nvapi.reset(); }, kNotInstalled, "nvapi64.dll"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = {"NvAPI_Initialize"}; }, "entry point missing", "NvAPI_Initialize"},
      {"NVAPI", fail("NvAPI_Initialize"), "call failed", "NvAPI_Initialize, status"},
      {"AMD DL", [](Machine& m) { m.adl.reset(); }, kNotInstalled, "atiadlxx.dll"},
      {"AMD DL", [](Machine& m) { m.adl->missing = {"ADL_Main_Control_Destroy"}; }, "entry point missing",
       "ADL_Main_Control_Destroy"},
      {"AMD DL", fail("ADL_Main_Control_Create"), "call failed", "ADL_Main_Control_Create"},
      {"AMD DL", fail("ADL_Adapter_AdapterInfo_Get"), "call failed", "Failed to enumerate adapters."},
  };
  for (const Case& c : cases) {
    Machine machine = LoadMachine("five-gpus");
    c.harm(machine);
    const json diagnosis = Diagnose(machine);
    for (const json& source : diagnosis) {
      const bool is_harmed = source["source"] == c.source;
      EXPECT_EQ(source["state"], is_harmed ? c.state : "answered") << c.source << ", " << c.detail << ": " << source;
    }
    EXPECT_NE(diagnosis[c.source].dump().find(c.detail), std::string::npos) << diagnosis[c.source];
  }
}

TEST_F(DoctorTest, TellsWhichSourcesSawWhatIsNotMatched) {
  Machine machine = LoadMachine("five-gpus");
  machine.nvapi.reset();
  const json diagnosis = Diagnose(machine);
  for (const char* source : {"CUDA", "NVML", "DirectX", "Win32", "OpenCL"}) {
    const json& unmatched = diagnosis[source]["unmatched"];
    ASSERT_EQ(unmatched.size(), 2U) << source;
    EXPECT_EQ(unmatched[0]["pci_bus"], 1) << source;
    EXPECT_EQ(unmatched[1]["pci_bus"], 65) << source;
  }
  EXPECT_EQ(diagnosis["AMD DL"]["unmatched"], json::array());
  const Answer text = Run({"doctor"});
  EXPECT_NE(text.out.find("Not matched: DirectX saw \"NVIDIA GeForce RTX 3090\" at PCI:65:0"), std::string::npos);
  EXPECT_NE(text.out.find("Ignoring unmatched DirectX GPU \"NVIDIA GeForce RTX 3090\"."), std::string::npos);
}

}  // namespace
}  // namespace Vexil::Tests
