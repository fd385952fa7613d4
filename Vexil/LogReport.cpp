#include "LogReport.h"

#include "LiveMemory.h"

namespace Vexil {
namespace {

class ThisMachine final : public LiveFigures {
 public:
  bool GetSystemMemory(std::uint64_t& available, std::uint64_t& total) override {
    return QuerySystemMemory(available, total);
  }

  bool GetGPUMemory(const FlatBuffers::MatchedGPUT& matched, std::uint64_t& free, std::uint64_t& total) override {
    return QueryGPUMemory(matched, free, total);
  }
};

class LogSink final : public ReportSink {
 public:
  bool Wants(LogLevel level) override { return IsLogEnabled(level); }
  void Write(LogLevel level, const std::string& line, const LogSite& site) override { WriteLog(level, line, site); }
};

}  // namespace

void LogReport(const ReportedResults& results) {
  ThisMachine live;
  LogSink sink;
  WriteReport(results, live, sink);
}

}  // namespace Vexil
