#pragma once

#include <optional>
#include <string>
#include <vector>

#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {

/// A device that is one of the GPUs.
struct Known {
  const char* interface = nullptr;
  Device device;
  const char* by = nullptr;  ///< "LUID", "PCI" or "UUID".
  bool is_disputed = false;  ///< What else identifies it is another GPU's; it is listed under both.
};

struct Other {
  const char* interface = nullptr;
  Device device;
};

struct Joined {
  /// For each GPU, in the order of the interfaces.
  std::vector<std::vector<Known>> gpus;
  /// What is none of the GPUs, or could be several.
  std::vector<Other> others;
  /// In words; GPUs are called by their places in the list.
  std::vector<std::string> contradictions;
};

/// Finds the GPU of each device by what identifies it: the LUID, then the PCI place, then the UUID, never a name, a
/// size or an order. Of the GPUs themselves the PCI places are known; Windows' own devices tell the LUIDs of these
/// places, and what one interface tells of a GPU identifies it to the others.
Joined Join(const std::vector<std::optional<PCIPlace>>& gpus, const std::vector<Told>& told);

}  // namespace Vexil::Interfaces
