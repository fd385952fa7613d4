#include "cli/picture/Screens.h"

#include <algorithm>

#include "cli/MonitorList.h"

namespace Vexil::Cli {
namespace {

/// No desktop is larger.
std::optional<Size> SoundSize(const MonitorRow& monitor) {
  constexpr int kLargest = 1 << 17;
  const Size size = {monitor.width.value_or(0), monitor.height.value_or(0)};
  const auto is_sound = [](int length) { return length > 0 && length <= kLargest; };
  return is_sound(size.width) && is_sound(size.height) ? std::optional(size) : std::nullopt;
}

Screen ToScreen(const Session& session, const MonitorRow& monitor) {
  Screen screen;
  screen.output = OutputText(monitor);
  screen.monitors = monitor.name;
  if (monitor.gpu != nullptr) screen.gpu = static_cast<std::size_t>(monitor.gpu - session.results.gpus.data());
  screen.mode = SoundSize(monitor);
  screen.mode_text = screen.mode ? ModeText(monitor) : "mode unknown";
  screen.is_main = monitor.is_main;
  if (monitor.x && monitor.y) screen.position = Point{*monitor.x, *monitor.y};
  return screen;
}

}  // namespace

std::vector<Screen> FindScreens(const Session& session) {
  std::vector<Screen> screens;
  for (const MonitorRow& monitor : FindMonitors(session)) {
    Screen screen = ToScreen(session, monitor);
    const auto shows_it = [&](const Screen& s) { return !screen.output.empty() && s.output == screen.output; };
    const auto found = std::find_if(screens.begin(), screens.end(), shows_it);
    if (found != screens.end()) {
      found->monitors += " + " + screen.monitors;
    } else {
      screens.push_back(std::move(screen));
    }
  }
  return screens;
}

}  // namespace Vexil::Cli
