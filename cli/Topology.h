#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/Session.h"

namespace Vexil::Cli {

enum class Fact : std::uint8_t { No, Yes, Unknown };

/// What is known to join one GPU to another.
struct Link {
  Fact nvlink = Fact::No;
  Fact opencl_peer = Fact::No;   ///< It can copy to the other directly.
  bool is_same_package = false;  ///< They are functions of one PCI device. Where false, nothing is known.
  std::uint16_t nvlinks = 0;     ///< How many NVLinks; 0 where they are not counted.

  bool IsKnown() const { return nvlink == Fact::Yes || opencl_peer == Fact::Yes || is_same_package; }
};

/// From each GPU of the results, a row, to each other one.
using Topology = std::vector<std::vector<Link>>;

/// NVLinks lead both ways. That a GPU has no links is known where its driver was asked and nothing failed, which a
/// saved result does not tell, or where it told of other links.
Topology FindTopology(const Session& session);

}  // namespace Vexil::Cli
