#include "Diagnosis.h"

#include <algorithm>
#include <array>

#include "AMD/AMDDisplayLibrary.h"
#include "DetectCommon/CUDADriverAPI.h"
#include "DetectCommon/OpenCLLibrary.h"
#include "NVIDIA/NVML.h"
#include "NVIDIA/NvAPILoader.h"

namespace Vexil::Program {

using FlatBuffers::MatchedGPUT;

namespace {

// In the order of SourceState.
constexpr std::array kStateTexts = {
    "answered", "answered with errors", "library not installed or not loadable", "entry point missing", "call failed",
    "saved"};

SourceState Judge(const Examination& examination, std::size_t records, bool has_errors) {
  if (!examination.is_installed) return SourceState::NotInstalled;
  if (!examination.missing_required.empty()) return SourceState::EntryPointMissing;
  if (!examination.failed_call.empty() && records == 0) return SourceState::CallFailed;
  const bool had_trouble = has_errors || !examination.failed_call.empty();
  return had_trouble ? SourceState::AnsweredWithErrors : SourceState::Answered;
}

/// Looks at the sources of one session, one after the other.
class SourceExaminer {
 public:
  SourceExaminer(const Session& session, const std::vector<MatchedGPUT>& matched, const RunLog& log)
      : m_is_live(session.IsLive()), m_matched(matched), m_log(log) {}

  template <typename Record>
  Diagnosis Diagnose(const char* source, const char* library, Examination (*examine)(bool has_records),
                     const std::vector<std::shared_ptr<Record>>& records,
                     std::shared_ptr<Record> MatchedGPUT::*member) const {
    Diagnosis diagnosis;
    diagnosis.source = source;
    diagnosis.library = library;
    diagnosis.records = records.size();
    const RunLog::Step* step = m_log.Find(source);
    if (step != nullptr) {
      diagnosis.milliseconds = step->milliseconds;
      diagnosis.messages = step->trouble;
    }
    for (const auto& record : records) {
      const auto is_its = [&](const MatchedGPUT& matched) {
        return matched.*member != nullptr && AreEqual(*(matched.*member), *record);
      };
      if (std::none_of(m_matched.begin(), m_matched.end(), is_its)) diagnosis.unmatched.push_back(ToJson(*record));
    }
    diagnosis.state = SourceState::Saved;
    if (m_is_live) {
      diagnosis.examination = examine(!records.empty());
      diagnosis.state = Judge(diagnosis.examination, records.size(), step != nullptr && step->has_errors);
    }
    return diagnosis;
  }

 private:
  bool m_is_live;
  const std::vector<MatchedGPUT>& m_matched;
  const RunLog& m_log;
};

}  // namespace

const char* StateText(SourceState state) { return kStateTexts.at(static_cast<std::size_t>(state)); }

std::vector<Diagnosis> DiagnoseSources(const Session& session, const std::vector<MatchedGPUT>& matched,
                                       const RunLog& log) {
  const auto& raw = *session.results.records.detectors_output;
  const SourceExaminer examiner(session, matched, log);
  return {
      examiner.Diagnose("OpenCL", OpenCLLibrary::kFileName, ExamineOpenCL, raw.opencl, &MatchedGPUT::opencl),
      examiner.Diagnose("CUDA", CUDADriverAPI::kFileName, ExamineCUDA, raw.cuda, &MatchedGPUT::cuda),
      examiner.Diagnose("Win32", "", ExamineNothing, raw.win32, &MatchedGPUT::win32),
      examiner.Diagnose("DirectX", "", ExamineDirectX, raw.directx, &MatchedGPUT::directx),
      examiner.Diagnose("AMD DL", AMDDisplayLibrary::kFileName, ExamineAMDDL, raw.amddl, &MatchedGPUT::amddl),
      examiner.Diagnose("NVAPI", kNvAPIFileName, ExamineNvAPI, raw.nvapi, &MatchedGPUT::nvapi),
      examiner.Diagnose("NVML", NVML::kFileName, ExamineNVML, raw.nvml, &MatchedGPUT::nvml),
  };
}

}  // namespace Vexil::Program
