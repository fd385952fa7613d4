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
  /// By source.
  static json Diagnose(const Machine& machine) {
    Simulation::SetMachine(machine);
    const json parsed = json::parse(Run({"doctor", "--json"}).out);
    json diagnosis;
    for (const json& source : parsed["sources"]) diagnosis[source["source"]] = source;
    return diagnosis;
  }
};

TEST_F(DoctorTest, EachSourceAnswersOnAHealthyMachine) {
  const json diagnosis = Diagnose(LoadTestMachine("five-gpus"));
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
  constexpr const char* kMissing = "entry point missing";
  struct Case {
    const char* source;
    std::function<void(Machine&)> harm;
    const char* state;
    const char* detail;  ///< Somewhere in what is told of the source.
  };
  const auto fail = [](const char* call) { return [=](Machine& m) { m.failures.push_back({call, {}}); }; };
  const std::vector<Case> cases = {
      {"OpenCL", [](Machine& m) { m.opencl.reset(); }, kNotInstalled, "OpenCL.dll"},
      {"OpenCL", [](Machine& m) { m.opencl->missing = {"clGetDeviceIDs"}; }, kMissing, "clGetDeviceIDs"},
      {"OpenCL", fail("clGetPlatformIDs"), "call failed", "clGetPlatformIDs, status -6"},
      {"OpenCL", fail("clGetDeviceIDs"), "call failed", "clGetDeviceIDs, status -6"},
      {"Win32", fail("RegGetValue"), "answered with errors", "Failed to find provider information"},
      {"DirectX", fail("CreateDXGIFactory"), "call failed", "CreateDXGIFactory, 0x887A0004"},
      {"CUDA", [](Machine& m) { m.cuda.reset(); }, kNotInstalled, "nvcuda.dll"},
      {"CUDA", [](Machine& m) { m.cuda->missing = {"cuDriverGetVersion"}; }, kMissing, "cuDriverGetVersion"},
      {"CUDA", fail("cuInit"), "call failed", "cuInit, status 999"},
      {"CUDA", fail("cuDeviceGetCount"), "call failed", "cuDeviceGetCount, status 999"},
      {"NVML", [](Machine& m) { m.nvml.reset(); }, kNotInstalled, "nvml.dll"},
      {"NVML", [](Machine& m) { m.nvml->missing = {"nvmlShutdown"}; }, kMissing, "nvmlShutdown"},
      {"NVML", [](Machine& m) { m.nvml->missing = {"nvmlDeviceGetVbiosVersion"}; }, "answered",
       "nvmlDeviceGetVbiosVersion"},
      {"NVML", fail("nvmlInit_v2"), "call failed", "nvmlInit_v2, status 999"},
      {"NVML", fail("nvmlDeviceGetCount_v2"), "call failed", "nvmlDeviceGetCount_v2, status 999"},
      {"NVML", fail("nvmlDeviceGetVbiosVersion"), "answered with errors", "Query device VBIOS version"},
      {"NVAPI", [](Machine& m) { m.nvapi.reset(); }, kNotInstalled, "nvapi64.dll"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = {"nvapi_QueryInterface"}; }, kMissing,
       R"("missing_entry_points":["nvapi_QueryInterface"])"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = {"NvAPI_Unload"}; }, kMissing,
       R"("missing_entry_points":["NvAPI_Unload"])"},
      {"NVAPI",
       [](Machine& m) {
         m.nvapi->missing = {"NvAPI_EnumPhysicalGPUs", "NvAPI_GPU_GetBusId"};
       },
       kMissing,
       R"("missing_entry_points":["NvAPI_EnumPhysicalGPUs"],"missing_optional_entry_points":["NvAPI_GPU_GetBusId"])"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = LoadTestMachine("old-drivers").nvapi->missing; }, "answered",
       R"(["NvAPI_EnumNvidiaUnAttachedDisplayHandle","NvAPI_GPU_GetCurrentPCIEDownstreamWidth",)"
       R"("NvAPI_GPU_GetSystemType","NvAPI_GPU_GetGPUType","NvAPI_GPU_GetMemoryInfo"])"},
      {"NVAPI", fail("NvAPI_Initialize"), "call failed", "NvAPI_Initialize, status -1"},
      {"NVAPI", fail("NvAPI_EnumPhysicalGPUs"), "call failed", "NvAPI_EnumPhysicalGPUs, status -1"},
      {"AMD DL", [](Machine& m) { m.adl.reset(); }, kNotInstalled, "atiadlxx.dll"},
      {"AMD DL", [](Machine& m) { m.adl->missing = {"ADL_Main_Control_Destroy"}; }, kMissing,
       "ADL_Main_Control_Destroy"},
      {"AMD DL", fail("ADL_Main_Control_Create"), "call failed", "ADL_Main_Control_Create, status -1"},
      {"AMD DL", fail("ADL_Adapter_AdapterInfo_Get"), "call failed", "ADL_Adapter_AdapterInfo_Get, status -1"},
  };
  for (const Case& c : cases) {
    Machine machine = LoadTestMachine("five-gpus");
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
  Machine machine = LoadTestMachine("five-gpus");
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
  constexpr const char* kIgnored = "Ignoring unmatched DirectX GPU \"NVIDIA GeForce RTX 3090\".";
  EXPECT_NE(text.out.find(kIgnored), std::string::npos);
  const json steps = json::parse(Run({"doctor", "--json"}).out)["steps"];
  ASSERT_EQ(steps.size(), 3U);
  EXPECT_EQ(steps[1]["step"], "GPU Matching");
  EXPECT_NE(steps[1]["messages"].dump().find("unmatched DirectX GPU"), std::string::npos) << steps;
}

// A result holds one GPU per identifier, so the other one is neither shown nor unmatched.
TEST_F(DoctorTest, TellsOfTwoGPUsWithOneIdentifier) {
  Machine machine = LoadTestMachine("twin-nvidia-nvlink");
  machine.nvapi->gpus[1].pci = machine.nvapi->gpus[0].pci;
  Simulation::SetMachine(machine);
  const std::string saved = TemporaryFile("twins.vexil");
  WriteFile(saved, Detect());
  for (const std::vector<std::string>& source : {std::vector<std::string>(), {"--from", saved}}) {
    const auto run = [&](std::vector<std::string> arguments) {
      arguments.insert(arguments.end(), source.begin(), source.end());
      return Run(arguments);
    };
    const std::string text = run({"doctor"}).out;
    EXPECT_NE(text.find("2 GPUs matched, 2 of them under an identifier that another has: gpu:"), std::string::npos)
        << text;
    EXPECT_EQ(text.find("Not matched: NVAPI"), std::string::npos) << text;
    for (const std::vector<std::string>& command : {std::vector<std::string>(), {"list"}}) {
      EXPECT_EQ(run(command).err.rfind("vexil: another GPU has the identifier gpu:", 0), 0U);
    }
  }
}

}  // namespace
}  // namespace Vexil::Tests
