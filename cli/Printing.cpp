#include "cli/Printing.h"

#include <algorithm>
#include <ostream>

namespace Vexil::Cli {
namespace {

/// How many bytes at the start of a text are one UTF-8 character; 0 where they are none.
std::size_t CharacterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  const unsigned first = byte(0);
  const std::size_t length = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
  }
  return length;
}

/// Of the first set, of the second one, which terminals also obey as single bytes, and the one between them.
bool IsControlCharacter(std::string_view character) {
  const auto last = static_cast<unsigned char>(character.back());
  const bool is_c1 = last >= 0x80 && last < 0xA0;
  if (character.size() == 1) return last < 0x20 || last == 0x7F || is_c1;
  return character.size() == 2 && character.front() == '\xC2' && is_c1;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const std::string_view character = text.substr(0, std::max<std::size_t>(CharacterLength(text), 1));
    printable += IsControlCharacter(character) ? "?" : character;
    text.remove_prefix(character.size());
  }
  return printable;
}

void PrintLine(std::ostream& out, std::string_view line) { out << Printable(line) << '\n'; }

std::string Counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace Vexil::Cli
