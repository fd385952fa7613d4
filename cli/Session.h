#pragma once

#include <ostream>
#include <vector>

#include "LogRecorder.h"
#include "ResultFile.h"
#include "Vexil.h"

namespace Vexil::Program {

/// What one command works with.
struct Session {
  Results results;
  Detector* detector;        ///< Null where the results are not this machine's.
  std::vector<LogLine> log;  ///< Of the run that found the results, for a command that needs it.
  bool json;
  std::ostream& out;
  std::ostream& err;

  bool IsLive() const { return detector != nullptr; }
};

}  // namespace Vexil::Program
