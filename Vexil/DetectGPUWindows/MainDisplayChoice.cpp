#include "Vexil/DetectGPUWindows/MainDisplayChoice.h"

#include <algorithm>

#include "Vexil/Common/Log.h"

namespace Vexil {

using FlatBuffers::MatchedGPUT;
using FlatBuffers::MonitorT;
using Remarks = std::vector<std::string>;

namespace {

/// Leaves the first of the GPUs that claim the main display; empty when none does.
std::string KeepOneMainDisplayGPU(const std::vector<MatchedGPUT>& matched, Remarks& remarks) {
  std::string id;
  for (const MatchedGPUT& entry : matched) {
    if (!entry.gpu->is_main_display) continue;
    if (id.empty()) {
      id = entry.gpu->id;
    } else {
      LOG_ERROR_AND_REMARK(remarks, "Multiple Main Display GPUs found, ignoring {}.", entry.gpu->id);
      entry.gpu->is_main_display = false;
    }
  }
  return id;
}

/// The GPU of the main monitor, or of the first one when none is main; empty when that is no known GPU.
std::string MainDisplayGPUByMonitor(const std::vector<MatchedGPUT>& matched, const std::vector<MonitorT>& monitors,
                                    Remarks& remarks) {
  auto monitor = std::find_if(monitors.begin(), monitors.end(), [](const MonitorT& m) { return m.is_main; });
  if (monitor == monitors.end()) monitor = monitors.begin();
  if (monitor == monitors.end()) return {};
  const auto entry =
      std::find_if(matched.begin(), matched.end(), [&](const MatchedGPUT& m) { return m.gpu->id == monitor->gpu_id; });
  if (entry == matched.end()) return {};
  LOG_WARN_AND_REMARK(remarks, "Found Main Display GPU {} through monitor match.", monitor->gpu_id);
  entry->gpu->is_main_display = true;
  return monitor->gpu_id;
}

}  // namespace

std::string ChooseMainDisplayGPU(const std::vector<MatchedGPUT>& matched, const std::vector<MonitorT>& monitors,
                                 Remarks& remarks) {
  std::string id = KeepOneMainDisplayGPU(matched, remarks);
  if (id.empty()) id = MainDisplayGPUByMonitor(matched, monitors, remarks);
  if (id.empty()) {
    FlatBuffers::GPUT& first = *matched.front().gpu;
    first.is_main_display = true;
    id = first.id;
    LOG_ERROR_AND_REMARK(remarks, "No Main Display GPU found and no monitors found to match, defaulting to {}.", id);
  }
  return id;
}

}  // namespace Vexil
