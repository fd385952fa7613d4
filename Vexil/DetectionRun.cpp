#include <chrono>

#include "AMD/AMDDisplayLibrary.h"
#include "Common/Log.h"
#include "DetectCommon/CUDADetector.h"
#include "DetectCommon/OpenCLDetector.h"
#include "DetectGPUWindows/DirectXDetector.h"
#include "DetectGPUWindows/DisplayDeviceDetector.h"
#include "DetectGPUWindows/Matching.h"
#include "DetectGPUWindows/Monitors.h"
#include "DetectorImpl.h"
#include "LogReport.h"
#include "MainDisplayChoice.h"
#include "NVIDIA/NVML.h"
#include "NVIDIA/NvAPIDetector.h"
#include "SystemInfo/WindowsSystemInfo.h"
#include "Version.h"

namespace Vexil {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;

namespace {

class Stopwatch {
 public:
  std::int64_t Milliseconds() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_start).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point m_start = Clock::now();
};

/// Asks one source and stores its records, each in an object of its own that matching can share.
/// `vexil doctor` takes the step and its time from the log line, and from those of the other steps below: see
/// cli/RunLog.cpp.
template <typename Record>
void AskSource(const char* name, std::vector<Record> (*source)(), std::vector<std::shared_ptr<Record>>& list) {
  const Stopwatch stopwatch;
  std::vector<std::shared_ptr<Record>> records;
  for (Record& record : source()) records.push_back(std::make_shared<Record>(std::move(record)));
  list = std::move(records);
  LOG_DEBUG("  - {}: {} detected in {} ms.", name, list.size(), stopwatch.Milliseconds());
}

}  // namespace

bool Detector::Impl::Detect() {
  const LogSilencer silencer(options.Silent);
  Clear();
  LOG_INFO("Starting Vexil {}", kLibraryVersion);
  const Stopwatch run_stopwatch;

  AskSources();

  std::vector<MatchedGPUT> matched;
  std::vector<MonitorT> matched_monitors;
  const Stopwatch matching_stopwatch;
  DetectWindowsGPUs(detectors_output, matched, matched_monitors);
  LOG_DEBUG("  - GPU Matching: {} matched in {} ms.", matched.size(), matching_stopwatch.Milliseconds());
  if (matched.empty()) {
    LOG_ERROR("No matched GPUs found.");
    return false;
  }

  main_display_gpu_id.clear();
  main_display_gpu_id = ChooseMainDisplayGPU(matched, matched_monitors);

  for (const MatchedGPUT& entry : matched) {
    matched_gpus[entry.gpu->id] = std::make_shared<MatchedGPUT>(entry);
    gpus.push_back(*entry.gpu);
  }
  NameMonitors(matched_monitors);
  monitors = std::move(matched_monitors);

  LOG_INFO("Done in {} ms.", run_stopwatch.Milliseconds());
  LogReport({system, matched, gpus, monitors});
  return true;
}

void Detector::Impl::Clear() {
  // Not the main display GPU: where no GPU is found, or a source throws, it stays the one of the run before.
  detectors_output = {};
  matched_gpus.clear();
  gpus.clear();
  monitors.clear();
  system = {};
  marker.reset();
  if (options.KeepMarker) marker = std::make_unique<Marker>();
}

void Detector::Impl::AskSources() {
  const Stopwatch stopwatch;
  system = GetWindowsSystemInfo();
  LOG_DEBUG("  - System Info: {} ms.", stopwatch.Milliseconds());

  AskSource("OpenCL", GetOpenCLGPUs, detectors_output.opencl);
  AskSource("CUDA", GetCUDAGPUs, detectors_output.cuda);
  AskSource("Win32", GetEnumDisplayDevicesGPUs, detectors_output.win32);
  AskSource("DirectX", GetDirectXGPUs, detectors_output.directx);
  AskSource("AMD DL", GetAMDDLGPUs, detectors_output.amddl);
  AskSource("NVAPI", GetNvAPIGPUs, detectors_output.nvapi);
  AskSource("NVML", GetNVMLGPUs, detectors_output.nvml);
}

}  // namespace Vexil
