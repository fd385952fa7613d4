#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Vexil/Platform/DisplayDevices.h"

namespace Vexil::Interfaces {

/// A way from an output to a monitor that is in use. What Windows does not tell is nothing, or an empty text.
struct DisplayPath {
  std::string output;      ///< "\\.\DISPLAY1"
  std::uint64_t luid = 0;  ///< Of the output's adapter.
  std::string monitor_name;
  std::optional<std::uint32_t> connector;  ///< DISPLAYCONFIG_VIDEO_OUTPUT_TECHNOLOGY
  std::optional<std::int32_t> x;           ///< On the desktop, in pixels.
  std::optional<std::int32_t> y;
  std::optional<DisplayMode> mode;
  std::optional<std::uint32_t> scaling;  ///< DISPLAYCONFIG_SCALING
  std::optional<bool> hdr_supported;
  std::optional<bool> hdr_enabled;
  std::vector<unsigned char> edid;
};

std::vector<DisplayPath> GetDisplayPaths();

}  // namespace Vexil::Interfaces
