#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Vexil {

struct Character {
  std::string_view bytes;
  std::optional<char32_t> code;  ///< Nothing for a byte that is no UTF-8.
};

/// The character at the start of a text, which is not empty.
Character FirstCharacter(std::string_view text);

/// How many columns of a terminal the text takes. East Asian letters take two.
std::size_t DisplayWidth(std::string_view text);

/// The text as UTF-8. One that is none is taken for a text in this code page or, where that has no such letters, in
/// Windows-1252, which has a letter for every byte.
std::string AsUTF8(const std::string& text, unsigned code_page);

}  // namespace Vexil
