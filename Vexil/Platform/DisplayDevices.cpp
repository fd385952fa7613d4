#include "Vexil/Platform/DisplayDevices.h"

#include <windows.h>

#include "Vexil/Common/Progress.h"
#include "Vexil/Common/Text.h"

namespace Vexil {

static_assert(kAttachedToDesktop == DISPLAY_DEVICE_ATTACHED_TO_DESKTOP &&
              kPrimaryDevice == DISPLAY_DEVICE_PRIMARY_DEVICE && kMirroringDriver == DISPLAY_DEVICE_MIRRORING_DRIVER &&
              kRemovable == DISPLAY_DEVICE_REMOVABLE);

namespace {

std::optional<DisplayDevice> GetDisplayDevice(const char* parent, std::uint32_t index) {
  NoteCall("EnumDisplayDevicesA");
  DISPLAY_DEVICEA device = {};
  device.cb = sizeof(device);
  if (EnumDisplayDevicesA(parent, index, &device, 0) == FALSE) return std::nullopt;
  return DisplayDevice{TextInBuffer(device.DeviceName), TextInBuffer(device.DeviceString), device.StateFlags,
                       TextInBuffer(device.DeviceID), TextInBuffer(device.DeviceKey)};
}

}  // namespace

std::optional<DisplayDevice> GetAdapterOutput(std::uint32_t index) { return GetDisplayDevice(nullptr, index); }

std::optional<DisplayDevice> GetMonitorOn(const std::string& output_name, std::uint32_t index) {
  return GetDisplayDevice(output_name.c_str(), index);
}

std::optional<DisplayMode> GetCurrentMode(const std::string& output_name) {
  NoteCall("EnumDisplaySettingsA");
  DEVMODEA mode = {};
  mode.dmSize = sizeof(mode);
  if (EnumDisplaySettingsA(output_name.c_str(), ENUM_CURRENT_SETTINGS, &mode) == FALSE) return std::nullopt;
  return DisplayMode{mode.dmPelsWidth, mode.dmPelsHeight, mode.dmDisplayFrequency};
}

}  // namespace Vexil
