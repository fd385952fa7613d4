#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Vexil {

// Letter case and white space are the C library's, byte by byte, so those of bytes beyond ASCII follow the host's
// setlocale: in Windows-1252 0xA0 is a blank, in the "C" locale it is none.

/// True when `text` contains `pattern`, both upper-cased. Everything contains the empty pattern.
bool ContainsNoCase(std::string_view text, std::string_view pattern);

/// Every occurrence of `pattern`, letter case ignored, replaced; what was inserted is not searched again.
std::string ReplaceAllNoCase(std::string_view text, std::string_view pattern, std::string_view replacement);

/// Without white space and NUL at both ends.
std::string Trim(std::string_view text);

enum class EmptyPieces { Keep, Drop };
std::vector<std::string> Split(std::string_view text, char separator, EmptyPieces empty_pieces);

template <typename Pieces>
std::string Join(const Pieces& pieces, std::string_view separator) {
  std::string result;
  bool first = true;
  for (const auto& piece : pieces) {
    if (!first) result += separator;
    first = false;
    result += piece;
  }
  return result;
}

/// Every run of blanks becomes one, those at the ends go.
std::string CollapseBlanks(std::string_view text);

/// The text in a buffer that a driver filled: up to its NUL, or all of it where the driver forgot that.
std::string TextInBuffer(const char* buffer, std::size_t size);

template <std::size_t Size>
std::string TextInBuffer(const char (&buffer)[Size]) {
  return TextInBuffer(buffer, Size);
}

/// A UTF-16 text, up to its NUL, narrowed to the low byte of each unit.
std::string NarrowTextInBuffer(const wchar_t* buffer, std::size_t size);

}  // namespace Vexil
