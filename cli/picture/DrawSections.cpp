#include <algorithm>

#include "cli/picture/Drawing.h"

namespace Vexil::Cli {
namespace {

constexpr Font kCellFont = {.size = 12, .is_mono = true};

/// Columns as wide as their widest text, but none so wide that it pushes the others out.
std::vector<int> ColumnWidths(const std::vector<std::vector<std::string>>& rows) {
  constexpr int kWidest = 320;
  std::vector<int> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::min(kWidest, std::max(widths[i], TextWidth(row[i], kCellFont)));
    }
  }
  return widths;
}

int DrawTable(Canvas& canvas, int top, const TextTable& table) {
  constexpr int kRowHeight = 23;
  constexpr int kGap = 20;
  constexpr int kNarrowest = 24;
  constexpr int kRight = Canvas::kWidth - Canvas::kMargin;
  const std::vector<int> widths = ColumnWidths(table.Rows());
  bool is_title = true;
  for (const auto& row : table.Rows()) {
    int x = Canvas::kMargin;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const int room = std::min(widths[i], kRight - x);
      if (room >= std::min(widths[i], kNarrowest)) {
        canvas.AddText(x, top + 15, row[i], kCellFont, is_title ? Paint::Muted : Paint::Ink, room);
      }
      x += widths[i] + kGap;
    }
    top += kRowHeight;
    canvas.AddLine(Canvas::kMargin, top - 1, kRight, top - 1, Paint::Rule, is_title ? 1.2 : 0.5);
    is_title = false;
  }
  return top;
}

}  // namespace

int DrawSection(Canvas& canvas, int top, const Section& section) {
  constexpr int kLineHeight = 18;
  top = DrawHeading(canvas, top, section.title, "");
  for (const TextTable& table : section.tables) top = DrawTable(canvas, top, table) + 18;
  for (const std::string& line : section.lines) {
    for (const std::string& piece : Wrapped(line, kCellFont, Canvas::kInnerWidth)) {
      canvas.AddText(Canvas::kMargin, top + 13, piece, kCellFont, Paint::Ink, Canvas::kInnerWidth);
      top += kLineHeight;
    }
  }
  return top;
}

}  // namespace Vexil::Cli
