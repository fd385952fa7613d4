#pragma once

#include <string>
#include <string_view>

namespace Vexil {

/// Windows' own form of texts as UTF-8; empty where it is no such text.
std::string ToUTF8(std::wstring_view text);

}  // namespace Vexil
