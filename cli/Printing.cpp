#include "cli/Printing.h"

#include <ostream>

#include "text/UTF8.h"

namespace Vexil::Cli {
namespace {

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
    const std::string_view character = FirstCharacter(text).bytes;
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
