#pragma once

#include <memory>
#include <optional>
#include <ostream>

#include "Vexil/DetectorImpl.h"
#include "cli/ResultFile.h"
#include "interfaces/Join.h"

namespace Vexil::Cli {

/// By which numbers interfaces know the GPUs.
struct Numbers {
  std::vector<Interfaces::Told> told;
  Interfaces::Joined joined;

  /// Null where this interface was not asked.
  const Interfaces::Findings* Of(std::string_view interface) const;
};

/// What one command works with.
struct Session {
  Results results;
  std::shared_ptr<const Detector::Impl> run;  ///< Null where the results are saved ones.
  bool json;
  std::ostream& out;
  std::ostream& err;
  mutable std::optional<Numbers> numbers = {};  ///< For FindNumbers, which asks once.

  /// Whether live figures can be asked for.
  bool IsThisMachine() const { return run != nullptr; }
};

}  // namespace Vexil::Cli
