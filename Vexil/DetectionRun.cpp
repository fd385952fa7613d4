#include <chrono>

#include "AMD/AMDDisplayLibrary.h"
#include "DetectCommon/CUDADetector.h"
#include "DetectCommon/OpenCLDetector.h"
#include "DetectGPUWindows/DirectXDetector.h"
#include "DetectGPUWindows/DisplayDeviceDetector.h"
#include "DetectGPUWindows/Matching.h"
#include "DetectorImpl.h"
#include "Log.h"
#include "NVIDIA/NVML.h"
#include "NVIDIA/NvAPIDetector.h"
#include "Report.h"
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
template <typename Record>
void AskSource(const char* name, std::vector<Record> (*source)(), std::vector<std::shared_ptr<Record>>& list) {
  const Stopwatch stopwatch;
  std::vector<std::shared_ptr<Record>> records;
  for (Record& record : source()) records.push_back(std::make_shared<Record>(std::move(record)));
  list = std::move(records);
  LOG_DEBUG("  - {}: {} detected in {} ms.", name, list.size(), stopwatch.Milliseconds());
}

/// Leaves the first of the GPUs that claim the main display; empty when none does.
std::string KeepOneMainDisplayGPU(const std::vector<MatchedGPUT>& matched) {
  std::string id;
  for (const MatchedGPUT& entry : matched) {
    if (!entry.gpu->is_main_display) continue;
    if (id.empty()) {
      id = entry.gpu->id;
    } else {
      LOG_ERROR("Multiple Main Display GPUs found, ignoring {}.", entry.gpu->id);
      entry.gpu->is_main_display = false;
    }
  }
  return id;
}

/// The GPU of the main monitor, or of the first one when none is main; empty when that is no known GPU.
std::string MainDisplayGPUByMonitor(const std::vector<MatchedGPUT>& matched, const std::vector<MonitorT>& monitors) {
  auto monitor = std::find_if(monitors.begin(), monitors.end(), [](const MonitorT& m) { return m.is_main; });
  if (monitor == monitors.end()) monitor = monitors.begin();
  if (monitor == monitors.end()) return {};
  const auto entry =
      std::find_if(matched.begin(), matched.end(), [&](const MatchedGPUT& m) { return m.gpu->id == monitor->gpu_id; });
  if (entry == matched.end()) return {};
  LOG_WARN("Found Main Display GPU {} through monitor match.", monitor->gpu_id);
  entry->gpu->is_main_display = true;
  return monitor->gpu_id;
}

/// Sees to it that one GPU drives the main display, and returns its identifier.
std::string ChooseMainDisplayGPU(const std::vector<MatchedGPUT>& matched, const std::vector<MonitorT>& monitors) {
  std::string id = KeepOneMainDisplayGPU(matched);
  if (id.empty()) id = MainDisplayGPUByMonitor(matched, monitors);
  if (id.empty()) {
    FlatBuffers::GPUT& first = *matched.front().gpu;
    first.is_main_display = true;
    id = first.id;
    LOG_ERROR("No Main Display GPU found and no monitors found to match, defaulting to {}.", id);
  }
  return id;
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

  main_display_gpu_id = ChooseMainDisplayGPU(matched, matched_monitors);

  for (const MatchedGPUT& entry : matched) {
    matched_gpus[entry.gpu->id] = std::make_shared<MatchedGPUT>(entry);
    gpus.push_back(*entry.gpu);
  }
  for (MonitorT& monitor : matched_monitors) {
    if (monitor.name.empty()) monitor.name = "Monitor";
  }
  monitors = std::move(matched_monitors);

  LOG_INFO("Done in {} ms.", run_stopwatch.Milliseconds());
  LogReport(*this, matched);
  return true;
}

void Detector::Impl::Clear() {
  // In this order: what an exception in a source leaves behind is visible to later queries.
  detectors_output = {};
  matched_gpus.clear();
  gpus.clear();
  monitors.clear();
  system = {};
  m_marker = options.KeepMarker ? std::make_unique<Marker>() : nullptr;
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
