// Vexil for C++17, for every compiler: a header over the C interface (vexil_c.h), which says what each value means.
//
//   for (const vexil::GPU& gpu : vexil::Detect().GPUs()) std::cout << gpu.name << '\n';
//
// Failures throw vexil::Error, or one of the standard library's exceptions where memory runs out. Texts belong to the
// snapshot, of which a Snapshot and its copies, GPUs and Monitors hold a share. What is not known is std::nullopt, or
// an empty text.
#ifndef VEXIL_HPP
#define VEXIL_HPP

#include <vexil_c.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vexil {

enum class Vendor : std::int32_t { Unknown = 0, NVIDIA = 1, AMD = 2, Intel = 3 };
enum class GPUType : std::int32_t { Unknown = 0, Integrated = 1, Discrete = 2, External = 3 };
enum class LogLevel : std::int32_t { Debug = 0, Info = 1, Warning = 2, Error = 3 };

class Snapshot;

/// What a function of the C interface failed with.
class Error : public std::runtime_error {
 public:
  Error(vexil_status status, const std::string& text, std::shared_ptr<const Snapshot> known = nullptr)
      : std::runtime_error(text), m_status(status), m_known(std::move(known)) {}

  /// VEXIL_...
  vexil_status Status() const noexcept { return m_status; }
  /// What is known all the same, where a helper program failed; otherwise null.
  const Snapshot* Known() const noexcept { return m_known.get(); }

 private:
  vexil_status m_status;
  std::shared_ptr<const Snapshot> m_known;
};

namespace detail {

inline void Check(vexil_status status) {
  if (status == VEXIL_OUT_OF_MEMORY) throw std::bad_alloc();
  if (status != VEXIL_OK) throw Error(status, vexil_last_error());
}

template <typename Struct>
Struct Sized() {
  Struct made{};
  made.size = static_cast<std::uint32_t>(sizeof(Struct));
  return made;
}

using Handle = std::shared_ptr<vexil_snapshot>;

inline Handle Own(vexil_snapshot* snapshot) {
  return {snapshot, [](vexil_snapshot* s) { vexil_release(s); }};
}

inline std::string_view Text(const char* text) { return text != nullptr ? std::string_view(text) : std::string_view(); }

template <typename Number>
std::optional<Number> Known(Number number) {
  return number != -1 ? std::optional<Number>(number) : std::nullopt;
}

}  // namespace detail

struct MemoryFigures {
  std::uint64_t free_bytes = 0;
  std::uint64_t total_bytes = 0;
};

/// Two numbers: platform and device, or driver and device.
struct NumberPair {
  std::int32_t first = 0;
  std::int32_t second = 0;
};

struct GPU {
  std::string_view id, name, hardware_id, pci_location;
  Vendor vendor = Vendor::Unknown;
  GPUType type = GPUType::Unknown;
  bool is_main_display = false;
  std::optional<std::int32_t> pci_domain, pci_bus, pci_device, pci_function;
  std::optional<std::int64_t> vram_mib;
  bool has_cuda = false;
  bool has_opencl = false;
  std::optional<std::int32_t> cuda_index, cuda_compute_major, cuda_compute_minor;

  /// With Options::numbers only.
  std::optional<std::int32_t> dxgi_number, cuda_number, nvml_number, nvapi_number, vulkan_number, hip_number;
  std::optional<NumberPair> opencl_number, level_zero_number;
  std::optional<std::uint64_t> luid;
  std::string_view uuid;

  /// Live video memory; nothing where the driver does not tell.
  std::optional<MemoryFigures> Memory() const {
    auto memory = detail::Sized<vexil_memory>();
    const vexil_status status = vexil_get_gpu_memory(m_snapshot.get(), m_index, &memory);
    if (status == VEXIL_UNKNOWN) return std::nullopt;
    detail::Check(status);
    return MemoryFigures{memory.free_bytes, memory.total_bytes};
  }

 private:
  friend class Snapshot;
  detail::Handle m_snapshot;
  std::uint32_t m_index = 0;
};

struct Monitor {
  std::string_view name, device_name, gpu_id;
  bool is_main = false;
  std::optional<std::int32_t> gpu_index, width, height, refresh_rate;

 private:
  friend class Snapshot;
  detail::Handle m_snapshot;
};

struct System {
  std::string_view os_version, model, cpu_name, system_id, amd_driver_version, intel_driver_version;
  std::optional<std::int32_t> cpu_threads, nvidia_driver_major, nvidia_driver_minor, cuda_driver_major,
      cuda_driver_minor;
  std::optional<std::int64_t> ram_mib;

 private:
  friend class Snapshot;
  detail::Handle m_snapshot;
};

/// One detection's results, which never change. Copies share them.
class Snapshot {
 public:
  /// Takes over a snapshot of the C interface.
  explicit Snapshot(vexil_snapshot* snapshot) : m_snapshot(detail::Own(snapshot)) {}

  /// The result that was saved to a file, whose name is UTF-8.
  static Snapshot Load(const std::string& path) {
    vexil_snapshot* loaded = nullptr;
    detail::Check(vexil_load(path.c_str(), &loaded));
    return Snapshot(loaded);
  }
  static Snapshot LoadBuffer(const void* data, std::size_t size) {
    vexil_snapshot* loaded = nullptr;
    detail::Check(vexil_load_buffer(data, size, &loaded));
    return Snapshot(loaded);
  }

  std::vector<GPU> GPUs() const {
    std::vector<GPU> gpus(vexil_gpu_count(m_snapshot.get()));
    for (std::uint32_t i = 0; i < gpus.size(); ++i) gpus[i] = MakeGPU(i);
    return gpus;
  }

  std::vector<Monitor> Monitors() const {
    std::vector<Monitor> monitors(vexil_monitor_count(m_snapshot.get()));
    for (std::uint32_t i = 0; i < monitors.size(); ++i) monitors[i] = MakeMonitor(i);
    return monitors;
  }

  System GetSystem() const {
    auto from = detail::Sized<vexil_system>();
    detail::Check(vexil_get_system(m_snapshot.get(), &from));
    System made;
    made.os_version = detail::Text(from.os_version);
    made.model = detail::Text(from.model);
    made.cpu_name = detail::Text(from.cpu_name);
    made.system_id = detail::Text(from.system_id);
    made.amd_driver_version = detail::Text(from.amd_driver_version);
    made.intel_driver_version = detail::Text(from.intel_driver_version);
    made.cpu_threads = detail::Known(from.cpu_threads);
    made.nvidia_driver_major = detail::Known(from.nvidia_driver_major);
    made.nvidia_driver_minor = detail::Known(from.nvidia_driver_minor);
    made.cuda_driver_major = detail::Known(from.cuda_driver_major);
    made.cuda_driver_minor = detail::Known(from.cuda_driver_minor);
    made.ram_mib = detail::Known(from.ram_mib);
    made.m_snapshot = m_snapshot;
    return made;
  }

  /// Everything, as "vexil --json" prints it.
  std::string_view JSON() const {
    const char* json = nullptr;
    detail::Check(vexil_get_json(m_snapshot.get(), &json));
    return json;
  }
  /// All numbers, as "vexil ids --json" prints them.
  std::string_view IdsJSON() const {
    const char* json = nullptr;
    detail::Check(vexil_get_ids_json(m_snapshot.get(), &json));
    return json;
  }
  /// Everything as a FlatBuffers buffer, which LoadBuffer takes.
  std::pair<const void*, std::size_t> Buffer() const {
    std::pair<const void*, std::size_t> buffer;
    detail::Check(vexil_get_buffer(m_snapshot.get(), &buffer.first, &buffer.second));
    return buffer;
  }

 private:
  GPU MakeGPU(std::uint32_t index) const {
    auto from = detail::Sized<vexil_gpu>();
    detail::Check(vexil_get_gpu(m_snapshot.get(), index, &from));
    using detail::Known;
    using detail::Text;
    const auto pair = [](std::int32_t first, std::int32_t second) {
      return first != -1 && second != -1 ? std::optional<NumberPair>({first, second}) : std::nullopt;
    };
    GPU made;
    made.id = Text(from.id);
    made.name = Text(from.name);
    made.hardware_id = Text(from.hardware_id);
    made.pci_location = Text(from.pci_location);
    made.vendor = static_cast<Vendor>(from.vendor);
    made.type = static_cast<GPUType>(from.type);
    made.is_main_display = from.is_main_display != 0;
    made.pci_domain = Known(from.pci_domain);
    made.pci_bus = Known(from.pci_bus);
    made.pci_device = Known(from.pci_device);
    made.pci_function = Known(from.pci_function);
    made.vram_mib = Known(from.vram_mib);
    made.has_cuda = (from.compute_apis & VEXIL_API_CUDA) != 0;
    made.has_opencl = (from.compute_apis & VEXIL_API_OPENCL) != 0;
    made.cuda_index = Known(from.cuda_index);
    made.cuda_compute_major = Known(from.cuda_compute_major);
    made.cuda_compute_minor = Known(from.cuda_compute_minor);
    made.dxgi_number = Known(from.dxgi_number);
    made.cuda_number = Known(from.cuda_number);
    made.nvml_number = Known(from.nvml_number);
    made.nvapi_number = Known(from.nvapi_number);
    made.vulkan_number = Known(from.vulkan_number);
    made.hip_number = Known(from.hip_number);
    made.opencl_number = pair(from.opencl_platform_number, from.opencl_device_number);
    made.level_zero_number = pair(from.level_zero_driver_number, from.level_zero_device_number);
    if (from.luid != 0) made.luid = from.luid;
    made.uuid = Text(from.uuid);
    made.m_snapshot = m_snapshot;
    made.m_index = index;
    return made;
  }

  Monitor MakeMonitor(std::uint32_t index) const {
    auto from = detail::Sized<vexil_monitor>();
    detail::Check(vexil_get_monitor(m_snapshot.get(), index, &from));
    Monitor made;
    made.name = detail::Text(from.name);
    made.device_name = detail::Text(from.device_name);
    made.gpu_id = detail::Text(from.gpu_id);
    made.is_main = from.is_main != 0;
    made.gpu_index = detail::Known(from.gpu_index);
    made.width = detail::Known(from.width);
    made.height = detail::Known(from.height);
    made.refresh_rate = detail::Known(from.refresh_rate);
    made.m_snapshot = m_snapshot;
    return made;
  }

  detail::Handle m_snapshot;
};

/// How to detect.
struct Options {
  /// In a process of its own.
  bool isolated = false;
  /// Also by which numbers interfaces know the GPUs.
  bool numbers = false;
  /// For such processes; none is the usual one.
  std::chrono::milliseconds time_limit{0};
  /// The program for them, UTF-8; empty: vexil.exe beside the DLL.
  std::string helper;
  /// Is told the lines of the log. What it throws is rethrown when the detection is over.
  std::function<void(LogLevel level, std::string_view text)> log;
};

/// Detects the GPUs of this machine. Also succeeds where there is none.
inline Snapshot Detect(const Options& options = {}) {
  struct Log {
    const Options& options;
    std::exception_ptr thrown;
    static void Write(void* context, std::int32_t level, const char* text) noexcept {
      auto& log = *static_cast<Log*>(context);
      try {
        if (!log.thrown) log.options.log(static_cast<LogLevel>(level), text);
      } catch (...) {
        log.thrown = std::current_exception();
      }
    }
  } log{options, nullptr};
  auto raw = detail::Sized<vexil_options>();
  if (options.isolated) raw.flags |= VEXIL_ISOLATED;
  if (options.numbers) raw.flags |= VEXIL_NUMBERS;
  raw.time_limit_ms = static_cast<std::uint32_t>(options.time_limit.count());
  raw.helper = options.helper.empty() ? nullptr : options.helper.c_str();
  raw.log = options.log ? &Log::Write : nullptr;
  raw.log_context = &log;
  vexil_snapshot* snapshot = nullptr;
  const vexil_status status = vexil_detect(&raw, &snapshot);
  if (snapshot == nullptr) detail::Check(status);
  const std::string reason = vexil_last_error();
  Snapshot owner(snapshot);
  if (log.thrown) std::rethrow_exception(log.thrown);
  if (status != VEXIL_OK) throw Error(status, reason, std::make_shared<const Snapshot>(std::move(owner)));
  return owner;
}

/// The machine's physical memory at this moment; nothing where Windows does not tell.
inline std::optional<MemoryFigures> SystemMemory() {
  auto memory = detail::Sized<vexil_memory>();
  const vexil_status status = vexil_get_system_memory(&memory);
  if (status == VEXIL_UNKNOWN) return std::nullopt;
  detail::Check(status);
  return MemoryFigures{memory.free_bytes, memory.total_bytes};
}

inline std::string_view Version() { return vexil_version(); }

}  // namespace vexil

#endif
