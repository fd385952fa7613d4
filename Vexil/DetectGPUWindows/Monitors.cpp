#include "DetectGPUWindows/Monitors.h"

#include "Common/Limits.h"
#include "Common/Patterns.h"
#include "Common/Unknown.h"
#include "Windows/DisplayDevices.h"

namespace Vexil {

void AddMonitorsOn(const std::string& output_name, bool is_main,
                   std::vector<std::shared_ptr<FlatBuffers::MonitorT>>& monitors) {
  // Without a name Windows would list the adapters instead.
  if (output_name.empty()) return;
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    const auto device = GetMonitorOn(output_name, index);
    if (!device) return;
    auto monitor = std::make_shared<FlatBuffers::MonitorT>();
    if (const auto mode = GetCurrentMode(output_name)) {
      monitor->width = ToField(mode->width);
      monitor->height = ToField(mode->height);
      monitor->refresh_rate = ToField(mode->refresh_rate);
    }
    monitor->name = device->description;
    monitor->is_main = is_main;
    monitor->monitor_id = TextInBraces(device->key);
    monitor->device_name = device->name;
    monitors.push_back(std::move(monitor));
  }
}

void NameMonitors(std::vector<FlatBuffers::MonitorT>& monitors) {
  for (FlatBuffers::MonitorT& monitor : monitors) {
    if (monitor.name.empty()) monitor.name = "Monitor";
  }
}

}  // namespace Vexil
