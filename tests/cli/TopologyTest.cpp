#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "Vexil/Results/ResultOutput.h"
#include "cli/ResultFile.h"
#include "cli/picture/Escape.h"
#include "cli/picture/TextWidth.h"
#include "simulation/Simulation.h"
#include "tests/cli/ProgramTest.h"

namespace Vexil::Tests {
namespace {

using nlohmann::json;

std::string ReadText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class TopologyTest : public ProgramTest {
 protected:
  /// Of this machine, and of its saved result.
  void Expect(const Simulation::Machine& machine, const std::string& live, const std::string& saved) {
    Simulation::SetMachine(machine);
    WriteFile(m_saved, Detect());
    EXPECT_EQ(Links({}), live);
    EXPECT_EQ(Links({"--from", m_saved}), saved);
  }

  /// "0: NV1x2, 1: NV0x2 CL2?": what joins each to which, and what is not known.
  static std::string Links(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"topo", "--json"});
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, 0) << answer.err;
    std::string text;
    const json gpus = json::parse(answer.out)["gpus"];
    for (const json& gpu : gpus) {
      const std::string from = (text.empty() ? "" : ", ") + std::to_string(gpu["number"].get<int>()) + ":";
      std::string links;
      for (const json& link : gpu["nvlinks"]) {
        links += " NV" + link["to"].dump() + (link.contains("count") ? "x" + link["count"].dump() : "");
      }
      for (const json& other : gpu["opencl_peers"]) links += " CL" + other.dump();
      for (const json& other : gpu["same_package"]) links += " PKG" + other.dump();
      for (const json& other : gpu["unknown"]["nvlinks"]) links += " NV" + other.dump() + "?";
      for (const json& other : gpu["unknown"]["opencl_peers"]) links += " CL" + other.dump() + "?";
      if (!links.empty()) text += from + links;
    }
    return text;
  }

  const std::string m_saved = TemporaryFile("saved.vexil");
};

TEST_F(TopologyTest, TellsWhatIsLinkedAndWhatIsNotKnown) {
  const std::string pairs = "0: NV1x2, 1: NV0x2";
  const auto load = [](const char* name) { return LoadTestMachine(name); };
  Expect(load("twin-nvidia-nvlink"), pairs, pairs);
  // A saved result does not tell whether more would have been told had no call failed.
  Expect(load("five-gpus"), "0: NV1x4, 1: NV0x4, 2: CL3, 3: CL2", "0: NV1x4, 1: NV0x4, 2: CL3, 3: CL2");
  Expect(load("hybrid-laptop"), "", "");

  Simulation::Machine machine = load("twin-nvidia-nvlink");
  for (auto& device : machine.nvml->devices) device.links.clear();
  const std::string unknown = "0: NV1?, 1: NV0?";
  Expect(machine, "", unknown);
  machine.nvml->missing = {"nvmlDeviceGetNvLinkRemotePciInfo_v2"};
  Expect(machine, unknown, unknown);
  machine.nvml.reset();
  Expect(machine, unknown, unknown);

  // One of them tells enough.
  machine = load("twin-nvidia-nvlink");
  machine.nvml->devices[0].links.clear();
  Expect(machine, pairs, pairs);
  machine.failures = {{"nvmlDeviceGetNvLinkRemotePciInfo_v2", {}}};
  Expect(machine, unknown, unknown);

  // What leads to a switch from both may lead from one to the other, but not from one only.
  machine = load("twin-nvidia-nvlink");
  for (auto& device : machine.nvml->devices) device.links[0].remote = device.links[1].remote = {200, 0, 0};
  Expect(machine, unknown, unknown);
  machine.nvml->devices[0].links.clear();
  Expect(machine, "", unknown);

  machine = load("five-gpus");
  auto& amd = machine.opencl->platforms[1].devices;
  amd[1].peers.clear();
  Expect(machine, "0: NV1x4, 1: NV0x4, 2: CL3", "0: NV1x4, 1: NV0x4, 2: CL3, 3: CL2?");
  machine.failures = {{"clGetDeviceInfo 0x4088", {}}};
  Expect(machine, "0: NV1x4, 1: NV0x4, 2: CL3?, 3: CL2?", "0: NV1x4, 1: NV0x4, 2: CL3?, 3: CL2?");
}

TEST_F(TopologyTest, FunctionsOfOneDeviceAreOnePackage) {
  Simulation::SetMachine(LoadTestMachine("two-amd-cards"));
  auto results = Cli::UnpackResults(Detect(), "detected");
  auto& gpus = results.records.gpus;
  const auto expect = [&](const std::string& links) {
    std::vector<std::uint8_t> buffer;
    PackResult(results.records, buffer);
    WriteFile(m_saved, buffer);
    EXPECT_EQ(Links({"--from", m_saved}), links);
  };
  for (auto& matched : gpus) {
    matched->gpu->pci_bus = 3;
    matched->gpu->pci_device = 0;
    matched->gpu->opencl_peers.clear();
  }
  gpus[0]->gpu->pci_function = 0;
  gpus[1]->gpu->pci_function = 1;
  expect("0: PKG1 CL1?, 1: PKG0 CL0?");
  // Two that look alike may be in two domains.
  gpus[1]->gpu->pci_function = 0;
  expect("0: CL1?, 1: CL0?");
  gpus[1]->gpu->pci_function = -1;
  expect("0: CL1?, 1: CL0?");
}

TEST_F(TopologyTest, TextHasPlacesAndMatrix) {
  Simulation::SetMachine(LoadTestMachine("five-gpus"));
  const Answer answer = Run({"topo"});
  EXPECT_EQ(answer.out, R"(#  GPU                      PCI place  PCI Express now  at most
0  NVIDIA GeForce RTX 3090  PCI:1:0    gen 1 x16        gen 4 x16
1  NVIDIA GeForce RTX 3090  PCI:65:0   gen 4 x8         gen 4 x16
2  AMD Radeon RX 6800 XT    PCI:3:0.0  unknown          unknown
3  AMD Radeon PRO W6800     PCI:6:0.0  unknown          unknown
4  Intel UHD Graphics 770   PCI:0:2.0  unknown          unknown

#  GPU                      0          1          2       3       4
0  NVIDIA GeForce RTX 3090  .          NVLink x4  -       -       -
1  NVIDIA GeForce RTX 3090  NVLink x4  .          -       -       -
2  AMD Radeon RX 6800 XT    -          -          .       OpenCL  -
3  AMD Radeon PRO W6800     -          -          OpenCL  .       -
4  Intel UHD Graphics 770   -          -          -       -       .

NVLink xN: N NVLinks. OpenCL: copies to it directly. package: one PCI device. ?: not known.
)");
  const json pcie = json::parse(Run({"topo", "--json"}).out)["gpus"];
  EXPECT_EQ(pcie[1]["pcie"], json({{"generation", 4}, {"width", 8}, {"max_generation", 4}, {"max_width", 16}}));
  EXPECT_EQ(pcie[2]["pcie"], json::object());

  Simulation::SetMachine(LoadTestMachine("none"));
  EXPECT_EQ(Run({"topo"}).status, 1);
  EXPECT_EQ(json::parse(Run({"topo", "--json"}).out),
            json({{"json_version", 1}, {"command", "topo"}, {"gpus", json::array()}, {"files", json::array()}}));
}

TEST_F(TopologyTest, PictureInTheDocsIsWhatIsDrawnNow) {
  const std::string path = VEXIL_MACHINES "/../../docs/five-gpus.svg";
  const std::string drawn = TemporaryFile("drawn.svg");
  Simulation::SetMachine(LoadTestMachine("five-gpus"));
  const Answer answer = Run({"topo", "--svg", drawn});
  EXPECT_EQ(answer.out, "Wrote \"" + drawn + "\".\n");
  if (std::getenv("VEXIL_REWRITE_EXPECTATIONS") != nullptr) {
    std::filesystem::copy_file(drawn, path, std::filesystem::copy_options::overwrite_existing);
  }
  EXPECT_TRUE(ReadText(drawn) == ReadText(path)) << drawn << " is not " << path;
}

TEST_F(TopologyTest, FileThatCannotBeWrittenIsTold) {
  Simulation::SetMachine(LoadTestMachine("five-gpus"));
  for (const char* option : {"--svg", "--html"}) {
    const std::string path = TemporaryFile("no/such/folder");
    const Answer answer = Run({"topo", option, path});
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.out, "");
    EXPECT_EQ(answer.err.rfind("vexil: cannot write \"" + path + "\": ", 0), 0U) << answer.err;
  }
}

TEST(PictureText, IsValidWhateverDriversCallThings) {
  constexpr const char* kReplacement = "\xEF\xBF\xBD";
  const std::string bad = kReplacement;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"GeForce", "GeForce"},
      {R"(<a b="c" d='e'>&)", "&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;"},
      {"\x1B[2J\t\n\r", bad + "[2J" + bad + bad + bad},
      {std::string("\0", 1), bad},
      {"\x7F\xC2\x9B", bad + bad},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"caf\xE9", "caf" + bad},
      {"\xC3", bad},
      {"\xC0\xBC", bad + bad},                      // "<" in two bytes
      {"\xE0\x80\xBC", bad + bad + bad},            // and in three.
      {"\xED\xA0\x80", bad + bad + bad},            // A surrogate.
      {"\xF4\x90\x80\x80", bad + bad + bad + bad},  // Beyond the last character.
      {"\xEF\xBF\xBE\xEF\xBF\xBF", bad + bad},      // No characters.
      {std::string("\xE2\x80") + "\xAE", bad},      // Right to left from here on.
  };
  for (const auto& [text, escaped] : cases) EXPECT_EQ(Cli::Escaped(text), escaped);
}

TEST(PictureText, IsCutBetweenCharacters) {
  const Cli::Font font = {.size = 10, .is_mono = true};
  EXPECT_EQ(Cli::Fitted("twelve bytes", font, 80), "twelve bytes");
  EXPECT_EQ(Cli::Fitted("twelve bytes", font, 40), "twelv\xE2\x80\xA6");
  EXPECT_EQ(Cli::Fitted("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", font, 21), "\xC3\xA9\xC3\xA9\xE2\x80\xA6");
  EXPECT_EQ(Cli::Fitted("twelve bytes", font, 0), "\xE2\x80\xA6");
  EXPECT_EQ(Cli::Wrapped("a twelve bytes", font, 60), (std::vector<std::string>{"a twelve ", "bytes"}));
  EXPECT_EQ(Cli::Wrapped("    twelvebytes", font, 62), (std::vector<std::string>{"    twelve", "bytes"}));
  EXPECT_EQ(Cli::Wrapped("\xC3\xA9\xC3\xA9", font, 0), (std::vector<std::string>{"\xC3\xA9", "\xC3\xA9"}));
}

}  // namespace
}  // namespace Vexil::Tests
