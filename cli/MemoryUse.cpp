#include "cli/MemoryUse.h"

#include <algorithm>

#include "Vexil/Results/LiveMemory.h"

namespace Vexil::Cli {
namespace {

/// The library counts 1000 bytes per kilobyte where drivers count 1024.
std::uint64_t InDriversUnits(std::uint64_t bytes) { return bytes / 1000 * 1024; }

}  // namespace

std::optional<MemoryUse> AskSystemMemory() {
  MemoryUse use;
  if (!QuerySystemMemory(use.free, use.total)) return std::nullopt;
  return use;
}

std::optional<MemoryUse> AskGPUMemory(const FlatBuffers::MatchedGPUT& matched) {
  MemoryUse use;
  if (!QueryGPUMemory(matched, use.free, use.total)) return std::nullopt;
  // Of AMD's figures only one is in kilobytes.
  if (matched.gpu->vendor != FlatBuffers::Vendor::AMD) use.total = InDriversUnits(use.total);
  use.free = std::min(InDriversUnits(use.free), use.total);
  return use;
}

}  // namespace Vexil::Cli
