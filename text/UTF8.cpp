#include "text/UTF8.h"

#include <algorithm>
#include <array>

#include "text/CodePage.h"

namespace Vexil {
namespace {

/// By its first byte; 0 where no character begins with that.
std::size_t Length(unsigned first) {
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// Neither a surrogate, nor beyond the last one, nor shorter in fewer bytes.
bool IsSound(char32_t code, std::size_t length) {
  if (length == 3) return code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
  return length < 3 || (code >= 0x10000 && code <= 0x10FFFF);
}

bool IsUTF8(std::string_view text) {
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    if (!character.code) return false;
    text.remove_prefix(character.bytes.size());
  }
  return true;
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
  for (const char c : text) {
    const unsigned byte = static_cast<unsigned char>(c);
    Append(utf8, byte >= 0x80 && byte < 0xA0 ? kFrom80[byte - 0x80] : static_cast<char32_t>(byte));
  }
  return utf8;
}

}  // namespace

Character FirstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  const std::size_t length = Length(byte(0));
  char32_t code = length < 2 ? byte(0) : byte(0) & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return {text.substr(0, 1), {}};
    code = (code << 6U) | (byte(i) & 0x3FU);
  }
  if (length == 0 || !IsSound(code, length)) return {text.substr(0, 1), {}};
  return {text.substr(0, length), code};
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    const char32_t code = character.code.value_or(0);
    width += IsIn(kWide, code) ? 2U : IsIn(kCombining, code) ? 0U : 1U;
    text.remove_prefix(character.bytes.size());
  }
  return width;
}

std::string AsUTF8(const std::string& text, unsigned code_page) {
  if (IsUTF8(text)) return text;
  const auto converted = ToUTF8(text, code_page);
  return converted && IsUTF8(*converted) ? *converted : FromWindows1252(text);
}

}  // namespace Vexil
