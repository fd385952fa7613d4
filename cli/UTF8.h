#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Vexil::Cli {

/// How many bytes at the start of a text are one UTF-8 character; 0 where they are none.
std::size_t CharacterLength(std::string_view text);

/// How many columns of a terminal the text takes. East Asian letters take two.
std::size_t DisplayWidth(std::string_view text);

/// The text as UTF-8. One that is none is taken for a text in this code page or, where that has no such letters, in
/// Windows-1252, which has a letter for every byte.
std::string AsUTF8(const std::string& text, unsigned code_page);

}  // namespace Vexil::Cli
