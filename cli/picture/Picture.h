#pragma once

#include <string>

#include "cli/Topology.h"

namespace Vexil::Cli {

// One machine for others to look at: a file without scripts that needs no other file, in light and dark.

/// All of it as an SVG picture.
std::string MakeSVG(const Session& session, const Topology& topology);

/// A page with the picture, and the rest as text.
std::string MakePage(const Session& session, const Topology& topology);

}  // namespace Vexil::Cli
