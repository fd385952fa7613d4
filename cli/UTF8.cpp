#include "cli/UTF8.h"

#include <algorithm>
#include <array>

#include "cli/platform/CodePage.h"

namespace Vexil::Cli {
namespace {

unsigned ByteAt(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
}

bool IsUTF8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

/// The number of a character that is sound.
char32_t CodePoint(std::string_view character) {
  constexpr std::array<unsigned, 5> kFirstBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t code = ByteAt(character, 0) & kFirstBits[character.size()];
  for (std::size_t i = 1; i < character.size(); ++i) code = code << 6 | (ByteAt(character, i) & 0x3FU);
  return code;
}

struct Range {
  char32_t first;
  char32_t last;
};

template <std::size_t Size>
bool IsIn(const std::array<Range, Size>& ranges, char32_t code) {
  return std::any_of(ranges.begin(), ranges.end(), [=](Range r) { return code >= r.first && code <= r.last; });
}

constexpr std::array kWide = {Range{0x1100, 0x115F}, Range{0x2E80, 0xA4CF},   Range{0xAC00, 0xD7A3},
                              Range{0xF900, 0xFAFF}, Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},
                              Range{0xFFE0, 0xFFE6}, Range{0x1F300, 0x1FAFF}, Range{0x20000, 0x3FFFD}};
/// They stand on the letter before.
constexpr std::array kCombining = {Range{0x0300, 0x036F}, Range{0x200B, 0x200F}, Range{0xFE00, 0xFE0F}};

void Append(std::string& text, char32_t code) {
  const auto add = [&](char32_t bits) { text += static_cast<char>(bits); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
  } else {
    add(0xE0 | code >> 12);
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  }
}

std::string FromWindows1252(std::string_view text) {
  // Where it differs from the first 256 characters of Unicode.
  constexpr std::array<char32_t, 32> kFrom80 = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                                0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
  std::string utf8;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned byte = ByteAt(text, i);
    Append(utf8, byte >= 0x80 && byte < 0xA0 ? kFrom80[byte - 0x80] : static_cast<char32_t>(byte));
  }
  return utf8;
}

}  // namespace

std::size_t CharacterLength(std::string_view text) {
  const unsigned first = ByteAt(text, 0);
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  for (std::size_t i = 1; i < length; ++i) {
    if ((ByteAt(text, i) & 0xC0U) != 0x80) return 0;
  }
  // Longer than need be, halves of UTF-16 pairs, and what is beyond Unicode.
  const char32_t code = CodePoint(text.substr(0, length));
  const bool is_sound = length == 2 || (length == 3 && code >= 0x800 && (code < 0xD800 || code > 0xDFFF)) ||
                        (length == 4 && code >= 0x10000 && code <= 0x10FFFF);
  return is_sound ? length : 0;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, std::max<std::size_t>(CharacterLength(text), 1));
    const char32_t code = CodePoint(character);
    width += IsIn(kWide, code) ? 2U : IsIn(kCombining, code) ? 0U : 1U;
    text.remove_prefix(character.size());
  }
  return width;
}

std::string AsUTF8(const std::string& text, unsigned code_page) {
  if (IsUTF8(text)) return text;
  const auto converted = ToUTF8(text, code_page);
  return converted && IsUTF8(*converted) ? *converted : FromWindows1252(text);
}

}  // namespace Vexil::Cli
