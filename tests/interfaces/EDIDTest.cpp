#include "interfaces/EDID.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace Vexil::Tests {
namespace {

using Interfaces::ParseEDID;

using Bytes = std::vector<unsigned char>;

void Put(Bytes& block, std::size_t place, const Bytes& bytes) {
  std::copy(bytes.begin(), bytes.end(), block.begin() + static_cast<std::ptrdiff_t>(place));
}

Bytes WithChecksum(Bytes block) {
  block[127] = static_cast<unsigned char>(256 - std::accumulate(block.begin(), block.end() - 1, 0) % 256);
  return block;
}

/// A monitor by "ENC", product 0x0B2C, serial number 0x01020304, 60 cm by 34 cm.
Bytes MakeBlock() {
  Bytes block(128, 0);
  Put(block, 8, {0x15, 0xC3, 0x2C, 0x0B, 0x04, 0x03, 0x02, 0x01});
  Put(block, 21, {60, 34});
  return block;
}

TEST(EDID, TellsWhatTheMonitorIs) {
  Bytes block = MakeBlock();
  auto edid = ParseEDID(WithChecksum(block));
  ASSERT_TRUE(edid);
  EXPECT_EQ(edid->maker, "ENC");
  EXPECT_EQ(edid->product, 0x0B2C);
  EXPECT_EQ(edid->serial, "16909060");
  EXPECT_EQ(edid->name, "");
  EXPECT_EQ(edid->width_mm, 600U);
  EXPECT_EQ(edid->height_mm, 340U);

  // A timing with 597 mm by 336 mm, a serial text, and a name that fills its room without a line feed.
  Put(block, 54, {0x56, 0x5E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x55, 0x50, 0x21});
  Put(block, 72, {0, 0, 0, 0xFF, 0, 'A', '1', '\n', ' ', ' '});
  Put(block, 90, {0, 0, 0, 0xFC, 0, 'E', 'V', '3', '2', '8', '5', ' ', 'W', 'i', 'd', 'e', '!', '!'});
  edid = ParseEDID(WithChecksum(block));
  ASSERT_TRUE(edid);
  EXPECT_EQ(edid->serial, "A1");
  EXPECT_EQ(edid->name, "EV3285 Wide!!");
  EXPECT_EQ(edid->width_mm, 597U);
  EXPECT_EQ(edid->height_mm, 336U);
}

TEST(EDID, IsNothingWhereItIsDamaged) {
  Bytes block = WithChecksum(MakeBlock());
  block[10] ^= 1;
  EXPECT_FALSE(ParseEDID(block));
  block[10] ^= 1;
  block.pop_back();
  EXPECT_FALSE(ParseEDID(block));
  EXPECT_FALSE(ParseEDID({}));
}

}  // namespace
}  // namespace Vexil::Tests
