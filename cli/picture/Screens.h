#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Session.h"

namespace Vexil::Cli {

struct Point {
  int x = 0;
  int y = 0;
};

struct Size {
  int width = 0;
  int height = 0;
};

/// What one output shows, on its monitor or on several alike. What is not known is nothing, or an empty text.
struct Screen {
  std::string output;  ///< "DISPLAY1"
  std::string monitors;
  std::optional<std::size_t> gpu;
  std::optional<Size> mode;
  std::string mode_text;
  bool is_main = false;
  std::optional<Point> position;
};

std::vector<Screen> FindScreens(const Session& session);

}  // namespace Vexil::Cli
