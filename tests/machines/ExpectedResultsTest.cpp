#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

#include "Vexil/Results/ResultOutput.h"
#include "Vexil/Version.h"
#include "cli/Commands.h"
#include "tests/support/MachineTest.h"
#include "text/CodePage.h"

namespace Vexil::Tests {
namespace {

using Json = nlohmann::ordered_json;

bool HoldsRecords(const Json& json) {
  return std::any_of(json.begin(), json.end(), [](const Json& value) {
    return value.is_object() || (value.is_array() && !value.empty() && value.front().is_object());
  });
}

/// A line for every record that holds no other records, so that a changed record is a changed line.
std::string Print(const Json& json, std::size_t indent = 0) {
  std::string line = json.dump();
  if (!HoldsRecords(json)) return line;
  std::string text;
  for (const auto& item : json.items()) {
    text += text.empty() ? "\n" : ",\n";
    text += std::string(indent + 2, ' ');
    if (json.is_object()) text += "\"" + item.key() + "\": ";
    text += Print(item.value(), indent + 2);
  }
  return line.front() + text + "\n" + std::string(indent, ' ') + line.back();
}

/// What is not ASCII becomes "?", as log4cxx itself makes it where the locale knows ASCII only.
std::string OnlyASCII(std::string line) {
  const auto is_not_ascii = [](char c) { return (c & 0x80) != 0; };
  std::replace_if(line.begin(), line.end(), is_not_ascii, '?');
  return line;
}

/// Compares with a file of expected/, or writes it, without the version, which changes with every release.
void Compare(const std::string& file_name, std::string text) {
  const auto version = text.find(kLibraryVersion);
  if (version != std::string::npos) text.replace(version, std::string(kLibraryVersion).size(), "(version)");
  const std::string path = VEXIL_MACHINES "/expected/" + file_name;
  if (std::getenv("VEXIL_REWRITE_EXPECTATIONS") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
    return;
  }
  std::ifstream file(path, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), text) << "is not what stands in " << file_name;
}

class ExpectedResults : public MachineTest, public testing::WithParamInterface<std::string> {};

TEST_P(ExpectedResults, OnMachine) {
  static bool had_a_machine = false;
  if (std::exchange(had_a_machine, true)) GTEST_SKIP() << "One machine per process; ctest does that.";

  Simulation::SetMachine(LoadTestMachine(GetParam()));
  const auto run = std::make_shared<Detector::Impl>();
  run->Detect();
  for (const auto& [library, loads] : Simulation::Observed().loads) EXPECT_EQ(loads, 1) << library;
  for (const auto& [library, starts] : Simulation::Observed().starts) EXPECT_EQ(starts, 1) << library;
  std::string log;
  for (const std::string& line : TakeLog()) {
    // Not of each source that there is.
    if (line.find(": 0 detected in") == std::string::npos) log += OnlyASCII(line) + "\n";
  }
  Compare(GetParam() + ".txt", log);

  std::vector<std::uint8_t> buffer;
  PackResult(run->ToResult(), buffer);
  std::ostringstream json;
  std::ostringstream errors;
  const auto results = Cli::Adapt(Cli::UnpackOwnResults(buffer), kWestern, false);
  Cli::Report({{}, results, run, true, false, json, errors});
  Compare(GetParam() + ".json", Print(Json::parse(json.str())) + "\n");

  std::ostringstream ids;
  Cli::Ids({{}, results, run, false, false, ids, errors}, {});
  Compare(GetParam() + ".ids.txt", OnlyASCII(ids.str()));
}

INSTANTIATE_TEST_SUITE_P(Machines, ExpectedResults, testing::ValuesIn(MachineNames()), ToTestName);

}  // namespace
}  // namespace Vexil::Tests
