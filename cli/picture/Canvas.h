#pragma once

#include <string>
#include <string_view>

#include "Vexil/FlatBuffers/DetectionResult_generated.h"
#include "cli/picture/TextWidth.h"

namespace Vexil::Cli {

/// What things are painted with: one colour in light and one in dark surroundings.
enum class Paint {
  Ground,
  Well,    ///< Behind the monitors.
  Card,    ///< With an outline.
  Screen,  ///< With an outline.
  Ink,
  Muted,
  Rule,
  Badge,
  BadgeInk,
  NVIDIA,
  AMD,
  Intel,
  Other,  ///< Another maker, or none that is known.
};

Paint PaintOf(FlatBuffers::Vendor vendor);

struct Box {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

enum class Anchor { Start, Middle, End };

/// Collects the elements of an SVG picture. Texts may be drivers'.
class Canvas {
 public:
  static constexpr int kWidth = 1200;
  static constexpr int kMargin = 40;
  static constexpr int kInnerWidth = kWidth - 2 * kMargin;

  void AddBox(const Box& box, Paint paint, int radius = 0, bool is_dashed = false);
  void AddLine(int x1, int y1, int x2, int y2, Paint paint, double thickness);
  /// `steps` are an SVG path's.
  void AddCurve(const std::string& steps, Paint paint, double thickness, bool is_dashed);
  void AddDot(int x, int y, int radius, Paint paint);
  /// On a base line, cut to the width.
  void AddText(int x, int y, std::string_view text, const Font& font, Paint paint, int width,
               Anchor anchor = Anchor::Start);

  /// The whole picture, this high. `title` and `description` are for those who do not see it.
  std::string Finish(int height, std::string_view title, std::string_view description) const;

 private:
  std::string m_elements;
};

}  // namespace Vexil::Cli
