#pragma once

#include <string>
#include <string_view>

namespace Vexil::Cli {

/// A driver's text as XML and HTML may have it, between tags and in attributes. What neither may have, such as bytes
/// that are no UTF-8 and control characters, becomes U+FFFD.
std::string Escaped(std::string_view text);

}  // namespace Vexil::Cli
