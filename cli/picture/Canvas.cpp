#include "cli/picture/Canvas.h"

#include <fmt/format.h>

#include <array>

#include "cli/picture/Escape.h"

namespace Vexil::Cli {

using FlatBuffers::Vendor;

namespace {

/// The light colours stand on each element, for programs that know no style sheets; the dark ones in a style sheet.
struct Colours {
  const char* name = nullptr;
  const char* light = nullptr;
  const char* dark = nullptr;
  const char* light_outline = nullptr;
  const char* dark_outline = nullptr;
};

// In the order of Paint.
constexpr std::array kColours = {
    Colours{"ground", "#ffffff", "#0d1117"},
    Colours{"well", "#f3f5f8", "#090c11"},
    Colours{"card", "#ffffff", "#161b22", "#d5dbe2", "#30363d"},
    Colours{"screen", "#ffffff", "#1c222b", "#8b949e", "#6e7681"},
    Colours{"ink", "#1c2128", "#e6edf3"},
    Colours{"muted", "#57606a", "#9aa4af"},
    Colours{"rule", "#cdd4dc", "#3a424c"},
    Colours{"badge", "#e3edfb", "#15294a"},
    Colours{"badge-ink", "#0b4fa8", "#8ebcff"},
    Colours{"nvidia", "#4d8a00", "#85c823"},
    Colours{"amd", "#c4321f", "#ff7b6b"},
    Colours{"intel", "#0068b5", "#58b0f2"},
    Colours{"other", "#6e5494", "#b79be0"},
};

const Colours& ColoursOf(Paint paint) { return kColours.at(static_cast<std::size_t>(paint)); }

std::string Filled(Paint paint) {
  const Colours& colours = ColoursOf(paint);
  std::string text = fmt::format(R"(class="v-{}" fill="{}")", colours.name, colours.light);
  if (colours.light_outline != nullptr) text += fmt::format(R"( stroke="{}")", colours.light_outline);
  return text;
}

std::string Stroked(Paint paint, double thickness, bool is_dashed) {
  const Colours& colours = ColoursOf(paint);
  return fmt::format(R"(class="v-{}-line" fill="none" stroke="{}" stroke-width="{:.1f}" stroke-linecap="round"{})",
                     colours.name, colours.light, thickness, is_dashed ? R"( stroke-dasharray="1 7")" : "");
}

std::string StyleSheet() {
  std::string rules;
  for (const Colours& colours : kColours) {
    rules += fmt::format(".v-{}{{fill:{}", colours.name, colours.dark);
    if (colours.dark_outline != nullptr) rules += fmt::format(";stroke:{}", colours.dark_outline);
    rules += fmt::format("}}.v-{}-line{{stroke:{}}}", colours.name, colours.dark);
  }
  return "@media (prefers-color-scheme:dark){" + rules + "}";
}

constexpr const char* kFonts = "'Segoe UI',system-ui,-apple-system,Roboto,'Helvetica Neue',Arial,sans-serif";
constexpr const char* kMonoFonts = "'Cascadia Mono',Consolas,Menlo,'DejaVu Sans Mono','Liberation Mono',monospace";

constexpr std::array kAnchors = {"", R"( text-anchor="middle")", R"( text-anchor="end")"};

}  // namespace

Paint PaintOf(Vendor vendor) {
  switch (vendor) {
    case Vendor::NVIDIA: return Paint::NVIDIA;
    case Vendor::AMD: return Paint::AMD;
    case Vendor::Intel: return Paint::Intel;
    default: return Paint::Other;
  }
}

void Canvas::AddBox(const Box& box, Paint paint, int radius, bool is_dashed) {
  m_elements += fmt::format(R"(<rect x="{}" y="{}" width="{}" height="{}"{} {}{}/>)", box.x, box.y, box.width,
                            box.height, radius != 0 ? fmt::format(R"( rx="{}")", radius) : "", Filled(paint),
                            is_dashed ? R"( stroke-dasharray="4 4")" : "") +
                "\n";
}

void Canvas::AddLine(int x1, int y1, int x2, int y2, Paint paint, double thickness) {
  AddCurve(fmt::format("M{} {}L{} {}", x1, y1, x2, y2), paint, thickness, false);
}

void Canvas::AddCurve(const std::string& steps, Paint paint, double thickness, bool is_dashed) {
  m_elements += fmt::format(R"(<path d="{}" {}/>)", steps, Stroked(paint, thickness, is_dashed)) + "\n";
}

void Canvas::AddDot(int x, int y, int radius, Paint paint) {
  m_elements += fmt::format(R"(<circle cx="{}" cy="{}" r="{}" {}/>)", x, y, radius, Filled(paint)) + "\n";
}

void Canvas::AddText(int x, int y, std::string_view text, const Font& font, Paint paint, int width, Anchor anchor) {
  m_elements +=
      fmt::format(R"(<text x="{}" y="{}" font-size="{}"{}{}{} xml:space="preserve" {}>{}</text>)", x, y, font.size,
                  font.is_bold ? R"( font-weight="600")" : "",
                  font.is_mono ? fmt::format(R"( font-family="{}")", kMonoFonts) : "",
                  kAnchors.at(static_cast<std::size_t>(anchor)), Filled(paint), Escaped(Fitted(text, font, width))) +
      "\n";
}

std::string Canvas::Finish(int height, std::string_view title, std::string_view description) const {
  return fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {0} {1}" width="{0}" height="{1}" )"
                     R"(role="img" aria-labelledby="picture-title picture-description" font-family="{2}">
<title id="picture-title">{3}</title>
<desc id="picture-description">{4}</desc>
<style>{5}</style>
<rect width="{0}" height="{1}" {6}/>
{7}</svg>
)",
                     kWidth, height, kFonts, Escaped(title), Escaped(description), StyleSheet(), Filled(Paint::Ground),
                     m_elements);
}

}  // namespace Vexil::Cli
