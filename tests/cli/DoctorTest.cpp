#include <functional>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <stdexcept>

#include "simulation/Simulation.h"
#include "tests/cli/ProgramTest.h"

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

  /// Whether this stands somewhere in what is printed for people.
  static testing::AssertionResult Says(const Machine& machine, const std::string& text) {
    Simulation::SetMachine(machine);
    const std::string out = Run({"doctor"}).out;
    return (out.find(text) != std::string::npos ? testing::AssertionSuccess() : testing::AssertionFailure()) << out;
  }
};

TEST_F(DoctorTest, EachSourceAnswersOnAHealthyMachine) {
  const json diagnosis = Diagnose(LoadTestMachine("five-gpus"));
  EXPECT_EQ(diagnosis.size(), kSourceCount);
  for (const json& source : diagnosis) {
    EXPECT_EQ(source["state"], "answered") << source;
    EXPECT_GE(source["records"], 2) << source;
    EXPECT_TRUE(source.contains("milliseconds")) << source;
    EXPECT_EQ(source["unmatched"], json::array()) << source;
  }
  EXPECT_TRUE(Says(LoadTestMachine("five-gpus"), "\n\n5 GPUs matched.\n"));
}

TEST_F(DoctorTest, TellsWhatKeepsASourceFromAnswering) {
  struct Case {
    const char* source;
    std::function<void(Machine&)> harm;
    const char* state;
    const char* text;  ///< Somewhere in what is printed.
  };
  const auto fail = [](const char* call, std::optional<std::int64_t> device = {}) {
    return [=](Machine& m) { m.failures.push_back({call, device}); };
  };
  const std::vector<Case> cases = {
      {"OpenCL", [](Machine& m) { m.opencl.reset(); }, "library-missing",
       "OpenCL    OpenCL.dll    library not installed (error 126: Module not found.), 0 ms\n"},
      {"OpenCL", fail("LoadLibrary OpenCL.dll"), "library-missing",
       "library does not load (error 1114: DLL initialization failed.), 0 ms\n"
       "    C:\\Windows\\System32\\OpenCL.dll\n"},
      {"OpenCL", [](Machine& m) { m.opencl->missing = {"clGetDeviceIDs"}; }, "entry-point-missing",
       "    missing: clGetDeviceIDs\n"},
      {"OpenCL", fail("clGetPlatformIDs"), "call-failed",
       "call failed: clGetPlatformIDs, CL_OUT_OF_HOST_MEMORY (-6), 0 records"},
      {"OpenCL", fail("clGetDeviceIDs"), "incomplete",
       "    platform 0 not listed: clGetDeviceIDs, CL_OUT_OF_HOST_MEMORY (-6)\n"},
      {"OpenCL", fail("clGetDeviceInfo 0x4009"), "incomplete",
       "    pci_bus, pci_device of platform 0, device 1 unknown: clGetDeviceInfo, CL_OUT_OF_HOST_MEMORY (-6)\n"},
      {"Win32", fail("RegGetValue ProviderName"), "incomplete", "    Failed to find provider information"},
      {"Win32", fail("EnumDisplaySettings", {}), "incomplete",
       R"(    width, height, refresh_rate of \\.\DISPLAY1 unknown: EnumDisplaySettingsA \\.\DISPLAY1)"},
      {"DirectX", fail("CreateDXGIFactory"), "call-failed",
       "call failed: CreateDXGIFactory, DXGI_ERROR_UNSUPPORTED (0x887A0004)"},
      {"DirectX", fail("GetDesc2", 1), "incomplete",
       "    name, vendor_id, device_id, subsys_id, revision, memory of adapter 1 unknown: GetDesc2, E_FAIL "
       "(0x80004005)"},
      {"CUDA", [](Machine& m) { m.cuda.reset(); }, "library-missing", "nvcuda.dll"},
      {"CUDA",
       [](Machine& m) {
         m.cuda->missing = {"cuDriverGetVersion", "cuInit"};
       },
       "entry-point-missing", "    missing: cuInit, cuDriverGetVersion\n"},
      {"CUDA", fail("cuInit"), "start-failed", "did not start: cuInit, CUDA_ERROR_UNKNOWN (999), 0 records"},
      {"CUDA", fail("cuDeviceGetCount"), "call-failed", "call failed: cuDeviceGetCount, CUDA_ERROR_UNKNOWN (999)"},
      {"CUDA", fail("cuDeviceTotalMem_v2", 1), "incomplete",
       "    memory_mib of device 1 unknown: cuDeviceTotalMem_v2, CUDA_ERROR_UNKNOWN (999)\n"},
      {"NVML", [](Machine& m) { m.nvml.reset(); }, "library-missing", "nvml.dll"},
      {"NVML", [](Machine& m) { m.nvml->missing = {"nvmlShutdown"}; }, "entry-point-missing", "nvmlShutdown"},
      {"NVML", [](Machine& m) { m.nvml->missing = {"nvmlDeviceGetVbiosVersion"}; }, "answered",
       "    missing, but optional: nvmlDeviceGetVbiosVersion\n"},
      {"NVML", fail("nvmlInit_v2"), "start-failed", "did not start: nvmlInit_v2, NVML_ERROR_UNKNOWN (999)"},
      {"NVML", fail("nvmlDeviceGetHandleByIndex_v2", 0), "incomplete",
       "    device 0 not listed: nvmlDeviceGetHandleByIndex_v2, NVML_ERROR_UNKNOWN (999)\n"},
      {"NVAPI", [](Machine& m) { m.nvapi.reset(); }, "library-missing", "nvapi64.dll"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = {"nvapi_QueryInterface"}; }, "entry-point-missing",
       "    missing: nvapi_QueryInterface\n"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = {"NvAPI_Unload"}; }, "answered",
       "    missing, but optional: NvAPI_Unload\n"},
      {"NVAPI", [](Machine& m) { m.nvapi->missing = {"NvAPI_EnumPhysicalGPUs"}; }, "entry-point-missing",
       "    missing: NvAPI_EnumPhysicalGPUs\n"},
      {"NVAPI",
       [](Machine& m) {
         m.nvapi->missing = {"NvAPI_GPU_GetGPUType", "NvAPI_GPU_GetBusSlotId"};
       },
       "answered", "    missing, but optional: NvAPI_GPU_GetBusSlotId, NvAPI_GPU_GetGPUType\n"},
      {"NVAPI", fail("NvAPI_Initialize"), "start-failed", "did not start: NvAPI_Initialize, NVAPI_ERROR (-1)"},
      {"NVAPI", fail("NvAPI_EnumPhysicalGPUs"), "call-failed",
       "call failed: NvAPI_EnumPhysicalGPUs, NVAPI_ERROR (-1), 0 records"},
      {"NVAPI", fail("NvAPI_EnumNvidiaDisplayHandle", 2), "incomplete",
       "    display_names of display 2 unknown: NvAPI_EnumNvidiaDisplayHandle, NVAPI_ERROR (-1)\n"},
      {"AMDDL", [](Machine& m) { m.adl.reset(); }, "library-missing", "atiadlxx.dll"},
      {"AMDDL", [](Machine& m) { m.adl->missing = {"ADL_Main_Control_Destroy"}; }, "entry-point-missing",
       "ADL_Main_Control_Destroy"},
      {"AMDDL", fail("ADL_Main_Control_Create"), "start-failed",
       "did not start: ADL_Main_Control_Create, ADL_ERR (-1)"},
      {"AMDDL", fail("ADL_Adapter_AdapterInfo_Get"), "call-failed",
       "call failed: ADL_Adapter_AdapterInfo_Get, ADL_ERR (-1)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.source) + ", " + c.text);
    Machine machine = LoadTestMachine("five-gpus");
    c.harm(machine);
    const json diagnosis = Diagnose(machine);
    EXPECT_EQ(diagnosis[c.source]["state"], c.state);
    EXPECT_TRUE(Says(machine, c.text));
  }
}

TEST_F(DoctorTest, TellsWhichFileALibraryIs) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.nvml->file_version = "8.17.15.3713";
  const json diagnosis = Diagnose(machine);
  EXPECT_EQ(diagnosis["NVML"]["path"], "C:\\Windows\\System32\\nvml.dll");
  EXPECT_EQ(diagnosis["NVML"]["version"], "8.17.15.3713");
  EXPECT_TRUE(Says(machine, "    C:\\Windows\\System32\\nvml.dll, version 8.17.15.3713\n"));
}

TEST_F(DoctorTest, OneSourceThatEndsItsProcessLeavesTheOthers) {
  const auto fail = [] {
    Simulation::SetMachine(LoadTestMachine("five-gpus"));
    Simulation::WatchCalls([](std::uint64_t, std::string_view call, std::string_view) -> bool {
      if (call == "cuDeviceGetCount") throw std::runtime_error("out of luck");
      return false;
    });
  };
  fail();
  const json diagnosis = json::parse(Run({"doctor", "--json"}).out);
  EXPECT_EQ(diagnosis["gpus"], 5);
  for (const json& source : diagnosis["sources"]) {
    const bool has_ended = source["source"] == "CUDA";
    EXPECT_EQ(source["state"], has_ended ? "no-answer" : "answered") << source;
    EXPECT_EQ(source.contains("milliseconds"), !has_ended) << source;
  }
  fail();
  const std::string text = Run({"doctor"}).out;
  EXPECT_NE(text.find("CUDA      nvcuda.dll    ended without an answer: out of luck\n"), std::string::npos) << text;
}

// Whatever fails wherever it is called: where that changes the report, somebody looks for the reason here.
TEST_F(DoctorTest, IsNotSilentAboutWhatChangesTheReport) {
  Machine machine = LoadTestMachine("five-gpus");
  const auto run = [&](const std::vector<std::string>& command) {
    Simulation::SetMachine(machine);
    static const std::regex kCounts("[0-9]+ (ms|records?|GPUs? matched)|Not matched.*");
    return std::regex_replace(Run(command).out, kCounts, "");
  };
  const std::string sound = run({"doctor"});
  Simulation::SetMachine(machine);
  std::set<std::string> calls;
  Simulation::WatchCalls([&](std::uint64_t, std::string_view call, std::string_view parameter) {
    calls.insert(std::string(call) + (parameter.empty() ? "" : " ") + std::string(parameter));
    return false;
  });
  Run({});
  const std::string report = run({});
  EXPECT_GT(calls.size(), 100U);
  for (const std::string& call : calls) {
    machine.failures = {{call, {}}};
    EXPECT_TRUE(run({}) == report || run({"doctor"}) != sound) << call;
  }
}

// Handles mean nothing to the process that reads them: platforms and their devices are counted through.
TEST_F(DoctorTest, NumbersOpenCLHandles) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.nvapi.reset();
  const json diagnosis = Diagnose(machine);
  const json& opencl = diagnosis["OpenCL"]["unmatched"];
  ASSERT_EQ(opencl.size(), 2U);
  EXPECT_EQ(opencl[0]["platform_id"], 1);
  EXPECT_EQ(opencl[0]["device_id"], 2);
  EXPECT_EQ(opencl[1]["device_id"], 3);
}

TEST_F(DoctorTest, TellsWhatOnlyAMissingSourceLists) {
  const std::string nvidia = "NVIDIA cards are listed only through NVAPI.";
  const std::string amd = "AMD cards are listed only through the AMD Display Library.";
  const std::string intel = "Intel GPUs, and the monitors of all, are listed only through DirectX.";
  struct Case {
    const char* machine;
    std::function<void(Machine&)> harm;
    std::vector<std::string> losses;
  };
  const std::vector<Case> cases = {
      {"five-gpus", [](Machine&) {}, {}},
      {"five-gpus", [](Machine& m) { m.nvapi.reset(); }, {nvidia}},
      {"five-gpus", [](Machine& m) { m.adl->missing = {"ADL_Main_Control_Create"}; }, {amd}},
      {"five-gpus",
       [](Machine& m) {
         m.failures = {{"CreateDXGIFactory", {}}};
       },
       {intel}},
      // Nobody saw a card of theirs.
      {"intel-only", [](Machine&) {}, {}},
      {"none", [](Machine&) {}, {nvidia, amd, intel}},
  };
  for (const Case& c : cases) {
    Machine machine = LoadTestMachine(c.machine);
    c.harm(machine);
    Simulation::SetMachine(machine);
    EXPECT_EQ(json::parse(Run({"doctor", "--json"}).out)["losses"], json(c.losses)) << c.machine;
    for (const std::string& loss : c.losses) EXPECT_TRUE(Says(machine, loss + "\n"));
  }
}

TEST_F(DoctorTest, TellsOfTheSessionThatItRunsIn) {
  const Machine remote = LoadTestMachine("remote-session");
  EXPECT_TRUE(Says(remote, "This session\n    It is a remote one"));
  EXPECT_TRUE(Says(remote, "    Citrix's indirect display adapter"));
  Machine machine = LoadTestMachine("five-gpus");
  EXPECT_FALSE(Says(machine, "This session"));
  machine.environment = {{"CUDA_VISIBLE_DEVICES", "1"}, {"PATH", "C:"}};
  EXPECT_TRUE(Says(machine, "This session\n    CUDA_VISIBLE_DEVICES=1 may hide devices"));
  Simulation::SetMachine(machine);
  const json session = json::parse(Run({"doctor", "--json"}).out)["session"];
  EXPECT_EQ(session["hiding_variables"], json({"CUDA_VISIBLE_DEVICES=1"}));
  EXPECT_EQ(session["remote"], false);
  // The source is asked as the library would ask it.
  EXPECT_EQ(Diagnose(machine)["CUDA"]["records"], 1);
}

TEST_F(DoctorTest, ListsAreAlwaysThere) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.cuda.reset();
  Simulation::SetMachine(machine);
  const std::string saved = TemporaryFile("lists.vexil");
  WriteFile(saved, Detect());
  const std::vector<std::string> commands[] = {{"doctor", "--json"}, {"doctor", "--json", "--from", saved}};
  for (const std::vector<std::string>& command : commands) {
    const json answer = json::parse(Run(command).out);
    for (const char* list : {"shared_identifiers", "sources", "losses"}) EXPECT_TRUE(answer[list].is_array()) << list;
    EXPECT_TRUE(answer["system"]["failed_calls"].is_array());
    EXPECT_TRUE(answer["main_display"]["remarks"].is_array());
    EXPECT_TRUE(answer["session"]["hiding_variables"].is_array());
    for (const json& source : answer["sources"]) {
      for (const char* list :
           {"missing_entry_points", "missing_optional_entry_points", "failed_calls", "remarks", "unmatched"}) {
        EXPECT_TRUE(source[list].is_array()) << list << " of " << source;
      }
    }
  }
}

TEST_F(DoctorTest, TellsWhatIsUnknownOfTheSystem) {
  Machine machine = LoadTestMachine("five-gpus");
  machine.failures = {{"NvAPI_SYS_GetDriverAndBranchVersion", {}}, {"GlobalMemoryStatusEx", {}}};
  // No adapter that drives a display is listed.
  machine.dxgi->front().description.is_software = true;
  for (auto& adapter : *machine.dxgi) adapter.outputs.clear();
  Simulation::SetMachine(machine);
  const std::string text = Run({"doctor"}).out;
  for (const char* part :
       {"System\n    ram_mib unknown: GlobalMemoryStatusEx\n",
        "    nvidia_driver_major, nvidia_driver_minor unknown: NvAPI_SYS_GetDriverAndBranchVersion, NVAPI_ERROR (-1)\n",
        "Main display\n    No Main Display GPU found"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
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
  EXPECT_EQ(diagnosis["AMDDL"]["unmatched"], json::array());
  const Answer text = Run({"doctor"});
  EXPECT_NE(text.out.find("Not matched: DirectX saw \"NVIDIA GeForce RTX 3090\" at PCI:65:0"), std::string::npos);
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
