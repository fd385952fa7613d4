#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/picture/Sections.h"

namespace Vexil::Cli {

/// An HTML page that is XML, too. `picture` is an SVG element; `origin` says what made the page.
std::string ComposePage(std::string_view title, std::string_view picture, const std::vector<Section>& sections,
                        std::string_view origin);

}  // namespace Vexil::Cli
