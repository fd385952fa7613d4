#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>

#include "interfaces/EDID.h"
#include "interfaces/Interfaces.h"
#include "interfaces/platform/DisplayPaths.h"

namespace Vexil::Interfaces {
namespace {

/// Windows' name for a number.
struct Name {
  std::uint32_t number;
  const char* name;
};

constexpr std::array kConnectorNames = {
    Name{0, "VGA"},
    Name{1, "S-Video"},
    Name{2, "composite video"},
    Name{3, "component video"},
    Name{4, "DVI"},
    Name{5, "HDMI"},
    Name{6, "LVDS"},
    Name{9, "SDI"},
    Name{10, "DisplayPort"},
    Name{11, "embedded DisplayPort"},
    Name{15, "Miracast"},
    Name{16, "indirect, wired"},
    Name{17, "indirect, virtual"},
    Name{18, "DisplayPort over USB"},
    Name{0x80000000, "internal"},
};

/// How a mode that is not the monitor's own comes to fill it.
constexpr std::array kScalingNames = {
    Name{1, "none"},         Name{2, "centered"}, Name{3, "stretched"},
    Name{4, "aspect ratio"}, Name{5, "custom"},   Name{128, "the driver's choice"},
};

std::string NameOf(std::span<const Name> names, std::uint32_t number) {
  const auto found = std::find_if(names.begin(), names.end(), [&](const Name& name) { return name.number == number; });
  return found != names.end() ? found->name : fmt::format("kind {}", number);
}

Device Describe(const DisplayPath& path) {
  Device device;
  device.number = path.output;
  device.name = path.monitor_name;
  device.luid = ToLUID(&path.luid);
  const auto add = [&](const char* name, const std::string& value) { device.more.emplace_back(name, value); };
  if (path.connector) add("connector", NameOf(kConnectorNames, *path.connector));
  if (const auto edid = ParseEDID(path.edid)) {
    if (device.name.empty()) device.name = edid->name;
    add("maker", edid->maker);
    add("product", fmt::format("0x{:04X}", edid->product));
    if (!edid->serial.empty()) add("serial", edid->serial);
    if (edid->width_mm != 0) add("size_mm", fmt::format("{}x{}", edid->width_mm, edid->height_mm));
  }
  if (path.mode) {
    add("mode", fmt::format("{}x{}@{}", path.mode->width, path.mode->height, path.mode->refresh_rate));
  }
  if (path.scaling) add("scaling", NameOf(kScalingNames, *path.scaling));
  if (path.x && path.y) add("position", fmt::format("{},{}", *path.x, *path.y));
  if (path.hdr_supported) {
    add("hdr", path.hdr_enabled.value_or(false) ? "on" : *path.hdr_supported ? "off" : "not supported");
  }
  return device;
}

}  // namespace

Findings AskDisplays() {
  std::vector<Device> devices;
  for (const DisplayPath& path : GetDisplayPaths()) devices.push_back(Describe(path));
  return MakeFindings(std::move(devices), {});
}

}  // namespace Vexil::Interfaces
