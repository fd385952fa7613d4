#pragma once

#include <memory>
#include <ostream>

#include "Vexil/DetectorImpl.h"
#include "cli/ResultFile.h"

namespace Vexil::Cli {

/// What one command works with.
struct Session {
  Results results;
  std::shared_ptr<const Detector::Impl> run;  ///< Null where the results are saved ones.
  bool json;
  std::ostream& out;
  std::ostream& err;

  /// Whether live figures can be asked for.
  bool IsThisMachine() const { return run != nullptr; }
};

}  // namespace Vexil::Cli
