#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/Log.h"
#include "FlatBuffers/DetectionResult_generated.h"

namespace Vexil {

/// What a report is about.
struct ReportedResults {
  const FlatBuffers::SystemT& system;
  const std::vector<FlatBuffers::MatchedGPUT>& matched;
  const std::vector<FlatBuffers::GPUT>& gpus;
  const std::vector<FlatBuffers::MonitorT>& monitors;
};

/// The figures that a report asks for while it is written. Both are bytes; false where nobody tells.
class LiveFigures {
 public:
  virtual bool GetSystemMemory(std::uint64_t& available, std::uint64_t& total) = 0;
  virtual bool GetGPUMemory(const FlatBuffers::MatchedGPUT& matched, std::uint64_t& free, std::uint64_t& total) = 0;

 protected:
  ~LiveFigures() = default;
};

/// Where the lines of a report go.
class ReportSink {
 public:
  /// A line that nobody wants is not composed. Nor are drivers asked for figures that nobody will read: that
  /// takes time, and keeps NVAPI up for nothing.
  virtual bool Wants(LogLevel level) = 0;
  virtual void Write(LogLevel level, const std::string& line, const LogSite& site) = 0;

 protected:
  ~ReportSink() = default;
};

/// Tells what a run found: the system, each matched GPU, the monitors.
void WriteReport(const ReportedResults& results, LiveFigures& live, ReportSink& sink);

}  // namespace Vexil
