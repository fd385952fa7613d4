#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Vexil/DetectorImpl.h"
#include "cli/DetectApart.h"
#include "cli/Numbers.h"
#include "cli/ResultFile.h"

namespace Vexil::Cli {

/// One result that a command works with.
struct Session {
  std::string file;  ///< Where it was saved; empty where it is this machine's.
  Results results;
  std::shared_ptr<const Detector::Impl> run;  ///< Null where the results are saved ones.
  bool json;
  bool is_anonymous;
  std::ostream& out;
  std::ostream& err;
  mutable std::optional<Numbers> numbers = {};  ///< For FindNumbers, which asks once.
  std::optional<DetectionApart> apart = {};     ///< Where the sources were asked in processes of their own.

  /// Whether live figures can be asked for.
  bool IsThisMachine() const { return run != nullptr; }
};

using Sessions = std::vector<Session>;

}  // namespace Vexil::Cli
