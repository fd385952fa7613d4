#include "Commands.h"
#include "Json.h"
#include "MatchAnew.h"
#include "Printing.h"
#include "Report.h"

namespace Vexil::Program {
namespace {

class SessionFigures final : public LiveFigures {
 public:
  explicit SessionFigures(Detector* detector) : m_detector(detector) {}

  bool GetSystemMemory(std::uint64_t& available, std::uint64_t& total) override {
    return m_detector != nullptr && m_detector->GetSystemMemory(available, total);
  }
  bool GetGPUMemory(const FlatBuffers::MatchedGPUT& matched, std::uint64_t& free, std::uint64_t& total) override {
    return m_detector != nullptr && m_detector->GetGPUMemory(matched.gpu->id, free, total);
  }

 private:
  Detector* m_detector;
};

class OutputSink final : public ReportSink {
 public:
  explicit OutputSink(std::ostream& out) : m_out(out) {}

  bool Wants(LogLevel /*level*/) override { return true; }
  void Write(LogLevel /*level*/, const std::string& line, const LogSite& /*site*/) override { PrintLine(m_out, line); }

 private:
  std::ostream& m_out;
};

/// The schema's defaults are not written, and a version is worth knowing.
Json ResultToJson(const FlatBuffers::DetectionResultT& records) {
  Json json = {{"version", records.version}};
  json.update(ToJson(records));
  return json;
}

}  // namespace

int Report(const Session& session) {
  const Results& results = session.results;
  if (session.json) {
    PrintJson(session.out, ResultToJson(results.records));
  } else {
    SessionFigures figures(session.detector);
    OutputSink sink(session.out);
    WriteReport({*results.records.system, results.matched, results.gpus, results.monitors}, figures, sink);
  }
  WarnOfHiddenGPUs(session);
  return FoundStatus(session, !results.gpus.empty());
}

}  // namespace Vexil::Program
