#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Vexil::Cli {

struct Font {
  int size = 13;  ///< Pixels.
  bool is_bold = false;
  bool is_mono = false;
};

/// How wide a text becomes at most, in pixels. Which font a reader has is not known, so this is for a wide one.
int TextWidth(std::string_view text, const Font& font);

/// The text, cut with an ellipsis where it is wider than this.
std::string Fitted(std::string_view text, const Font& font, int width);

/// The text in lines that are no wider than this, broken at blanks where there are some.
std::vector<std::string> Wrapped(std::string_view text, const Font& font, int width);

}  // namespace Vexil::Cli
