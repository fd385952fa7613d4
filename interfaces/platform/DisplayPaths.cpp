#include "interfaces/platform/DisplayPaths.h"

#include <windows.h>

#include <setupapi.h>

#include <algorithm>

#include "Vexil/Common/Limits.h"
#include "Vexil/Common/Text.h"

namespace Vexil::Interfaces {
namespace {

template <typename Packet>
bool Ask(Packet& packet, DISPLAYCONFIG_DEVICE_INFO_TYPE type, const LUID& adapter, UINT32 id) {
  packet.header.type = type;
  packet.header.size = sizeof(packet);
  packet.header.adapterId = adapter;
  packet.header.id = id;
  return DisplayConfigGetDeviceInfo(&packet.header) == ERROR_SUCCESS;
}

std::uint32_t Rate(const DISPLAYCONFIG_RATIONAL& rate) {
  // Rounded, as 59.94 Hz is called 60.
  return rate.Denominator != 0 ? (rate.Numerator + rate.Denominator / 2) / rate.Denominator : 0;
}

/// What the monitor at this path of the device tree says of itself.
std::vector<unsigned char> ReadEDID(const wchar_t* device_path) {
  std::vector<unsigned char> edid;
  HDEVINFO list = SetupDiCreateDeviceInfoList(nullptr, nullptr);
  if (list == INVALID_HANDLE_VALUE) return edid;
  SP_DEVICE_INTERFACE_DATA interface_data = {};
  interface_data.cbSize = sizeof(interface_data);
  SP_DEVINFO_DATA device = {};
  device.cbSize = sizeof(device);
  if (SetupDiOpenDeviceInterfaceW(list, device_path, 0, &interface_data) != FALSE &&
      SetupDiEnumDeviceInfo(list, 0, &device) != FALSE) {
    HKEY key = SetupDiOpenDevRegKey(list, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ);
    if (key != INVALID_HANDLE_VALUE) {
      edid.resize(4096);
      auto size = static_cast<DWORD>(edid.size());
      DWORD type = REG_NONE;
      const LSTATUS status = RegQueryValueExA(key, "EDID", nullptr, &type, edid.data(), &size);
      edid.resize(status == ERROR_SUCCESS && type == REG_BINARY ? size : 0);
      RegCloseKey(key);
    }
  }
  SetupDiDestroyDeviceInfoList(list);
  return edid;
}

void ReadTarget(const DISPLAYCONFIG_PATH_TARGET_INFO& target, DisplayPath& to) {
  DISPLAYCONFIG_TARGET_DEVICE_NAME name = {};
  if (Ask(name, DISPLAYCONFIG_DEVICE_INFO_GET_TARGET_NAME, target.adapterId, target.id)) {
    to.monitor_name = NarrowTextInBuffer(name.monitorFriendlyDeviceName, std::size(name.monitorFriendlyDeviceName));
    to.connector = static_cast<std::uint32_t>(name.outputTechnology);
    to.edid = ReadEDID(name.monitorDevicePath);
  }
  DISPLAYCONFIG_GET_ADVANCED_COLOR_INFO colour = {};
  if (Ask(colour, DISPLAYCONFIG_DEVICE_INFO_GET_ADVANCED_COLOR_INFO, target.adapterId, target.id)) {
    to.hdr_supported = (colour.value & 1U) != 0;
    to.hdr_enabled = (colour.value & 2U) != 0;
  }
}

/// The active paths and their modes.
bool Query(std::vector<DISPLAYCONFIG_PATH_INFO>& paths, std::vector<DISPLAYCONFIG_MODE_INFO>& modes) {
  // The desktop may change between the two calls.
  for (int attempt = 0; attempt < 3; ++attempt) {
    UINT32 path_count = 0;
    UINT32 mode_count = 0;
    if (GetDisplayConfigBufferSizes(QDC_ONLY_ACTIVE_PATHS, &path_count, &mode_count) != ERROR_SUCCESS) return false;
    paths.assign(std::min<UINT32>(path_count, kMaxItems), {});
    modes.assign(std::min<UINT32>(mode_count, 2 * kMaxItems), {});
    path_count = static_cast<UINT32>(paths.size());
    mode_count = static_cast<UINT32>(modes.size());
    const LONG status =
        QueryDisplayConfig(QDC_ONLY_ACTIVE_PATHS, &path_count, paths.data(), &mode_count, modes.data(), nullptr);
    if (status == ERROR_INSUFFICIENT_BUFFER) continue;
    paths.resize(std::min<std::size_t>(path_count, paths.size()));
    modes.resize(std::min<std::size_t>(mode_count, modes.size()));
    return status == ERROR_SUCCESS;
  }
  return false;
}

}  // namespace

std::vector<DisplayPath> GetDisplayPaths() {
  std::vector<DISPLAYCONFIG_PATH_INFO> paths;
  std::vector<DISPLAYCONFIG_MODE_INFO> modes;
  std::vector<DisplayPath> found;
  if (!Query(paths, modes)) return found;
  for (const DISPLAYCONFIG_PATH_INFO& path : paths) {
    DisplayPath& to = found.emplace_back();
    const auto& source = path.sourceInfo;
    to.luid = std::uint64_t{static_cast<std::uint32_t>(source.adapterId.HighPart)} << 32 | source.adapterId.LowPart;
    DISPLAYCONFIG_SOURCE_DEVICE_NAME name = {};
    if (Ask(name, DISPLAYCONFIG_DEVICE_INFO_GET_SOURCE_NAME, source.adapterId, source.id)) {
      to.output = NarrowTextInBuffer(name.viewGdiDeviceName, std::size(name.viewGdiDeviceName));
    }
    if (source.modeInfoIdx < modes.size() &&
        modes[source.modeInfoIdx].infoType == DISPLAYCONFIG_MODE_INFO_TYPE_SOURCE) {
      const DISPLAYCONFIG_SOURCE_MODE& mode = modes[source.modeInfoIdx].sourceMode;
      to.mode = DisplayMode{mode.width, mode.height, Rate(path.targetInfo.refreshRate)};
      to.x = mode.position.x;
      to.y = mode.position.y;
    }
    to.scaling = static_cast<std::uint32_t>(path.targetInfo.scaling);
    ReadTarget(path.targetInfo, to);
  }
  return found;
}

}  // namespace Vexil::Interfaces
