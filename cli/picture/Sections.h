#pragma once

#include <string>
#include <vector>

#include "cli/Session.h"
#include "cli/TextTable.h"

namespace Vexil::Cli {

/// What stands below a picture as text.
struct Section {
  std::string title;
  std::vector<TextTable> tables;
  std::vector<std::string> lines;
};

std::vector<Section> FindSections(const Session& session);

}  // namespace Vexil::Cli
