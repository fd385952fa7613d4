#pragma once

#include <string_view>
#include <vector>

#include "cli/Topology.h"
#include "cli/picture/Canvas.h"
#include "cli/picture/Screens.h"
#include "cli/picture/Sections.h"

namespace Vexil::Cli {

// The parts of a picture. Each begins at `top` and returns where it ends.

inline constexpr Font kHeadingFont = {.size = 15, .is_bold = true};
inline constexpr Font kNoteFont = {.size = 13};

/// A heading with a remark at its right.
int DrawHeading(Canvas& canvas, int top, std::string_view heading, std::string_view remark);

/// What machine it is.
int DrawHeader(Canvas& canvas, int top, const Session& session);

/// Each GPU at its PCI place, and what joins them.
int DrawGPUs(Canvas& canvas, int top, const Session& session, const Topology& topology);

/// The desktop, to scale.
int DrawMonitors(Canvas& canvas, int top, const Session& session, const std::vector<Screen>& screens);

int DrawSection(Canvas& canvas, int top, const Section& section);

}  // namespace Vexil::Cli
