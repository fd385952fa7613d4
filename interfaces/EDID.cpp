#include "interfaces/EDID.h"

#include <numeric>

#include "Vexil/Common/Text.h"

namespace Vexil::Interfaces {
namespace {

constexpr std::size_t kBlockSize = 128;
constexpr std::size_t kDescriptorSize = 18;

/// The text of a descriptor, which ends with a line feed.
std::string DescriptorText(std::span<const unsigned char> descriptor) {
  std::string text;
  for (const unsigned char c : descriptor.subspan(5)) {
    if (c == '\n' || c == '\0') break;
    text += static_cast<char>(c);
  }
  return Trim(text);
}

void ReadDescriptor(std::span<const unsigned char> descriptor, EDID& edid) {
  if (descriptor[0] != 0 || descriptor[1] != 0) {
    // A timing, with the size of the picture; the first one is the monitor's own.
    if (edid.width_mm != 0) return;
    edid.width_mm = descriptor[12] | (descriptor[14] & 0xF0U) << 4U;
    edid.height_mm = descriptor[13] | (descriptor[14] & 0x0FU) << 8U;
  } else if (descriptor[3] == 0xFF) {
    edid.serial = DescriptorText(descriptor);
  } else if (descriptor[3] == 0xFC) {
    edid.name = DescriptorText(descriptor);
  }
}

}  // namespace

std::optional<EDID> ParseEDID(std::span<const unsigned char> bytes) {
  if (bytes.size() < kBlockSize) return std::nullopt;
  const auto block = bytes.first(kBlockSize);
  if (std::accumulate(block.begin(), block.end(), 0U) % 256 != 0) return std::nullopt;
  EDID edid;
  const unsigned letters = unsigned{block[8]} << 8U | block[9];
  for (const unsigned shift : {10U, 5U, 0U}) edid.maker += static_cast<char>('A' - 1 + (letters >> shift & 0x1FU));
  edid.product = static_cast<std::uint16_t>(block[10] | block[11] << 8);
  const std::uint32_t serial =
      block[12] | std::uint32_t{block[13]} << 8U | std::uint32_t{block[14]} << 16U | std::uint32_t{block[15]} << 24U;
  if (serial != 0) edid.serial = std::to_string(serial);
  for (const std::size_t place : {54U, 72U, 90U, 108U}) ReadDescriptor(block.subspan(place, kDescriptorSize), edid);
  if (edid.width_mm == 0 || edid.height_mm == 0) {
    edid.width_mm = block[21] * 10U;
    edid.height_mm = block[22] * 10U;
  }
  return edid;
}

}  // namespace Vexil::Interfaces
