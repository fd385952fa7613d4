#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Vexil::Cli {

/// Writes beside the file, reads back, then takes its place, so that a failure, for which it throws an Error, leaves
/// what was there. A link stays, and what it points to is replaced; a device or a pipe is written to.
void WriteFileWhole(const std::string& name, std::span<const std::uint8_t> bytes);
void WriteFileWhole(const std::string& name, std::string_view text);

}  // namespace Vexil::Cli
