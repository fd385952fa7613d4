#pragma once

#include <string>

#include "cli/TextTable.h"
#include "cli/Topology.h"

namespace Vexil::Cli {

/// "gen 4 x16", "gen ? x16", "unknown".
std::string PCIExpressText(std::int32_t generation, std::int32_t width);

/// What joins two GPUs, "-" where nothing does: "NVLink x4", "OpenCL", "package"; with "?" what is not known.
std::string LinkText(const Link& link);

/// Each GPU's place, its PCI Express link now and at most.
TextTable PlacesTable(const Session& session);

inline constexpr const char* kLinkLegend =
    "NVLink xN: N NVLinks. OpenCL: copies to it directly. package: one PCI device. ?: not known.";

/// What joins the GPU of a row to that of a column.
TextTable LinkMatrix(const Session& session, const Topology& topology);

}  // namespace Vexil::Cli
