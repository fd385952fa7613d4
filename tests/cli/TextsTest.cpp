#include <flatbuffers/minireflect.h>

#include <array>
#include <nlohmann/json.hpp>

#include "Vexil/Results/ResultOutput.h"
#include "cli/ResultFile.h"
#include "simulation/Simulation.h"
#include "tests/cli/ProgramTest.h"
#include "text/UTF8.h"

namespace Vexil::Tests {
namespace {

using nlohmann::json;

struct EncodedText {
  const char* bytes;
  unsigned code_page;
  const char* utf8;
};

/// Shows every text of a result.
class TextsOfResult : public flatbuffers::IterationVisitor {
 public:
  std::vector<std::string> texts;
  void String(const flatbuffers::String* text) override { texts.push_back(text->str()); }
};

std::vector<std::string> TextsOf(const std::vector<std::uint8_t>& buffer) {
  TextsOfResult visitor;
  flatbuffers::IterateFlatBuffer(buffer.data(), FlatBuffers::DetectionResultTypeTable(), &visitor);
  return visitor.texts;
}

class TextsTest : public ProgramTest {
 protected:
  /// A result in which every text ends with this letter.
  static std::vector<std::uint8_t> Mark(std::vector<std::uint8_t> buffer, const char* letter) {
    // A letter takes the place of the last one, as texts cannot grow in place.
    class Marker : public flatbuffers::IterationVisitor {
     public:
      explicit Marker(const char* mark) : m_mark(*mark) {}
      void String(const flatbuffers::String* text) override {
        if (text->size() != 0) const_cast<char*>(text->c_str())[text->size() - 1] = m_mark;
      }

     private:
      char m_mark;
    };
    Marker marker(letter);
    flatbuffers::IterateFlatBuffer(buffer.data(), FlatBuffers::DetectionResultTypeTable(), &marker);
    return buffer;
  }
};

TEST_F(TextsTest, LettersOfEveryCodePageAreUTF8) {
  for (const EncodedText& c : std::vector<EncodedText>{
           {"plain", 932, "plain"},
           {"g\xE9n\xE9rique", 1252, "g\u00E9n\u00E9rique"},
           {"\x80 \x81 \x9F \xFF", 1252, "\u20AC \xC2\x81 \u0178 \u00FF"},
           {"\x93\xFA\x96\x7B", 932, "\u65E5\u672C"},
           {"\xCC\xEE\xED\xE8\xF2\xEE\xF0", 1251, "\u041C\u043E\u043D\u0438\u0442\u043E\u0440"},
           // Texts that are UTF-8 already, whatever the machine's code page is.
           {"\u65E5\u672C", 1252, "\u65E5\u672C"},
           // None of its code page's texts, and a code page that there is not.
           {"\x93\xFA\x93", 932, "\u201C\u00FA\u201C"},
           {"\xE9", 4711, "\u00E9"},
           // Longer than need be, half a pair, beyond Unicode.
           {"\xC0\xAF", 1252, "\u00C0\u00AF"},
           {"\xED\xA0\x80", 1252, "\u00ED\u00A0\u20AC"},
           {"\xF4\x90\x80\x80", 1252, "\u00F4\xC2\x90\u20AC\u20AC"},
       }) {
    EXPECT_EQ(AsUTF8(c.bytes, c.code_page), c.utf8) << c.bytes;
  }
  EXPECT_EQ(DisplayWidth("\u65E5\u672C e\u0301"), 6U);
}

TEST_F(TextsTest, EveryTextOfAResultIsConverted) {
  for (const std::string& name : MachineNames()) {
    Simulation::SetMachine(LoadTestMachine(name));
    const auto marked = Cli::Adapt(Cli::UnpackOwnResults(Mark(Detect(), "\xE9")), 1252, false);
    for (const std::string& text : TextsOf(marked.buffer)) {
      EXPECT_TRUE(text.size() >= 2 && text.compare(text.size() - 2, 2, "\u00E9") == 0) << name << ": " << text;
    }
  }
}

TEST_F(TextsTest, SavedResultsAreReadInTheirCodePage) {
  const std::string saved = TemporaryFile("\u65E5\u672C.vexil");
  Simulation::Machine machine = LoadTestMachine("hybrid-laptop");
  machine.dxgi->at(0).description.name = "Intel\x93\xFA\x96\x7B";
  Simulation::SetMachine(machine);
  ASSERT_EQ(Run({"save", saved}).status, 0);
  const auto name = [&](const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"--json", "--from", saved};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return json::parse(Run(all).out)["detectors_output"]["directx"][0]["name"].get<std::string>();
  };
  // This machine's own texts are UTF-8 already, or converted.
  EXPECT_EQ(name({}), "Intel\u201C\u00FA\u2013{");

  WriteFile(saved, Detect());
  EXPECT_EQ(name({"--codepage", "932"}), "Intel\u65E5\u672C");
}

TEST_F(TextsTest, AnonymousResultsNameNoMachine) {
  for (const std::string& name : MachineNames()) {
    Simulation::SetMachine(LoadTestMachine(name));
    const Cli::Results named = Cli::UnpackOwnResults(Detect());
    std::vector<std::string> secrets = {named.records.system->system_id};
    for (const auto& monitor : named.records.monitors) secrets.push_back(monitor->monitor_id);
    for (const auto& adapter : named.records.detectors_output->win32) {
      secrets.push_back(adapter->key);
      for (const auto& monitor : adapter->monitors) secrets.push_back(monitor->monitor_id);
    }
    const std::string saved = TemporaryFile("anonymous.vexil");
    Run({"save", saved, "--anonymous"});
    const auto buffer = Cli::ReadFile(saved);
    const std::vector<std::string> outputs = {Run({"--anonymous"}).out, Run({"--anonymous", "--json"}).out,
                                              Run({"doctor", "--anonymous", "--json"}).out,
                                              std::string(buffer.begin(), buffer.end())};
    for (const std::string& secret : secrets) {
      for (const std::string& output : outputs) {
        EXPECT_TRUE(secret.empty() || output.find(secret) == std::string::npos) << name << ": " << secret;
      }
    }
    const Cli::Results anonymous = Cli::UnpackResults(buffer, saved);
    EXPECT_EQ(anonymous.gpus.size(), named.gpus.size());
  }

  for (const auto& [machine, secret] :
       {std::pair("five-gpus", "GPU-69401105"), std::pair("five-gpus", "serial 1280979521"),
        std::pair("hybrid-laptop", R"(\4&)")}) {
    Simulation::Machine named = LoadTestMachine(machine);
    named.environment = {{"CUDA_VISIBLE_DEVICES", "GPU-69401105"}};
    Simulation::SetMachine(named);
    const auto all = [](std::vector<std::string> more) {
      std::string out;
      for (std::vector<std::string> arguments : {std::vector<std::string>{"ids"}, {"ids", "0"}, {"show", "1"}}) {
        arguments.insert(arguments.end(), more.begin(), more.end());
        out += Run(arguments).out;
      }
      return out;
    };
    EXPECT_NE(all({}).find(secret), std::string::npos) << secret;
    EXPECT_EQ(all({"--anonymous"}).find(secret), std::string::npos) << secret;
  }
  EXPECT_EQ(Run({"env", "0", "--anonymous"}).status, 2);
}

}  // namespace
}  // namespace Vexil::Tests
