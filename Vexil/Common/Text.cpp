#include "Vexil/Common/Text.h"

#include <algorithm>
#include <cctype>

namespace Vexil {
namespace {

// The <cctype> functions take bytes above 127 only as unsigned char.
char Upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
bool IsSpaceOrNul(char c) { return c == '\0' || std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

bool ContainsNoCase(std::string_view text, std::string_view pattern) {
  const auto equal = [](char a, char b) { return Upper(a) == Upper(b); };
  return pattern.empty() || std::search(text.begin(), text.end(), pattern.begin(), pattern.end(), equal) != text.end();
}

std::string ReplaceAllNoCase(std::string_view text, std::string_view pattern, std::string_view replacement) {
  const auto equal = [](char a, char b) { return Lower(a) == Lower(b); };
  std::string result;
  auto position = text.begin();
  while (!pattern.empty()) {
    const auto found = std::search(position, text.end(), pattern.begin(), pattern.end(), equal);
    if (found == text.end()) break;
    result.append(position, found).append(replacement);
    position = found + static_cast<std::ptrdiff_t>(pattern.size());
  }
  return result.append(position, text.end());
}

std::string Trim(std::string_view text) {
  const auto first = std::find_if_not(text.begin(), text.end(), IsSpaceOrNul);
  const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), IsSpaceOrNul).base();
  return {first, last};
}

std::vector<std::string> Split(std::string_view text, char separator, EmptyPieces empty_pieces) {
  std::vector<std::string> pieces;
  for (;;) {
    const std::size_t end = text.find(separator);
    const std::string_view piece = text.substr(0, end);
    if (!piece.empty() || empty_pieces == EmptyPieces::Keep) pieces.emplace_back(piece);
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

std::string CollapseBlanks(std::string_view text) { return Join(Split(text, ' ', EmptyPieces::Drop), " "); }

std::string TextInBuffer(const char* buffer, std::size_t size) {
  return {buffer, std::find(buffer, buffer + size, '\0')};
}

std::string NarrowTextInBuffer(const wchar_t* buffer, std::size_t size) {
  std::string result;
  for (const wchar_t* unit = buffer; unit != buffer + size && *unit != 0; ++unit) {
    result += static_cast<char>(static_cast<unsigned>(*unit) & 0xFFU);
  }
  return result;
}

}  // namespace Vexil
