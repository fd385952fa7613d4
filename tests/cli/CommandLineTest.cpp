#include <algorithm>
#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Version.h"
#include "cli/ResultFile.h"
#include "simulation/Simulation.h"
#include "tests/cli/ProgramTest.h"
#include "tests/support/LogCapture.h"

namespace Vexil::Tests {
namespace {

using nlohmann::json;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// A number that is -1 or all bits set, an empty text or record, at any depth.
bool HasUnknown(const json& value) {
  static const std::array<json, 3> kUnknowns = {-1, ~std::uint64_t{0}, ""};
  if (std::find(kUnknowns.begin(), kUnknowns.end(), value) != kUnknowns.end()) return true;
  if (!value.is_structured()) return false;
  const bool is_empty_record = value.is_object() && value.empty();
  return is_empty_record || std::any_of(value.begin(), value.end(), HasUnknown);
}

class CommandLineTest : public ProgramTest {
 protected:
  CommandLineTest() {
    Simulation::SetMachine(LoadTestMachine("five-gpus"));
    WriteFile(m_saved, Detect());
  }

  /// The same command, of this machine and of its saved result.
  Answer RunSaved(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--from", m_saved});
    return Run(arguments);
  }

  const std::string m_saved = TemporaryFile("five-gpus.vexil");
};

TEST_F(CommandLineTest, ReportHasTheLinesOfTheLog) {
  const auto log = LogCapture::Start();
  const Answer silent = Run({});
  EXPECT_EQ(log->lines, std::vector<std::string>());
  const Answer verbose = Run({"--verbose"});

  std::string logged;
  bool is_report = false;
  for (const std::string& line : log->lines) {
    const std::string text = line.substr(line.find(' ') + 1);
    is_report = is_report || text == "Detected System:";
    if (is_report) logged += text + "\n";
  }
  EXPECT_EQ(silent.status, 0);
  EXPECT_EQ(silent.out, logged);
  EXPECT_EQ(verbose.out, logged);
}

TEST_F(CommandLineTest, ReportOfASavedResultHasNoLiveFigures) {
  const Answer answer = RunSaved({});
  EXPECT_EQ(answer.status, 0);
  EXPECT_TRUE(Contains(answer.out, "  - RAM: 127.8 GiB\n")) << answer.out;
  EXPECT_TRUE(Contains(answer.out, "    Discrete, 24.0 GiB VRAM, PCI:1:0 (x16)\n")) << answer.out;
}

TEST_F(CommandLineTest, ListFiltersThisMachineAndSavedResultsAlike) {
  struct Case {
    std::vector<std::string> arguments;
    std::size_t gpus;
  };
  const std::vector<Case> cases = {
      {{}, 5},
      {{"--vendor", "nvidia"}, 2},
      {{"--vendor", "unknown"}, 0},
      {{"--type", "INTEGRATED"}, 1},
      {{"--api", "CUDA"}, 2},
      {{"--api", "OpenCL", "--vendor", "AMD"}, 2},
      {{"--find", "w6800"}, 1},
      {{"--find", "6800", "--vendor", "Intel"}, 0},
      {{"--find", ""}, 5},
  };
  for (const Case& c : cases) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.begin(), "list");
    const Answer live = Run(arguments);
    const Answer saved = RunSaved(arguments);
    EXPECT_EQ(Lines(live.out).size(), c.gpus != 0 ? c.gpus + 1 : 0) << live.out;
    EXPECT_EQ(live.status, c.gpus != 0 ? 0 : 1);
    EXPECT_EQ(live.err, c.gpus != 0 ? "" : "vexil: no GPU matches\n");
    EXPECT_EQ(saved.out, live.out);
    EXPECT_EQ(saved.status, live.status);
  }
}

TEST_F(CommandLineTest, ShowTellsWhatOtherInterfacesCallTheGPU) {
  const Answer answer = Run({"show", "gpu:61279526.5150080d", "--raw"});
  EXPECT_EQ(answer.status, 0);
  for (const char* part :
       {"  CUDA     0             UUID GPU-69401105-2337-a290-183c-aa7710154270", "  NVAPI    0  ",
        "  Vulkan   2             type discrete", R"(\\.\DISPLAY1, \\.\DISPLAY2)", "pcie_max_generation  4"}) {
    EXPECT_TRUE(Contains(answer.out, part)) << part << " in\n" << answer.out;
  }
  const json shown = json::parse(Run({"show", "gpu:61279526.5150080d", "--json"}).out);
  EXPECT_EQ(shown["known_as"][1]["interface"], "CUDA");
  EXPECT_EQ(shown["known_as"][1]["number"], "0");

  EXPECT_TRUE(Contains(
      answer.out, R"(  Display  \\.\DISPLAY1  connector DisplayPort, maker DEL, product 0x40F1, serial 1280979521, )"
                  "size mm 597x336, mode 3840x2160@60, scaling none, position 0,0, hdr off, LUID 0x0000C2A1\n"))
      << answer.out;
  EXPECT_TRUE(Contains(Run({"ids", "2"}).out,
                       "mode 1920x1080@75, scaling the driver's choice, position 3840,-120, "
                       "hdr not supported"));

  // The numbers are those of a process that has ended; the rest is the same.
  const Answer saved = RunSaved({"show", "gpu:61279526.5150080d", "--raw"});
  EXPECT_TRUE(Contains(saved.out, "belong to a running machine")) << saved.out;
  const auto records = [](const std::string& text) { return text.substr(text.find("\ngpu\n")); };
  EXPECT_EQ(records(saved.out), records(answer.out));
  EXPECT_EQ(RunSaved({"ids"}).status, 2);
}

TEST_F(CommandLineTest, ShowTakesAnyTextThatMeansOneGPU) {
  struct Case {
    const char* text;
    const char* place;
  };
  constexpr const char* kFirst = "PCI:1:0";
  constexpr const char* kSecond = "PCI:65:0";
  for (const Case& c : {Case{"w6800", "PCI:6:0.0"}, Case{"0", kFirst}, Case{"1", kSecond}, Case{"4", "PCI:0:2.0"},
                        Case{"65:0", kSecond}, Case{"PCI:65:0", kSecond}, Case{"41:00.0", kSecond},
                        Case{"0000:41:00.0", kSecond}, Case{"06:00.0", "PCI:6:0.0"}, Case{"0:2.0", "PCI:0:2.0"},
                        Case{R"(\\.\DISPLAY6)", "PCI:3:0.0"}, Case{"display2", kFirst}, Case{"main", kFirst},
                        Case{"GPU-1cb49f7c-951a-1e98-4893-3e85bc32b6f1", kSecond}, Case{"GPU-1c", kSecond}}) {
    const Answer answer = Run({"ids", c.text, "--json"});
    ASSERT_EQ(answer.status, 0) << c.text << answer.err;
    const json place = json::parse(Run({"show", json::parse(answer.out)["gpus"][0]["id"], "--json"}).out);
    EXPECT_EQ(place["gpu"]["pci_location"], c.place) << c.text;
  }
  // Digits of identifiers, a number and places that there are not.
  for (const char* text : {"61279526", "5150080d", "5", "65:1", "65:00.1", "DISPLAY77", "GPU-", "GPU-2"}) {
    EXPECT_EQ(Run({"show", text}).status, 1) << text;
  }
  const Answer ambiguous = Run({"show", "3090"});
  EXPECT_EQ(ambiguous.status, 2);
  EXPECT_TRUE(Contains(ambiguous.err, "1  gpu:61279526.e4457a84  NVIDIA GeForce RTX 3090  PCI:65:0\n"))
      << ambiguous.err;
  const Answer none = Run({"show", "Voodoo", "--json"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err, "vexil: there is no GPU \"Voodoo\"\n");
}

TEST_F(CommandLineTest, EnvLeadsToOneGPUAndAwayFromTheOthers) {
  constexpr const char* kLayers =
      R"("VK_LOADER_LAYERS_DISABLE":"~implicit~","DISABLE_LAYER_AMD_SWITCHABLE_GRAPHICS_1":"1","DISABLE_LAYER_NV_OPTIMUS_1":"1")";
  struct Case {
    const char* id;
    std::string set;
    std::string options;  ///< The numbers, in order.
  };
  const std::vector<Case> cases = {
      {"65:0",
       R"("CUDA_VISIBLE_DEVICES":"GPU-1cb49f7c-951a-1e98-4893-3e85bc32b6f1","HIP_VISIBLE_DEVICES":"-1",)"
       R"("GGML_VK_VISIBLE_DEVICES":"0",)" +
           std::string(kLayers),
       "2 0:1 0:1 2"},
      // HIP's own place differs from its ordinal, 1.
      {"w6800",
       R"("CUDA_VISIBLE_DEVICES":"-1","HIP_VISIBLE_DEVICES":"2","GPU_DEVICE_ORDINAL":"2",)"
       R"("GGML_VK_VISIBLE_DEVICES":"3",)" +
           std::string(kLayers),
       "3 1:1 1:1 4"},
      {"intel",
       R"("CUDA_VISIBLE_DEVICES":"-1","HIP_VISIBLE_DEVICES":"-1","GGML_VK_VISIBLE_DEVICES":"4",)" +
           std::string(kLayers) + R"(,"ZE_AFFINITY_MASK":"0")",
       "4 2:0 2:0 9"}};
  for (const Case& c : cases) {
    const auto env = nlohmann::ordered_json::parse(Run({"env", c.id, "--shell", "json"}).out);
    EXPECT_EQ(env["set"].dump(), "{" + c.set + "}");
    std::string options;
    for (const auto& number : env["options"]) options += (options.empty() ? "" : " ") + number.get<std::string>();
    EXPECT_EQ(options, c.options) << c.id;
    EXPECT_TRUE(env["unknown"].is_array() && env["unknown"].empty());
  }
  struct Shell {
    const char* name;
    const char* line;
    const char* comment;
  };
  for (const Shell& shell : {Shell{"cmd", "set \"HIP_VISIBLE_DEVICES=-1\"\n", "\nrem clinfo"},
                             Shell{"powershell", "$env:HIP_VISIBLE_DEVICES = '-1'\n", "\n# clinfo"},
                             Shell{"sh", "export HIP_VISIBLE_DEVICES='-1'\n", "\n# clinfo"}}) {
    const std::string text = Run({"env", "0", "--shell", shell.name}).out;
    EXPECT_TRUE(Contains(text, shell.line) && Contains(text, shell.comment)) << text;
  }
  EXPECT_EQ(Run({"env", "0", "--shell", "fish"}).status, 2);
  EXPECT_EQ(RunSaved({"env", "0"}).status, 2);
}

TEST_F(CommandLineTest, RunPassesOnOrRefuses) {
  // The simulated program prints its arguments and its environment, and ends with 7.
  const Answer run = Run({"run", "65:0", "--", "program", "--json", "a b", "--"});
  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(run.out.rfind("program\n--json\na b\n--\nCUDA_VISIBLE_DEVICES=GPU-1cb4", 0), 0U) << run.out;
  EXPECT_EQ(Run({"run", "voodoo", "--", "program"}).status, 2);
  EXPECT_EQ(Run({"run", "0"}).status, 2);

  Simulation::Machine machine = LoadTestMachine("five-gpus");
  machine.environment = {{"ONEAPI_DEVICE_SELECTOR", "cuda:1"}, {"CUDA_VISIBLE_DEVICES", "0"}};
  Simulation::SetMachine(machine);
  const Answer restricted = Run({"run", "65:0", "--", "program"});
  EXPECT_FALSE(Contains(restricted.out, "ONEAPI")) << restricted.out;
  EXPECT_TRUE(Contains(restricted.out, "CUDA_VISIBLE_DEVICES=GPU-1cb4")) << restricted.out;

  struct Refusal {
    const char* machine;
    const char* id;
    const char* reason;
  };
  for (const Refusal& r : {Refusal{"luid-contradicts-pci", "0", "Vulkan contradicts itself about this GPU"},
                           Refusal{"luid-contradicts-pci", "2", "Vulkan has a device that may be this GPU or not"}}) {
    Simulation::SetMachine(LoadTestMachine(r.machine));
    const Answer refused = Run({"run", r.id, "--", "program"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.out, "");
    EXPECT_TRUE(Contains(refused.err, r.reason)) << refused.err;
  }
  machine = LoadTestMachine("five-gpus");
  machine.failures = {{"hipGetDevicePropertiesR0600", {}}};
  Simulation::SetMachine(machine);
  EXPECT_TRUE(Contains(Run({"run", "w6800", "--", "program"}).err, "HIP does not tell at which place"));
  machine.failures = {{"cuDeviceGetCount", {}}};
  Simulation::SetMachine(machine);
  EXPECT_TRUE(Contains(Run({"run", "0", "--", "program"}).err, "CUDA cuDeviceGetCount returned")) << "";
  // What fails for others only is no reason.
  EXPECT_EQ(Run({"run", "w6800", "--", "program"}).status, 7);
}

TEST_F(CommandLineTest, MemoryIsWatchedLineByLine) {
  const Answer answer = Run({"memory", "RX 6800", "--json", "--watch", "0.01", "--count", "3"});
  EXPECT_EQ(answer.status, 0);
  ASSERT_EQ(Lines(answer.out).size(), 3U);
  for (const std::string& line : Lines(answer.out)) {
    const json figures = json::parse(line);
    EXPECT_EQ(figures["system"]["free_bytes"], 98304ULL << 20);
    ASSERT_EQ(figures["gpus"].size(), 1U);
    EXPECT_EQ(figures["gpus"][0]["total_bytes"], 16368ULL << 20);
    EXPECT_EQ(figures["gpus"][0]["free_bytes"], 15990784ULL * 1024);
    EXPECT_TRUE(figures.contains("time"));
  }
  const json nvidia = json::parse(Run({"memory", "0", "--json"}).out)["gpus"][0];
  // CUDA and NVAPI differ by a megabyte, not by units.
  EXPECT_EQ(nvidia["total_bytes"], (nvidia["vram_mib"].get<std::uint64_t>() + 1) << 20);
  EXPECT_EQ(Lines(Run({"memory", "--vendor", "AMD"}).out).size(), 3U);
  EXPECT_FALSE(json::parse(RunSaved({"memory", "--json"}).out)["gpus"][0].contains("free_bytes"));
  EXPECT_EQ(RunSaved({"memory", "--watch", "1"}).status, 2);
}

TEST_F(CommandLineTest, SavesWhatItCanReadBack) {
  const std::string path = TemporaryFile("saved.vexil");
  EXPECT_EQ(Run({"save", path}).status, 0);
  EXPECT_EQ(Cli::ReadFile(path), Detect());
  const std::string copy = TemporaryFile("copy.vexil");
  EXPECT_EQ(RunSaved({"save", copy}).status, 0);
  EXPECT_EQ(Cli::ReadFile(copy), Cli::ReadFile(m_saved));
  const json told = json::parse(Run({"save", path, "--json"}).out);
  EXPECT_EQ(told,
            json({{"json_version", 1}, {"command", "save"}, {"file", path}, {"gpus", 5}, {"bytes", Detect().size()}}));
  EXPECT_EQ(Run({"save", TemporaryFile("no/such/folder")}).status, 2);

  // What keeps it from being written leaves what was there.
  std::filesystem::create_directory(path + ".part");
  Simulation::SetMachine(LoadTestMachine("hybrid-laptop"));
  const Answer failed = Run({"save", path});
  EXPECT_EQ(failed.status, 2);
  EXPECT_EQ(failed.err.rfind("vexil: cannot write \"" + path + "\": ", 0), 0U) << failed.err;
  EXPECT_EQ(Cli::ReadFile(path), Cli::ReadFile(m_saved));
  std::filesystem::remove(path + ".part");
  EXPECT_EQ(Run({"save", path}).status, 0);
  EXPECT_EQ(Cli::ReadFile(path), Detect());
  EXPECT_FALSE(std::filesystem::exists(path + ".part"));

  if (!std::filesystem::exists("/dev/full")) return;
  const Answer full = Run({"save", "/dev/full"});
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "vexil: cannot write \"/dev/full\": No space left on device\n");
}

TEST_F(CommandLineTest, OutputIsSoundWhateverDriversCallThings) {
  Simulation::Machine machine = LoadTestMachine("five-gpus");
  machine.dxgi->at(4).description.name = "Intel\xAE \xC2 \"UHD\"\n\x1B[2J\x7F \x9B[2J Graphics";
  machine.nvapi->gpus.at(1).name = "NVIDIA \xC2\x9B[2J\xC2\xAE";
  Simulation::SetMachine(machine);
  for (const char* command : {"list", "doctor", "memory", "show"}) {
    std::vector<std::string> arguments = {command, "--json"};
    if (command == std::string("show")) arguments.emplace_back("Intel");
    const std::string as_json = Run(arguments).out;
    EXPECT_TRUE(json::accept(as_json)) << command;
    arguments.erase(arguments.begin() + 1);
    const std::string as_text = Run(arguments).out;
    for (const std::string& text : {as_json, as_text})
      EXPECT_EQ(text.find_first_of("\x1B\x7F\x9B"), std::string::npos) << text;
    EXPECT_FALSE(Contains(as_json, "\xEF\xBF\xBD")) << command;
  }
  EXPECT_EQ(Lines(Run({"list"}).out).size(), 6U);
  EXPECT_TRUE(Contains(Run({}).out, "\"UHD\"??[2J?"));
  const Answer report = Run({"--json"});
  ASSERT_TRUE(json::accept(report.out));
  const json result = json::parse(report.out);
  EXPECT_FALSE(HasUnknown(result)) << report.out;
  EXPECT_EQ(result["system"]["os"], "Windows");
  EXPECT_EQ(result["detectors_output"]["cuda"].size(), 2U);
  EXPECT_EQ(result["gpus"][0]["gpu"]["compute_apis"], json({"CUDA", "OpenCL"}));
  EXPECT_EQ(result["monitors"][3]["refresh_rate"], 75);
}

TEST_F(CommandLineTest, RematchTellsWhatDiffers) {
  const auto paths = [](const Answer& answer) {
    std::vector<std::string> list;
    const json parsed = json::parse(answer.out);
    for (const json& difference : parsed["results"][0]["differences"]) list.push_back(difference["path"]);
    EXPECT_EQ(answer.status, list.empty() ? 0 : 3);
    return list;
  };
  EXPECT_EQ(paths(Run({"rematch", m_saved, "--json"})), std::vector<std::string>());

  auto results = Cli::UnpackResults(Cli::ReadFile(m_saved), "saved");
  auto& gpus = results.records.gpus;
  gpus[0]->gpu->type = FlatBuffers::GPUType::Integrated;
  gpus[1]->nvml.reset();
  results.records.monitors[3]->gpu_id = gpus[0]->gpu->id;
  const std::string removed = gpus[4]->gpu->id;
  gpus.erase(gpus.begin() + 4);
  std::vector<std::uint8_t> buffer;
  PackResult(results.records, buffer);
  WriteFile(m_saved, buffer);

  EXPECT_EQ(paths(Run({"rematch", m_saved, "--json"})),
            (std::vector<std::string>{"gpus/" + gpus[0]->gpu->id + "/gpu/type", "gpus/" + gpus[1]->gpu->id + "/nvml",
                                      "gpus/" + removed, "monitors/3/gpu_id"}));
  const Answer text = Run({"rematch", m_saved});
  EXPECT_TRUE(Contains(text.out, "/gpu/type: stored \"Integrated\", now \"Discrete\"")) << text.out;
  EXPECT_TRUE(Contains(text.out, removed + ": stored nothing, now a record named")) << text.out;
}

TEST_F(CommandLineTest, SavedResultsOfManyMachinesAreReadAtOnce) {
  const std::string folder = TemporaryFile("machines");
  const std::string in_folder = folder + static_cast<char>(std::filesystem::path::preferred_separator);
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  std::size_t gpus = 0;
  for (const char* name : {"hybrid-laptop", "intel-only", "none"}) {
    Simulation::SetMachine(LoadTestMachine(name));
    EXPECT_NE(Run({"save", folder + "/" + name}).status, 2);
    gpus += json::parse(Run({"list", "--json"}).out)["gpus"].size();
  }
  const Answer list = Run({"list", "--from", folder, "--from", m_saved});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(Lines(list.out).size(), 1 + gpus + 5) << list.out;
  EXPECT_TRUE(Contains(list.out, in_folder + "intel-only     0  gpu:")) << list.out;
  EXPECT_EQ(json::parse(Run({"list", "--from", folder, "--json"}).out)["gpus"][0]["file"], in_folder + "hybrid-laptop");
  EXPECT_EQ(json::parse(Run({"rematch", folder, m_saved, "--json"}).out)["results"].size(), 4U);
  EXPECT_EQ(Run({"show", "0", "--from", folder}).status, 2);

  // One that is damaged does not keep the others from being read.
  WriteFile(folder + "/damaged", {1, 2, 3});
  const Answer rest = Run({"list", "--from", folder});
  EXPECT_EQ(rest.status, 2);
  EXPECT_TRUE(Contains(rest.err, "damaged\" is not a saved result")) << rest.err;
  EXPECT_EQ(Lines(rest.out).size(), 1 + gpus);
}

TEST_F(CommandLineTest, MonitorsStandOnTheDesktop) {
  const std::string live = Run({"monitors"}).out;
  EXPECT_EQ(
      Lines(live)[1],
      "DISPLAY1  DELL U2720Q          27.0\" (597 x 336 mm)  3840 x 2160, 60 Hz   DisplayPort  0, 0        0  NVIDIA "
      "GeForce RTX 3090  main")
      << live;
  const json monitors = json::parse(RunSaved({"monitors", "--json"}).out)["monitors"];
  ASSERT_EQ(monitors.size(), Lines(live).size() - 1);
  EXPECT_EQ(monitors[0]["width"], 3840);
  EXPECT_FALSE(monitors[0].contains("x"));
  EXPECT_EQ(monitors[0]["is_main"], true);
  Simulation::SetMachine(LoadTestMachine("none"));
  EXPECT_EQ(Run({"monitors"}).status, 1);
}

TEST_F(CommandLineTest, FiguresForPrometheusHaveQuotedLabels) {
  Simulation::Machine machine = LoadTestMachine("intel-only");
  machine.dxgi->at(0).description.name = "Intel \"a\\b\"\n";
  Simulation::SetMachine(machine);
  const std::string text = Run({"memory", "--openmetrics"}).out;
  EXPECT_TRUE(Contains(text, R"(name="Intel \"a\\b\""})")) << text;
  EXPECT_EQ(text.substr(text.size() - 6), "# EOF\n");
}

TEST_F(CommandLineTest, HelpComesInEveryForm) {
  const std::string help = Run({"--help"}).out;
  for (const char* form : {"/?", "-?", "help", "-h"}) EXPECT_EQ(Run({form}).out, help) << form;
  EXPECT_EQ(Run({"-V"}).out, Run({"--version"}).out);
  const std::string of_list = Run({"list", "--help"}).out;
  EXPECT_TRUE(Contains(of_list, "--vendor") && Contains(of_list, "--from")) << of_list;
  EXPECT_FALSE(Contains(of_list, "Apple") || Contains(of_list, "Metal")) << of_list;
  EXPECT_EQ(Run({"help", "list"}).out, of_list);

  // What begins with "/" else is a file.
  const Answer save = Run({"save", "/no/such/folder/file"});
  EXPECT_EQ(save.err.rfind("vexil: cannot write \"/no/such/folder/file\": ", 0), 0U) << save.err;

  struct Misuse {
    std::vector<std::string> arguments;
    const char* message;
  };
  for (const Misuse& m : std::vector<Misuse>{
           {{"lst"}, "vexil: there is no command \"lst\"; did you mean \"list\"?\nCommands: list, show, monitors, "},
           {{"frobnicate"}, "vexil: there is no command \"frobnicate\"\nCommands: "},
           {{"memory", "--watch", "1", "--count", "0"}, "vexil: --count: must be at least 1, which 0 is not\n"},
           {{"memory", "--watch", "nan"}, "vexil: --watch: must be between 0.01 and 86400 seconds, which nan is not\n"},
       }) {
    const Answer answer = Run(m.arguments);
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.err.rfind(m.message, 0), 0U) << answer.err;
  }

  const std::string script = Run({"completion", "powershell"}).out;
  for (const char* part :
       {"'' = @('list', 'show', ", "'memory' = @('--help', '-h', '--vendor', ",
        "'list --type' = @('Unknown', 'Integrated', ", "'env --shell' = @('cmd', 'powershell', 'sh', 'json')"}) {
    EXPECT_TRUE(Contains(script, part)) << part << " in\n" << script;
  }
}

TEST_F(CommandLineTest, MisuseIsTwoAndNoGPUIsOne) {
  const std::vector<std::vector<std::string>> misuses = {{"bogus"},
                                                         {"--bogus"},
                                                         {"list", "--vendor", "Acme"},
                                                         {"list", "--vendor", "Apple"},
                                                         {"show"},
                                                         {"memory", "--watch", "-1"},
                                                         {"memory", "--watch", "nan", "--count", "1"},
                                                         {"memory", "--watch", "1", "--count", "0"},
                                                         {"save"},
                                                         {"list", "rematch"},
                                                         {"memory", "--count", "3"},
                                                         {"rematch"},
                                                         {"--from"},
                                                         {"--from", TemporaryFile("none")},
                                                         {"--from", testing::TempDir()},
                                                         {"rematch", TemporaryFile("none")},
                                                         {"--from", m_saved, "rematch", m_saved}};
  for (const auto& arguments : misuses) {
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, 2) << arguments.front();
    EXPECT_EQ(answer.out, "");
    EXPECT_EQ(answer.err.rfind("vexil: ", 0), 0U) << answer.err;
  }
  EXPECT_EQ(Run({"--help"}).status, 0);
  const Answer version = Run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, std::string("vexil ") + kLibraryVersion + "\n");

  Simulation::SetMachine(LoadTestMachine("none"));
  EXPECT_EQ(Run({"doctor"}).status, 1);
  for (const std::vector<std::string>& arguments : {std::vector<std::string>(), {"list"}, {"memory"}}) {
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.err, "vexil: no GPU was found; \"vexil doctor\" prints the status of each source\n");
  }
  EXPECT_EQ(Run({"save", m_saved}).status, 1);
  EXPECT_EQ(Run({"rematch", m_saved}).status, 1);
}

}  // namespace
}  // namespace Vexil::Tests
