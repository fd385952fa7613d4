#pragma once

#include <string>
#include <vector>

#include "Vexil/Common/Log.h"
#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// What a report is about.
struct ReportedResults {
  const FlatBuffers::SystemT& system;
  const std::vector<FlatBuffers::MatchedGPUT>& matched;
  const std::vector<FlatBuffers::GPUT>& gpus;
  const std::vector<FlatBuffers::MonitorT>& monitors;
  bool is_this_machine;  ///< Then the report asks for live figures.
};

/// Where the lines of a report go.
class ReportSink {
 public:
  /// Lines that are not wanted are not composed, and drivers are not asked for their figures, which would take time
  /// and keep NVAPI up for nothing.
  virtual bool Wants(LogLevel level) = 0;
  virtual void Write(LogLevel level, const std::string& line, const LogSite& site) = 0;

 protected:
  ~ReportSink() = default;
};

/// Tells what a run found: the system, each matched GPU, the monitors.
void WriteReport(const ReportedResults& results, ReportSink& sink);

}  // namespace Vexil
