#include "cli/ResultFile.h"

#include <optional>
#include <sstream>

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
    const Cli::Session session = {results, nullptr, json, out, out};
    Cli::Report(session);
    Cli::List(session, {});
    Cli::Memory(session, {}, {});
    Cli::Doctor(session);
    Cli::Rematch(session);
    for (const auto& gpu : results.gpus) Cli::Show(session, gpu.id);
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
