#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Vexil {

/// The identifier of the GPU with this hardware at this place, such as "gpu:1a2b3c4d.00ff10e2".
/// It depends on nothing else, so it is the same on every run.
std::string MakeGPUID(std::string_view hardware_id, std::string_view pci_location);

/// MurmurHash3, x86 32-bit, seed 424242.
std::uint32_t HashString(std::string_view text);

/// Eight lower-case hexadecimal digits.
std::string ToHex8(std::uint32_t value);

}  // namespace Vexil
