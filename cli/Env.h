#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/KnownAs.h"

namespace Vexil::Cli {

/// What leads programs to one GPU and away from the others.
struct Guidance {
  std::vector<std::pair<std::string, std::string>> variables;
  /// The numbers that programs take as options: program and number.
  std::vector<std::pair<std::string, std::string>> options;
  /// What no variable can do.
  std::vector<std::string> remarks;
  /// Why a number that programs would need is not known. Without it programs could find another GPU.
  std::vector<std::string> unknown;
};

/// Throws an Error where the numbers that guide programs are not to be had.
void RequireNumbers(const Session& session);

Guidance GuideTo(const Session& session, const Numbers& numbers, std::size_t gpu);

}  // namespace Vexil::Cli
