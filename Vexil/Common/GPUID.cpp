#include "Vexil/Common/GPUID.h"

#include <fmt/format.h>

#include <bit>

namespace Vexil {
namespace {

/// Up to four bytes, the first one lowest.
std::uint32_t LittleEndian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return value;
}

std::uint32_t MixBlock(std::uint32_t block) { return std::rotl(block * 0xcc9e2d51U, 15) * 0x1b873593U; }

}  // namespace

std::string MakeGPUID(std::string_view hardware_id, std::string_view pci_location) {
  return "gpu:" + ToHex8(HashString(hardware_id)) + "." + ToHex8(HashString(pci_location));
}

std::uint32_t HashString(std::string_view text) {
  const auto length = static_cast<std::uint32_t>(text.size());
  std::uint32_t hash = 424242;
  for (; text.size() >= 4; text.remove_prefix(4)) {
    hash = std::rotl(hash ^ MixBlock(LittleEndian(text.substr(0, 4))), 13) * 5 + 0xe6546b64U;
  }
  hash ^= MixBlock(LittleEndian(text)) ^ length;
  hash = (hash ^ (hash >> 16)) * 0x85ebca6bU;
  hash = (hash ^ (hash >> 13)) * 0xc2b2ae35U;
  return hash ^ (hash >> 16);
}

std::string ToHex8(std::uint32_t value) { return fmt::format("{:08x}", value); }

}  // namespace Vexil
