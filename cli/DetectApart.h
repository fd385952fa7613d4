#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vexil/DetectorImpl.h"
#include "interfaces/ChildProcess.h"

namespace Vexil::Cli {

/// A detection whose drivers may crash and hang: the system information and each source were asked in a process of
/// their own. It has the records of those that answered.
struct DetectionApart {
  std::shared_ptr<Detector::Impl> run;
  Interfaces::ChildFault system;
  /// One for each of kSources, in their order.
  std::vector<Interfaces::ChildFault> sources;
};
DetectionApart DetectApart();

/// What a child of such a detection does.
Interfaces::Json AnswerOfSource(const std::string& name);
inline constexpr Interfaces::ChildWork kSourceWork = {"source", AnswerOfSource};

}  // namespace Vexil::Cli
