#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Vexil::Tests {

inline constexpr std::uint32_t kActive = 0x1;
inline constexpr std::uint32_t kPrimary = 0x4;
inline constexpr std::uint32_t kMirroring = 0x8;
inline constexpr std::uint32_t kRemovable = 0x20;

struct SeededOutput {
  std::uint32_t state_flags = kActive;
  std::vector<std::string> monitors = {};  ///< Their names.
  std::uint32_t width = 1920;
  std::uint32_t height = 1080;
  std::uint32_t refresh_rate = 60;
};

struct SeededGPU {
  std::string name;
  std::string device_id;  ///< "PCI\VEN_...", different for each GPU.
  std::vector<SeededOutput> outputs = {};
  std::string provider = "Seeded Provider";
  bool has_driver = true;
  std::uint64_t luid = 0;
  std::optional<std::uint32_t> bus = {};
  std::optional<std::uint32_t> address = {};
};

/// Makes Wine's user32 and SetupAPI answer for a machine with these GPUs, through the registry that
/// both read, until this object goes. The outputs become \\.\DISPLAY1, \\.\DISPLAY2 and so on, each
/// GPU's after those of the GPU before. Only one may live at a time, in all programs of a Wine prefix.
class SeededDesktop {
 public:
  explicit SeededDesktop(const std::vector<SeededGPU>& gpus);
  ~SeededDesktop();
  SeededDesktop(const SeededDesktop&) = delete;
  SeededDesktop& operator=(const SeededDesktop&) = delete;

  /// What the window system and SetupAPI call the GPU's driver, and the key of its adapter.
  static std::string DriverOf(std::size_t gpu);
  static std::string AdapterKeyOf(std::size_t gpu);

 private:
  std::size_t m_outputs = 0;
  std::size_t m_monitors = 0;

  void AddGPU(std::size_t index, const SeededGPU& gpu);
  void AddOutput(std::size_t gpu_index, const SeededGPU& gpu, std::size_t output_index, const SeededOutput& output);
  std::string MakeMonitor(const SeededOutput& output, const std::string& name, std::uint64_t luid);
};

}  // namespace Vexil::Tests
