#include "Vexil/Common/Patterns.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <regex>

#include "Vexil/Common/Text.h"

namespace Vexil::Tests {
namespace {

/// The first match's group, or what stands for no match.
std::string Search(const std::string& text, const std::regex& expression, std::size_t group) {
  std::smatch match;
  return std::regex_search(text, match, expression) ? match[group].str() : std::string();
}

std::string VersionBy(const std::string& text, std::size_t numbers, std::string_view prefix = {}) {
  const auto version = FindVersion(text, numbers, prefix);
  if (!version) return {};
  std::vector<std::string> parts;
  for (const int number : *version) parts.push_back(std::to_string(number));
  return Join(parts, ".");
}

/// The groups as numbers, without leading zeros.
std::string VersionByRegex(const std::string& text, const std::regex& expression) {
  std::smatch match;
  if (!std::regex_search(text, match, expression)) return {};
  std::vector<std::string> parts;
  for (std::size_t group = 1; group < match.size(); ++group) parts.push_back(std::to_string(std::stoi(match[group])));
  return Join(parts, ".");
}

// Each function against the regular expression whose match it finds by hand, on random texts made of the
// pieces that matter to it.
TEST(Patterns, FindWhatTheirRegularExpressionsFind) {
  using Texts = std::vector<std::string>;
  using Function = std::function<std::string(const std::string&)>;
  static const std::regex braced(R"((\{.*\}))"), inside(R"(\{(.*)\})"), two(R"((\d+)\.(\d+))"),
      four(R"((\d+)\.(\d+)\.(\d+)\.(\d+))"), opencl(R"(OpenCL (\d+)\.(\d+))"), cores(R"(\s\d+-Core)"),
      hardware(R"((PCI\\VEN_[0-9a-zA-Z]+&DEV_[0-9a-zA-Z]+&SUBSYS_[0-9a-zA-Z]+&REV_[0-9a-zA-Z]+))"),
      control_set(R"((System\\CurrentControlSet\\.*))"), parent(R"((System\\CurrentControlSet\\.*)\\\d+)");
  const Texts braces = {"{", "}", "a", "\n", "\r"};
  const Texts versions = {"0", "1", "27", ".", ".", ".", " ", "OpenCL ", "OpenCL", "x"};
  const Texts keys = {"System\\CurrentControlSet\\", "System\\", "CurrentControlSet", "\\", "\\", "0", "12", "a", "\n"};
  const struct {
    const char* name;
    Texts pieces;
    Function by_hand;
    Function by_regex;
  } kCases[] = {
      {"BracedText", braces, BracedText, [](const auto& text) { return Search(text, braced, 1); }},
      {"TextInBraces", braces, TextInBraces, [](const auto& text) { return Search(text, inside, 1); }},
      {"two numbers", versions, [](const auto& text) { return VersionBy(text, 2); },
       [](const auto& text) { return VersionByRegex(text, two); }},
      {"four numbers",
       {"1.2.3", "27.20", ".", "4", "0", " "},
       [](const auto& text) { return VersionBy(text, 4); },
       [](const auto& text) { return VersionByRegex(text, four); }},
      {"OpenCL version", versions, [](const auto& text) { return VersionBy(text, 2, "OpenCL "); },
       [](const auto& text) { return VersionByRegex(text, opencl); }},
      {"RemoveCoreCount",
       {" ", "\t", "8", "16", "-Core", "-core", "x"},
       RemoveCoreCount,
       [](const auto& text) { return std::regex_replace(text, cores, ""); }},
      {"FindPCIHardwareID",
       {"PCI\\VEN_1002&DEV_73BF&SUBSYS_0", "PCI\\VEN_", "1002&DEV_1", "&SUBSYS_", "&REV_C1", "&REV_", "xZ", "&"},
       FindPCIHardwareID,
       [](const auto& text) { return Search(text, hardware, 1); }},
      {"CurrentControlSetPath", keys, CurrentControlSetPath,
       [](const auto& text) { return Search(text, control_set, 1); }},
      {"CurrentControlSetParentPath", keys, CurrentControlSetParentPath,
       [](const auto& text) { return Search(text, parent, 1); }},
  };
  std::mt19937 random(7);
  for (const auto& test_case : kCases) {
    int matches = 0;
    for (int i = 0; i < 3000; ++i) {
      std::string text;
      for (auto pieces = random() % 13; pieces > 0; --pieces)
        text += test_case.pieces[random() % test_case.pieces.size()];
      const std::string expected = test_case.by_regex(text);
      ASSERT_EQ(test_case.by_hand(text), expected) << test_case.name << " in \"" << text << "\"";
      if (!expected.empty()) ++matches;
    }
    EXPECT_GT(matches, 20) << test_case.name << " was hardly tried";
  }
}

TEST(Patterns, TakeTextsOfAnyLength) {
  const std::string million(1 << 20, '7');
  EXPECT_FALSE(FindVersion(million, 2));
  EXPECT_EQ(BracedText("{" + million + "}").size(), million.size() + 2);
  EXPECT_EQ(FindPCIHardwareID("PCI\\VEN_" + million), "");
  EXPECT_EQ(RemoveCoreCount(" " + million + "-Core"), "");
}

TEST(FindVersion, ThrowsWhereANumberIsNoInt) {
  EXPECT_EQ(FindVersion("2147483647.0", 2), (std::vector{2147483647, 0}));
  EXPECT_THROW(FindVersion("1.2147483648", 2), std::out_of_range);
}

}  // namespace
}  // namespace Vexil::Tests
