#include "text/CodePage.h"

#include <iconv.h>

namespace Vexil {

unsigned SystemCodePage() { return kUTF8CodePage; }

std::optional<std::string> ToUTF8(const std::string& text, unsigned code_page) {
  // Not every code page has its name behind "CP" alone.
  const std::string name = code_page == kUTF8CodePage ? "UTF-8" : "CP" + std::to_string(code_page);
  iconv_t conversion = iconv_open("UTF-8", name.c_str());
  if (conversion == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string from = text;
  // No code page has letters of more than four bytes in UTF-8.
  std::string to(text.size() * 4, '\0');
  char* read = from.data();
  char* written = to.data();
  std::size_t left = from.size();
  std::size_t room = to.size();
  const bool is_complete = iconv(conversion, &read, &left, &written, &room) != static_cast<std::size_t>(-1);
  iconv_close(conversion);
  if (!is_complete) return std::nullopt;
  to.resize(to.size() - room);
  return to;
}

}  // namespace Vexil
