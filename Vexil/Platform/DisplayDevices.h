#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Vexil {

inline constexpr std::uint32_t kAttachedToDesktop = 0x1;
inline constexpr std::uint32_t kPrimaryDevice = 0x4;
inline constexpr std::uint32_t kMirroringDriver = 0x8;
inline constexpr std::uint32_t kRemovable = 0x20;

/// An output of a display adapter, or a monitor on one, as the window system knows it.
struct DisplayDevice {
  std::string name;         ///< "\\.\DISPLAY1", "\\.\DISPLAY1\Monitor0"
  std::string description;  ///< The product's name.
  std::uint32_t state_flags = 0;
  std::string id;   ///< Hardware id.
  std::string key;  ///< Registry key.
};

struct DisplayMode {
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t refresh_rate;  ///< Hz.
};

/// Output number `index` of the desktop's adapters; nothing past the last one.
std::optional<DisplayDevice> GetAdapterOutput(std::uint32_t index);

/// Monitor number `index` on an output; nothing past the last one.
std::optional<DisplayDevice> GetMonitorOn(const std::string& output_name, std::uint32_t index);

/// The mode that an output is in.
std::optional<DisplayMode> GetCurrentMode(const std::string& output_name);

}  // namespace Vexil
