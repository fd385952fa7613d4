#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "FlatBuffers/DetectionResult_generated.h"
#include "Log.h"

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
  template <typename... Arguments>
  void Info(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    if (Wants(LogLevel::Info)) Write(LogLevel::Info, fmt::format(format, std::forward<Arguments>(arguments)...));
  }
  void Warn(const std::string& line) {
    if (Wants(LogLevel::Warn)) Write(LogLevel::Warn, line);
  }

 protected:
  ~ReportSink() = default;

  /// A line that nobody wants is not composed.
  virtual bool Wants(LogLevel level) = 0;
  virtual void Write(LogLevel level, const std::string& line) = 0;
};

/// Tells what a run found: the system, each matched GPU, the monitors.
void WriteReport(const ReportedResults& results, LiveFigures& live, ReportSink& sink);

}  // namespace Vexil
