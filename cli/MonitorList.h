#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/Session.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

/// A monitor on an output. What is unknown is empty, null or nothing.
struct MonitorRow {
  std::string output;  ///< "\\.\DISPLAY1"
  std::string name;
  const FlatBuffers::GPUT* gpu = nullptr;
  std::optional<int> width;  ///< Of the mode that it shows, in pixels.
  std::optional<int> height;
  std::optional<int> refresh_rate;  ///< Hz.
  bool is_main = false;             ///< Its output carries the primary desktop.

  // What only a running machine tells.
  std::string connector;
  std::optional<int> width_mm;
  std::optional<int> height_mm;
  std::optional<int> x;  ///< Where it stands on the desktop, in pixels.
  std::optional<int> y;
};

/// The monitors that the window system has a way to, then others of the results.
std::vector<MonitorRow> FindMonitors(const Session& session);

TextTable MonitorTable(const Session& session, const std::vector<MonitorRow>& monitors);

/// "DISPLAY1"
std::string OutputText(const MonitorRow& monitor);
/// "3840 x 2160, 60 Hz"
std::string ModeText(const MonitorRow& monitor);

}  // namespace Vexil::Cli
