#include "cli/picture/Escape.h"

#include "text/UTF8.h"

namespace Vexil::Cli {
namespace {

std::string_view Escaped(const Character& character) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  if (!character.code) return kReplacement;
  switch (*character.code) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return "&quot;";
    case '\'': return "&#39;";
    default: break;
  }
  const char32_t code = *character.code;
  const bool is_control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool is_no_character = (code & 0xFFFEU) == 0xFFFE || (code >= 0xFDD0 && code <= 0xFDEF);
  // They would turn the order of what follows them around.
  const bool is_direction = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return is_control || is_no_character || is_direction ? kReplacement : character.bytes;
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    escaped += Escaped(character);
    text.remove_prefix(character.bytes.size());
  }
  return escaped;
}

}  // namespace Vexil::Cli
