#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Vexil::Interfaces {

/// The LUIDs of DXGI's adapters, the fastest first; nothing where Windows is too old to tell.
std::optional<std::vector<std::uint64_t>> GetAdaptersByPerformance();

/// A device of Windows' display class. What it does not tell is nothing, or an empty text.
struct DisplayNode {
  std::string instance;  ///< "PCI\VEN_10DE&DEV_2204&...\4&1fc990d7&0&0019"
  std::string name;
  std::optional<std::uint64_t> luid;
  /// Which one of the GPUs that are linked under this LUID.
  std::optional<std::uint32_t> physical_index;
  std::optional<std::uint32_t> bus;
  std::optional<std::uint32_t> address;  ///< Device << 16 | function.
  std::string driver_version;
  std::string driver_date;  ///< "2026-08-22"
};

/// The present ones, in Windows' order.
std::vector<DisplayNode> GetDisplayNodes();

}  // namespace Vexil::Interfaces
