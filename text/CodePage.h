#pragma once

#include <optional>
#include <string>

namespace Vexil {

inline constexpr unsigned kUTF8CodePage = 65001;
inline constexpr unsigned kWestern = 1252;

/// The code page in which the system gives this process its texts.
unsigned SystemCodePage();

/// The text, which is in this code page, as UTF-8. Nothing where it is none of this code page's, or there is no such
/// code page.
std::optional<std::string> ToUTF8(const std::string& text, unsigned code_page);

}  // namespace Vexil
