#include "Vexil/DetectGPUWindows/Monitors.h"

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Patterns.h"
#include "Vexil/Common/Unknown.h"
#include "Vexil/Platform/DisplayDevices.h"

namespace Vexil {

void AddMonitorsOn(const std::string& output_name, bool is_main,
                   std::vector<std::shared_ptr<FlatBuffers::MonitorT>>& monitors, Account& account) {
  // Without a name Windows would list the adapters instead.
  if (output_name.empty()) return;
  for (std::uint32_t index = 0; index < kMaxItems; ++index) {
    const auto device = GetMonitorOn(output_name, index);
    // Windows does not tell a failure from the end of its list, but what the desktop is on has a monitor.
    if (!device && index == 0) account.Miss("monitors", "EnumDisplayDevicesA " + output_name);
    if (!device) return;
    auto monitor = std::make_shared<FlatBuffers::MonitorT>();
    if (const auto mode = GetCurrentMode(output_name)) {
      monitor->width = ToField(mode->width);
      monitor->height = ToField(mode->height);
      monitor->refresh_rate = ToField(mode->refresh_rate);
    } else {
      account.Miss("width, height, refresh_rate", "EnumDisplaySettingsA " + output_name);
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
