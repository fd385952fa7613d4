#include "cli/picture/TextWidth.h"

#include <algorithm>

#include "text/UTF8.h"

namespace Vexil::Cli {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

/// In thousandths of the font's size.
int CharacterWidth(const Character& character, const Font& font) {
  const char32_t code = character.code.value_or(0xFFFD);
  // From here on stand the scripts whose characters are as wide as high.
  constexpr char32_t kFirstWide = 0x1100;
  const bool is_wide = code >= kFirstWide && !(code >= 0x2000 && code < 0x2030) && code != 0xFFFD;
  if (font.is_mono) return is_wide ? 1210 : 605;
  int width = 640;
  if (is_wide || code == 0xFFFD) {
    width = 1030;
  } else if (code < 0x80) {
    constexpr std::string_view kNarrow = " !'(),./:;I[]fijlt|";
    constexpr std::string_view kBroad = "%@MWmw";
    const char c = static_cast<char>(code);
    if (kNarrow.find(c) != std::string_view::npos) width = 400;
    if (kBroad.find(c) != std::string_view::npos) width = 1000;
    if (c >= 'A' && c <= 'Z' && width == 640) width = 770;
  }
  return font.is_bold ? width * 11 / 10 : width;
}

/// How many bytes of a text are no wider than this.
std::size_t LengthWithin(std::string_view text, const Font& font, int width) {
  // TextWidth rounds up.
  long long left = 1000LL * (width - 1) / font.size;
  std::size_t length = 0;
  while (length < text.size()) {
    const Character character = FirstCharacter(text.substr(length));
    left -= CharacterWidth(character, font);
    if (left < 0) break;
    length += character.bytes.size();
  }
  return length;
}

}  // namespace

int TextWidth(std::string_view text, const Font& font) {
  long long width = 0;
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    width += CharacterWidth(character, font);
    text.remove_prefix(character.bytes.size());
  }
  return static_cast<int>(width * font.size / 1000) + 1;
}

std::string Fitted(std::string_view text, const Font& font, int width) {
  if (TextWidth(text, font) <= width) return std::string(text);
  return std::string(text.substr(0, LengthWithin(text, font, width - TextWidth(kEllipsis, font)))).append(kEllipsis);
}

std::vector<std::string> Wrapped(std::string_view text, const Font& font, int width) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    // One character at least, so that it comes to an end.
    std::size_t length = std::max(LengthWithin(text, font, width), FirstCharacter(text).bytes.size());
    if (length == text.size()) break;
    const std::size_t blank = text.substr(0, length).find_last_of(' ');
    const bool has_words = blank != std::string_view::npos && text.find_first_not_of(' ') < blank;
    if (has_words) length = blank + 1;
    lines.emplace_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  lines.emplace_back(text);
  return lines;
}

}  // namespace Vexil::Cli
