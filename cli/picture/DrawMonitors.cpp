#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/picture/Drawing.h"

namespace Vexil::Cli {
namespace {

/// A place on the desktop, in its pixels.
struct Area {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

/// For an output whose mode is not known.
constexpr Size kAssumedMode = {1920, 1080};

Area Extent(const std::vector<Area>& areas) {
  Area all = areas.front();
  for (const Area& area : areas) {
    const double right = std::max(all.x + all.width, area.x + area.width);
    const double bottom = std::max(all.y + all.height, area.y + area.height);
    all.x = std::min(all.x, area.x);
    all.y = std::min(all.y, area.y);
    all.width = right - all.x;
    all.height = bottom - all.y;
  }
  return all;
}

/// Where each screen is drawn: where it stands, and those of which that is not known side by side after them.
std::vector<Area> Arrange(const std::vector<Screen>& screens) {
  std::vector<Area> areas;
  double right = 0;
  double top = 0;
  for (const Screen& screen : screens) {
    const Size size = screen.mode.value_or(kAssumedMode);
    const Point place = screen.position.value_or(Point());
    areas.push_back({double(place.x), double(place.y), double(size.width), double(size.height)});
    if (!screen.position) continue;
    right = std::max(right, areas.back().x + areas.back().width);
    top = std::min(top, areas.back().y);
  }
  for (std::size_t i = 0; i < screens.size(); ++i) {
    if (screens[i].position) continue;
    constexpr double kGap = 120;
    areas[i].x = right + kGap;
    areas[i].y = top;
    right = areas[i].x + areas[i].width;
  }
  return areas;
}

Paint ScreenPaint(const Session& session, const Screen& screen) {
  return screen.gpu ? PaintOf(session.results.gpus[*screen.gpu].vendor) : Paint::Other;
}

struct Line {
  std::string text;
  Font font;
  Paint paint = Paint::Ink;
};

void DrawScreen(Canvas& canvas, const Box& box, const Screen& screen, Paint paint) {
  canvas.AddBox(box, Paint::Screen, 4, !screen.position || !screen.mode);
  if (box.width > 16 && box.height > 10) {
    canvas.AddBox({box.x + 6, box.y + box.height - 7, box.width - 12, 4}, paint, 2);
  }
  constexpr int kLineHeight = 19;
  constexpr int kNarrowest = 44;
  std::vector<Line> lines = {
      {screen.output.empty() ? "output unknown" : screen.output, {.size = 13, .is_bold = true}, paint},
      {screen.monitors, {.size = 13}, Paint::Ink},
      {screen.gpu ? fmt::format("GPU {}", *screen.gpu) + (screen.is_main ? ", main" : "") : "GPU unknown",
       {.size = 12},
       Paint::Ink},
      {screen.mode_text, {.size = 12}, Paint::Muted}};
  const int most = box.width < kNarrowest ? 0 : std::max(0, (box.height - 14) / kLineHeight);
  lines.resize(std::min(lines.size(), static_cast<std::size_t>(most)));
  int y = box.y + (box.height - 6 - static_cast<int>(lines.size()) * kLineHeight) / 2 + 14;
  for (const Line& line : lines) {
    canvas.AddText(box.x + box.width / 2, y, line.text, line.font, line.paint, box.width - 12, Anchor::Middle);
    y += kLineHeight;
  }
}

std::string Remark(const Session& session, const std::vector<Screen>& screens) {
  if (!session.IsThisMachine()) return "to scale, side by side: positions are not part of a saved result";
  const auto stands = [](const Screen& screen) { return screen.position.has_value(); };
  if (std::all_of(screens.begin(), screens.end(), stands)) return "to scale in pixels, where they stand on the desktop";
  return "to scale in pixels; dashed: position not known";
}

}  // namespace

int DrawMonitors(Canvas& canvas, int top, const Session& session, const std::vector<Screen>& screens) {
  if (screens.empty()) return top;
  top = DrawHeading(canvas, top, "Desktop", Remark(session, screens));
  constexpr int kPadding = 24;
  constexpr int kHighest = 440;
  constexpr int kHighestScreen = 260;
  const std::vector<Area> areas = Arrange(screens);
  const Area all = Extent(areas);
  double highest = 0;
  for (const Area& area : areas) highest = std::max(highest, area.height);
  const double scale =
      std::min({(Canvas::kInnerWidth - 2 * kPadding) / all.width, kHighest / all.height, kHighestScreen / highest});
  const auto scaled = [&](double length) { return static_cast<int>(std::lround(length * scale)); };

  const Box well = {Canvas::kMargin, top, Canvas::kInnerWidth, scaled(all.height) + 2 * kPadding};
  canvas.AddBox(well, Paint::Well, 8);
  const int left = Canvas::kMargin + (Canvas::kInnerWidth - scaled(all.width)) / 2;
  for (std::size_t i = 0; i < screens.size(); ++i) {
    const Area& area = areas[i];
    // A narrow gap where one ends and the next begins.
    constexpr int kGap = 2;
    const int x = scaled(area.x - all.x);
    const int y = scaled(area.y - all.y);
    const Box box = {left + x + kGap, top + kPadding + y + kGap,
                     std::max(1, scaled(area.x - all.x + area.width) - x - 2 * kGap),
                     std::max(1, scaled(area.y - all.y + area.height) - y - 2 * kGap)};
    DrawScreen(canvas, box, screens[i], ScreenPaint(session, screens[i]));
  }
  return well.y + well.height;
}

}  // namespace Vexil::Cli
