#include <gtest/gtest.h>

#include "Vexil/Common/FormatSize.h"
#include "Vexil/Common/GPUID.h"
#include "Vexil/Common/Naming.h"
#include "Vexil/Common/PCILocation.h"
#include "Vexil/Common/Text.h"

namespace Vexil::Tests {
namespace {

using FlatBuffers::Vendor;

TEST(Text, IsComparedWithoutLetterCase) {
  const struct {
    const char* text;
    const char* pattern;
    bool contains;
  } kCases[] = {{"NVIDIA CUDA", "cuda", true}, {"nvidia", "NVIDIA", true}, {"", "", true},         {"", "a", false},
                {"ab", "abc", false},          {"aab", "ab", true},        {"\xE4", "\xC4", false}};
  for (const auto& test_case : kCases) {
    EXPECT_EQ(ContainsNoCase(test_case.text, test_case.pattern), test_case.contains) << test_case.text;
  }
}

TEST(Text, IsReplacedWithoutLetterCase) {
  EXPECT_EQ(ReplaceAllNoCase("Windows windows WINDOWS", "windows", "W"), "W W W");
  EXPECT_EQ(ReplaceAllNoCase("Windows 10", "WINDOWS 10", "Windows 11"), "Windows 11");
  EXPECT_EQ(ReplaceAllNoCase("aaa", "aa", "a"), "aa");
  EXPECT_EQ(ReplaceAllNoCase("abab", "ab", "xab"), "xabxab");
  EXPECT_EQ(ReplaceAllNoCase("a(TM)b(tm)", "(TM)", ""), "ab");
  EXPECT_EQ(ReplaceAllNoCase("text", "", "x"), "text");
}

TEST(Text, IsTrimmedAndSplit) {
  using namespace std::string_literals;
  EXPECT_EQ(Trim("\0 \t\r\n\v\f a b \0\n"s), "a b");
  EXPECT_EQ(Trim(" \0 "s), "");
  EXPECT_EQ(Trim("\x85\xA0"), "\x85\xA0");
  EXPECT_EQ(Split(" a  b ", ' ', EmptyPieces::Drop), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(Split(" a  b ", ' ', EmptyPieces::Keep), (std::vector<std::string>{"", "a", "", "b", ""}));
  EXPECT_EQ(Split("  ", ' ', EmptyPieces::Drop), std::vector<std::string>());
}

TEST(Text, InABufferEndsAtItsNULOrWithTheBuffer) {
  EXPECT_EQ(TextInBuffer({'a', 'b', '\0', 'c'}), "ab");
  EXPECT_EQ(TextInBuffer({'a', 'b'}), "ab");
  const wchar_t wide[] = {L'N', 0x201C, 0x00E9, 0x4100, L'x'};
  EXPECT_EQ(NarrowTextInBuffer(wide, 3), "N\x1C\xE9");
  EXPECT_EQ(NarrowTextInBuffer(wide, 5), std::string("N\x1C\xE9\0x", 5));
  const wchar_t ended[] = {L'a', 0, L'b'};
  EXPECT_EQ(NarrowTextInBuffer(ended, 3), "a");
}

TEST(VendorFromText, RanksIntelAboveTheLettersATI) {
  const struct {
    const char* text;
    Vendor vendor;
  } kCases[] = {{"NVIDIA Corporation", Vendor::NVIDIA},
                {"quadro P2000", Vendor::NVIDIA},
                {"geforce", Vendor::NVIDIA},
                {"0x10DE", Vendor::NVIDIA},
                {"Intel(R) Corporation", Vendor::Intel},
                {"Integrated by intel", Vendor::Intel},
                {"0x8086", Vendor::Intel},
                {"NVIDIA on Intel", Vendor::NVIDIA},
                {"Advanced Micro Devices, Inc.", Vendor::AMD},
                {"Radeon (TM) RX 480 Graphics", Vendor::AMD},
                {"firepro W4100", Vendor::AMD},
                {"AMD", Vendor::AMD},
                {"0x1002", Vendor::AMD},
                {"0x1022", Vendor::AMD},
                {"Corporation", Vendor::AMD},
                {"Apple M1", Vendor::Unknown},
                {"Microsoft Basic Render Driver", Vendor::Unknown},
                {"", Vendor::Unknown}};
  for (const auto& test_case : kCases) EXPECT_EQ(VendorFromText(test_case.text), test_case.vendor) << test_case.text;
}

TEST(CleanCPUName, LeavesWhatPeopleSay) {
  const struct {
    const char* name;
    const char* cleaned;
  } kCases[] = {{"Intel(R) Core(TM) i7-9700K CPU @ 3.60GHz", "Intel Core i7-9700K"},
                {"AMD Ryzen 9 5950X 16-Core Processor             ", "AMD Ryzen 9 5950X"},
                {"12th Gen Intel(R) Core(TM) i9-12900K", "12th Gen Intel Core i9-12900K"},
                {"Intel(r)  Xeon(tm)(C)   cpu E5", "Intel Xeon E5"},
                {"Some 8-core Chip", "Some 8-core Chip"},
                {"@ 3 GHz", "3 GHz"},
                {"", ""}};
  for (const auto& test_case : kCases) EXPECT_EQ(CleanCPUName(test_case.name), test_case.cleaned);
}

TEST(CleanGPUName, LeavesOutItsVendor) {
  EXPECT_EQ(CleanGPUName("NVIDIA GeForce RTX 3080", Vendor::NVIDIA), "GeForce RTX 3080");
  EXPECT_EQ(CleanGPUName("NVIDIA GeForce RTX 3080", Vendor::Unknown), "NVIDIA GeForce RTX 3080");
  EXPECT_EQ(CleanGPUName("amd Radeon(TM)  RX amd 480", Vendor::AMD), "Radeon RX 480");
  EXPECT_EQ(CleanGPUName("Intel(R) UHD Graphics", Vendor::Intel), "UHD Graphics");
}

TEST(HashString, IsMurmurHash3) {
  using namespace std::string_literals;
  // By another implementation, which agrees with the published values for other seeds.
  const std::pair<std::string, std::uint32_t> kCases[] = {
      {"", 0xfcc71012},
      {"\xff", 0xcc64a9c2},
      {"ab", 0x98f72740},
      {"PCI", 0x98ee29cd},
      {"PCI:1:0", 0x5150080d},
      {"PCI:65:0.0", 0x196eb6d4},
      {R"(PCI\VEN_10DE&DEV_2204&SUBSYS_38811462&REV_A1)", 0x61279526},
      {"\xff\xfe\xfd\xfc\xfb", 0x20bbb3d0},
      {"a\0b"s, 0xa9651725}};
  for (const auto& [text, hash] : kCases) EXPECT_EQ(HashString(text), hash) << text;
  EXPECT_EQ(MakeGPUID("", "PCI:1:0"), "gpu:fcc71012.5150080d");
  EXPECT_EQ(ToHex8(0xFF10E2), "00ff10e2");
}

TEST(FormatSize, ChangesItsUnitAboveTheBoundary) {
  const std::pair<std::uint64_t, const char*> kCases[] = {{0, "0 B"},
                                                          {1048576, "1048576 B"},
                                                          {1048577, "1 MiB"},
                                                          {1073741823, "1023 MiB"},
                                                          {1073741824, "1024 MiB"},
                                                          {1073741825, "1.0 GiB"},
                                                          {1610612736, "1.5 GiB"},
                                                          {2147483648, "2 GiB"},
                                                          {~0ULL, "17179869184.0 GiB"}};
  for (const auto& [bytes, text] : kCases) EXPECT_EQ(FormatSize(bytes), text);
  EXPECT_EQ(FormatMiB(24575), "24.0 GiB");
  EXPECT_EQ(FormatMiB(2097152), "2048 GiB");
  EXPECT_EQ(FormatMiB(-2147483648), "2097152 GiB");
  EXPECT_EQ(FormatMiBInReport(24575), "24.0 GiB");
  EXPECT_EQ(FormatMiBInReport(2097152), "17179867136 GiB");  // Wraps to -2^31 KiB.
}

TEST(PCILocation, LeavesOutAnUnknownFunctionOnly) {
  EXPECT_EQ(PCILocationText({3, 0, -1}), "PCI:3:0");
  EXPECT_EQ(PCILocationText({3, 0, 0}), "PCI:3:0.0");
  EXPECT_EQ(PCILocationText({-1, -1, -1}), "PCI:-1:-1");
  PCILocation location;
  SetDeviceAndFunction(location, 0x00030001);
  EXPECT_EQ(PCILocationText(location), "PCI:-1:3.1");
}

}  // namespace
}  // namespace Vexil::Tests
