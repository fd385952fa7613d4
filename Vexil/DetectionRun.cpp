#include "Vexil/Common/Log.h"
#include "Vexil/DetectGPUWindows/MainDisplayChoice.h"
#include "Vexil/DetectGPUWindows/Matching.h"
#include "Vexil/DetectGPUWindows/Monitors.h"
#include "Vexil/DetectorImpl.h"
#include "Vexil/Platform/RunScope.h"
#include "Vexil/Report/LogReport.h"
#include "Vexil/Sources/AskSource.h"
#include "Vexil/SystemInfo/WindowsSystemInfo.h"
#include "Vexil/Version.h"

namespace Vexil {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;

bool Detector::Impl::Detect() {
  const LogSilencer silencer(options.Silent);
  const RunScope scope;
  Clear();
  LOG_INFO("Starting Vexil {}", kLibraryVersion);
  const Stopwatch run_stopwatch;

  AskSources();

  std::vector<MatchedGPUT> matched;
  if (!MatchRecords(matched)) return false;

  LOG_INFO("Done in {} ms.", run_stopwatch.Milliseconds());
  LogReport({system, matched, gpus, monitors, true});
  return true;
}

bool Detector::Impl::MatchRecords(std::vector<MatchedGPUT>& matched) {
  std::vector<MonitorT> matched_monitors;
  const Stopwatch matching_stopwatch;
  DetectWindowsGPUs(detectors_output, matched, matched_monitors);
  LOG_DEBUG("  - GPU Matching: {} matched in {} ms.", matched.size(), matching_stopwatch.Milliseconds());
  if (matched.empty()) {
    LOG_ERROR("No matched GPUs found.");
    return false;
  }

  main_display_gpu_id.clear();
  main_display_gpu_id = ChooseMainDisplayGPU(matched, matched_monitors, account.main_display_remarks);

  for (const MatchedGPUT& entry : matched) {
    matched_gpus[entry.gpu->id] = std::make_shared<MatchedGPUT>(entry);
    gpus.push_back(*entry.gpu);
  }
  NameMonitors(matched_monitors);
  monitors = std::move(matched_monitors);
  return true;
}

void Detector::Impl::Clear() {
  // Not the main display GPU: where no GPU is found, or a source throws, it stays the one of the run before.
  detectors_output = {};
  matched_gpus.clear();
  gpus.clear();
  monitors.clear();
  system = {};
  account = {};
  marker.reset();
  if (options.KeepMarker) marker = std::make_unique<Marker>();
}

void Detector::Impl::AskSources() {
  NoteSource(kSystemInformation);
  const Stopwatch stopwatch;
  system = GetWindowsSystemInfo(account.system);
  LOG_DEBUG("  - System Info: {} ms.", stopwatch.Milliseconds());
  account.system.duration = stopwatch.Elapsed();

  std::size_t place = 0;
  ForEachSource([&](const auto& source) { account.sources.at(place++) = AskSource(source, detectors_output); });
  NoteSource(nullptr);
}

}  // namespace Vexil
