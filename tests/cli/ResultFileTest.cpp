#include "cli/ResultFile.h"

#include <functional>
#include <optional>
#include <sstream>

#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Sources/Sources.h"
#include "cli/Commands.h"
#include "tests/cli/ProgramTest.h"

namespace Vexil::Tests {
namespace {

/// Nothing at all where the bytes are not taken for a result.
std::optional<Cli::Results> Unpack(std::vector<std::uint8_t> bytes) {
  try {
    return Cli::UnpackResults(std::move(bytes), "damaged");
  } catch (const Cli::Error&) {
    return {};
  }
}

/// Whatever stands in a result, every command has to bear it.
void RunAllCommands(const Cli::Results& results) {
  std::ostringstream out;
  for (const bool json : {false, true}) {
    const Cli::Sessions sessions = {{"file", results, nullptr, json, false, out, out}};
    const Cli::Session& session = sessions.front();
    Cli::Report(session);
    Cli::List(sessions, {});
    Cli::Memory(session, {}, {}, {});
    Cli::Monitors(session);
    Cli::Topo(session, {});
    Cli::Doctor(session);
    Cli::Rematch(sessions);
    for (const auto& gpu : results.gpus) {
      try {
        Cli::Show(session, gpu.id, true);
      } catch (const Cli::Error&) {
        // Several have this identifier.
      }
    }
  }
}

class ResultFileTest : public ProgramTest {
 protected:
  ResultFileTest() { Simulation::SetMachine(LoadTestMachine("hybrid-laptop")); }
};

TEST_F(ResultFileTest, ACutResultIsNone) {
  const std::vector<std::uint8_t> whole = Detect();
  EXPECT_TRUE(Unpack(whole).has_value());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(Unpack({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}).has_value()) << size;
  }
}

TEST_F(ResultFileTest, ADamagedResultIsNoneOrAnother) {
  const std::vector<std::uint8_t> whole = Detect();
  unsigned survivors = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (const int mask : {1 << (i % 8), 0xFF}) {
      std::vector<std::uint8_t> damaged = whole;
      damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ mask);
      const auto results = Unpack(std::move(damaged));
      // Reading is where damage does harm; the commands see a sample.
      if (results && ++survivors % 250 == 0) RunAllCommands(*results);
    }
  }
  EXPECT_GT(survivors, whole.size());
}

TEST_F(ResultFileTest, OwnResultsOfAllMachinesAreTaken) {
  for (const std::string& machine : MachineNames()) {
    Simulation::SetMachine(LoadTestMachine(machine));
    EXPECT_TRUE(Unpack(Detect()).has_value()) << machine;
  }
}

// Small files that would unpack to gigabytes, or keep matching busy for hours.
TEST_F(ResultFileTest, BombsAreNone) {
  using FlatBuffers::DetectionResultT, FlatBuffers::MatchedGPUT, FlatBuffers::NvAPIGPUT;
  using Builder = flatbuffers::FlatBufferBuilder;
  DetectionResultT sound;
  FlatBuffers::GetDetectionResult(Detect().data())->UnPackTo(&sound);
  const auto pack = [&](const std::function<void(Builder&, FlatBuffers::DetectorsOutputBuilder&)>& add,
                        const std::function<void(Builder&)>& prepare) {
    Builder builder;
    const auto system = FlatBuffers::CreateSystem(builder, sound.system.get());
    prepare(builder);
    FlatBuffers::DetectorsOutputBuilder output(builder);
    add(builder, output);
    const auto detectors_output = output.Finish();
    FlatBuffers::DetectionResultBuilder result(builder);
    result.add_system(system);
    result.add_detectors_output(detectors_output);
    FlatBuffers::FinishDetectionResultBuffer(builder, result.Finish());
    return std::vector<std::uint8_t>(builder.GetBufferPointer(), builder.GetBufferPointer() + builder.GetSize());
  };
  /// A result with this many NVML records, each with its own or the one list of links.
  const auto with_nvml = [&](std::size_t records, std::size_t links, bool is_shared) {
    flatbuffers::Offset<flatbuffers::Vector<flatbuffers::Offset<FlatBuffers::NVMLGPU>>> list;
    return pack([&](Builder&, auto& output) { output.add_nvml(list); },
                [&](Builder& builder) {
                  const std::vector<std::int32_t> buses(links);
                  auto shared = builder.CreateVector(buses);
                  std::vector<flatbuffers::Offset<FlatBuffers::NVMLGPU>> tables;
                  for (std::size_t i = 0; i < records; ++i) {
                    if (!is_shared) shared = builder.CreateVector(buses);
                    FlatBuffers::NVMLGPUBuilder nvml(builder);
                    nvml.add_nvlink_remote_pci_buses(shared);
                    tables.push_back(nvml.Finish());
                  }
                  list = builder.CreateVector(tables);
                });
  };
  /// A result with one record that stands in its list this many times.
  const auto with_repeated = [&](std::size_t times) {
    flatbuffers::Offset<flatbuffers::Vector<flatbuffers::Offset<FlatBuffers::NvAPIGPU>>> list;
    return pack([&](Builder&, auto& output) { output.add_nvapi(list); },
                [&](Builder& builder) {
                  NvAPIGPUT record;
                  record.name = std::string(1000, 'x');
                  list = builder.CreateVector(std::vector(times, FlatBuffers::CreateNvAPIGPU(builder, &record)));
                });
  };
  /// A result with this many GPUs, each seen by all sources.
  const auto with_gpus = [&](std::size_t gpus) {
    MatchedGPUT matched;
    matched.gpu = std::make_shared<FlatBuffers::GPUT>();
    ForEachSource([&](const auto& source) {
      auto& record = matched.*source.record;
      record = std::make_shared<typename std::remove_reference_t<decltype(record)>::element_type>();
    });
    DetectionResultT result = sound;
    result.gpus.assign(gpus, std::make_shared<MatchedGPUT>(matched));
    std::vector<std::uint8_t> bytes;
    PackResult(result, bytes);
    return bytes;
  };
  const struct {
    const char* name;
    std::vector<std::uint8_t> bytes;
    bool is_taken;
  } kCases[] = {
      {"as many lists as there are", with_nvml(100, 100, false), true},
      {"one list a hundred times", with_nvml(100, 100, true), false},
      {"a record that is listed once", with_repeated(1), true},
      {"a record that is listed a hundred times", with_repeated(100), false},
      {"the longest list", with_nvml(1, 1024, false), true},
      {"a longer list", with_nvml(1, 1025, false), false},
      {"a longer list of records", with_nvml(1025, 1, false), false},
      {"many GPUs", with_gpus(100), true},
      {"too many records in all", with_gpus(1000), false},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    const auto results = Unpack(test_case.bytes);
    EXPECT_EQ(results.has_value(), test_case.is_taken);
    if (results) RunAllCommands(*results);
  }

  const std::string path = TemporaryFile("large");
  WriteFile(path, std::vector<std::uint8_t>((1U << 20) + 1));
  const Answer answer = Run({"list", "--from", path});
  EXPECT_EQ(answer.status, 2);
  EXPECT_EQ(answer.err, "vexil: \"" + path + "\" is too large for a saved result\n");
}

TEST_F(ResultFileTest, OtherFilesAreNone) {
  const std::string text = R"({"version": 1, "gpus": []} and whatever else stands in a text of some length)";
  for (const std::vector<std::uint8_t>& bytes :
       {std::vector<std::uint8_t>(text.begin(), text.end()), std::vector<std::uint8_t>(1000, 0),
        // A FlatBuffer with an empty root table: right in form, but nothing that the library writes.
        std::vector<std::uint8_t>{8, 0, 0, 0, 4, 0, 4, 0, 4, 0, 0, 0}}) {
    const std::string path = TemporaryFile("other");
    WriteFile(path, bytes);
    for (const char* command : {"list", "doctor", "memory"}) {
      const Answer answer = Run({command, "--from", path});
      EXPECT_EQ(answer.status, 2);
      EXPECT_EQ(answer.out, "");
      EXPECT_NE(answer.err.find("not a"), std::string::npos) << answer.err;
    }
  }
}

}  // namespace
}  // namespace Vexil::Tests
