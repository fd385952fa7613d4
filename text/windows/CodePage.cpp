#include "text/CodePage.h"

#include <windows.h>

#include "text/windows/Wide.h"

namespace Vexil {

unsigned SystemCodePage() { return GetACP(); }

std::optional<std::string> ToUTF8(const std::string& text, unsigned code_page) {
  const int size = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
  if (units <= 0) return std::nullopt;
  std::wstring wide(static_cast<std::size_t>(units), L'\0');
  MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), units);
  return ToUTF8(wide);
}

std::string ToUTF8(std::wstring_view text) {
  const int units = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return {};
  std::string utf8(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.data(), bytes, nullptr, nullptr);
  return utf8;
}

}  // namespace Vexil
