#pragma once

#include <cstdint>
#include <string>

namespace Vexil {

/// A number of bytes for people: "1.5 GiB", "512 MiB", "100 B".
std::string FormatSize(std::uint64_t bytes);

}  // namespace Vexil
