#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace Vexil::Cli {

/// A driver's text as a terminal may have it: control characters, which could break lines or steer the terminal,
/// become question marks.
std::string Printable(std::string_view text);

/// One line of text output, printable. Every text that comes from outside the program goes through here, unless
/// it is JSON.
void PrintLine(std::ostream& out, std::string_view line);

/// "1 GPU", "2 GPUs"
std::string Counted(std::size_t count, const std::string& noun);

}  // namespace Vexil::Cli
