#include "cli/Printing.h"

#include <algorithm>
#include <ostream>

namespace Vexil::Cli {
namespace {

bool IsControlCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string printable(text);
  std::replace_if(printable.begin(), printable.end(), IsControlCharacter, '?');
  return printable;
}

void PrintLine(std::ostream& out, std::string_view line) { out << Printable(line) << '\n'; }

std::string Counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace Vexil::Cli
