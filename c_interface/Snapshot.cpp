#include "c_interface/Snapshot.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <sstream>
#include <string_view>

#include "Vexil/Common/Unknown.h"
#include "c_interface/Border.h"
#include "cli/ResultJson.h"

namespace Vexil::C {

using FlatBuffers::ComputeAPI;
using FlatBuffers::GPUT;
using FlatBuffers::GPUType;
using FlatBuffers::MonitorT;
using FlatBuffers::SystemT;
using FlatBuffers::Vendor;
using Interfaces::Known;

namespace {

static_assert(int{VEXIL_VENDOR_NVIDIA} == static_cast<int>(Vendor::NVIDIA));
static_assert(int{VEXIL_VENDOR_AMD} == static_cast<int>(Vendor::AMD));
static_assert(int{VEXIL_VENDOR_INTEL} == static_cast<int>(Vendor::Intel));
static_assert(int{VEXIL_TYPE_INTEGRATED} == static_cast<int>(GPUType::Integrated));
static_assert(int{VEXIL_TYPE_DISCRETE} == static_cast<int>(GPUType::Discrete));
static_assert(int{VEXIL_TYPE_EXTERNAL} == static_cast<int>(GPUType::External));

/// Records hold sizes beyond 2 TiB as negative numbers.
std::int64_t MiB(std::int32_t field) {
  return field == kUnknown ? -1 : std::int64_t{static_cast<std::uint32_t>(field)};
}

std::int32_t APIs(const GPUT& gpu) {
  std::int32_t apis = 0;
  for (const ComputeAPI api : gpu.compute_apis) {
    if (api == ComputeAPI::CUDA) apis |= VEXIL_API_CUDA;
    if (api == ComputeAPI::OpenCL) apis |= VEXIL_API_OPENCL;
  }
  return apis;
}

/// Takes a number, and the separator behind it, from the start of a text.
std::int32_t TakeNumber(std::string_view& text) {
  std::int32_t number = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto length = static_cast<std::size_t>(end - text.data());
  text.remove_prefix(std::min(length + 1, text.size()));
  return error == std::errc() ? number : -1;
}

/// Where an interface's number goes: one part, or two with a colon between.
struct Place {
  const char* interface;
  std::int32_t vexil_gpu::*first;
  std::int32_t vexil_gpu::*second;
};
constexpr Place kPlaces[] = {
    {"DXGI", &vexil_gpu::dxgi_number, nullptr},
    {"CUDA", &vexil_gpu::cuda_number, nullptr},
    {"NVML", &vexil_gpu::nvml_number, nullptr},
    {"NVAPI", &vexil_gpu::nvapi_number, nullptr},
    {"Vulkan", &vexil_gpu::vulkan_number, nullptr},
    {"HIP", &vexil_gpu::hip_number, nullptr},
    {"OpenCL", &vexil_gpu::opencl_platform_number, &vexil_gpu::opencl_device_number},
    {"Level Zero", &vexil_gpu::level_zero_driver_number, &vexil_gpu::level_zero_device_number},
};

}  // namespace

Snapshot::Snapshot(Cli::Results results, Origin origin, std::optional<Cli::Numbers> numbers)
    : m_results(std::move(results)),
      m_origin(origin),
      m_numbers(std::move(numbers)),
      m_system(MakeSystem(*m_results.records.system)) {
  for (const GPUT& gpu : m_results.gpus) {
    m_gpus.push_back(MakeGPU(gpu));
    if (m_numbers) AddNumbers(m_numbers->joined.gpus[m_gpus.size() - 1], m_gpus.back());
  }
  for (const MonitorT& monitor : m_results.monitors) m_monitors.push_back(MakeMonitor(monitor));
}

const std::string& Snapshot::JSON() const {
  const std::lock_guard lock(m_mutex);
  if (m_json.empty()) {
    std::ostringstream out;
    Cli::PrintJson(out, Cli::ResultToJson(m_results.records));
    m_json = out.str();
  }
  return m_json;
}

const std::string* Snapshot::IdsJSON() const {
  if (!m_numbers) return nullptr;
  const std::lock_guard lock(m_mutex);
  if (m_ids_json.empty()) {
    std::vector<std::size_t> all(m_results.gpus.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    std::ostringstream out;
    Cli::PrintJson(out, Cli::IdsJson(m_results.gpus, *m_numbers, all));
    m_ids_json = out.str();
  }
  return &m_ids_json;
}

const FlatBuffers::MatchedGPUT* Snapshot::Handles(std::size_t index) const {
  return m_origin == Origin::ThisProcess ? &m_results.matched[index] : nullptr;
}

const char* Snapshot::Keep(const std::string& text) { return m_texts.emplace_back(text).c_str(); }

vexil_gpu Snapshot::MakeGPU(const GPUT& gpu) {
  vexil_gpu made = {};
  made.vendor = static_cast<std::int32_t>(gpu.vendor);
  made.type = static_cast<std::int32_t>(gpu.type);
  made.is_main_display = gpu.is_main_display ? 1 : 0;
  made.id = Keep(gpu.id);
  made.name = Keep(gpu.name);
  made.hardware_id = Keep(gpu.hardware_id);
  made.pci_location = Keep(gpu.pci_location);
  made.pci_domain = -1;
  made.pci_bus = gpu.pci_bus;
  made.pci_device = gpu.pci_device;
  made.pci_function = gpu.pci_function;
  made.vram_mib = MiB(gpu.vram_mib);
  made.compute_apis = APIs(gpu);
  made.cuda_index = gpu.cuda_index;
  made.cuda_compute_major = gpu.cuda_compute_major;
  made.cuda_compute_minor = gpu.cuda_compute_minor;
  for (const Place& place : kPlaces) {
    made.*place.first = -1;
    if (place.second != nullptr) made.*place.second = -1;
  }
  made.uuid = "";
  return made;
}

void Snapshot::AddNumbers(const std::vector<Known>& known, vexil_gpu& gpu) {
  for (const Known& k : known) {
    // What could be another GPU's is nobody's.
    if (k.is_disputed) continue;
    for (const Place& place : kPlaces) {
      if (k.interface != std::string_view(place.interface) || gpu.*place.first != -1) continue;
      std::string_view text = k.device.number;
      gpu.*place.first = TakeNumber(text);
      if (place.second != nullptr) gpu.*place.second = TakeNumber(text);
    }
    if (gpu.luid == 0) gpu.luid = k.device.luid.value_or(0);
    if (gpu.uuid[0] == '\0' && k.device.has_shared_uuid) gpu.uuid = Keep(k.device.uuid);
    if (gpu.pci_domain == -1 && k.device.pci && k.device.pci->domain) {
      gpu.pci_domain = static_cast<std::int32_t>(*k.device.pci->domain);
    }
  }
}

vexil_monitor Snapshot::MakeMonitor(const MonitorT& monitor) {
  vexil_monitor made = {};
  made.is_main = monitor.is_main ? 1 : 0;
  made.gpu_index = -1;
  for (std::size_t i = m_results.gpus.size(); i-- > 0;) {
    if (m_results.gpus[i].id == monitor.gpu_id) made.gpu_index = static_cast<std::int32_t>(i);
  }
  made.width = monitor.width;
  made.height = monitor.height;
  made.refresh_rate = monitor.refresh_rate;
  made.gpu_id = Keep(monitor.gpu_id);
  made.name = Keep(monitor.name);
  made.device_name = Keep(monitor.device_name);
  return made;
}

vexil_system Snapshot::MakeSystem(const SystemT& system) {
  vexil_system made = {};
  made.cpu_threads = system.cpu_threads;
  made.ram_mib = MiB(system.ram_mib);
  made.os_version = Keep(system.os_version);
  made.model = Keep(system.model);
  made.cpu_name = Keep(system.cpu_name);
  made.system_id = Keep(system.system_id);
  made.nvidia_driver_major = system.nvidia_driver_major;
  made.nvidia_driver_minor = system.nvidia_driver_minor;
  made.cuda_driver_major = system.cuda_driver_major;
  made.cuda_driver_minor = system.cuda_driver_minor;
  made.amd_driver_version = Keep(system.amd_driver_version);
  made.intel_driver_version = Keep(system.intel_driver_version);
  return made;
}

namespace {

struct Registry {
  std::mutex mutex;
  std::uintptr_t last = 0;
  std::map<std::uintptr_t, std::shared_ptr<const Snapshot>> snapshots;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

std::uintptr_t Key(vexil_snapshot* handle) { return reinterpret_cast<std::uintptr_t>(handle); }

Failure NoSnapshot() { return {VEXIL_NO_SNAPSHOT, "the snapshot is released already, or never was one"}; }

}  // namespace

vexil_snapshot* Register(std::shared_ptr<const Snapshot> snapshot) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  registry.snapshots.emplace(registry.last + 1, std::move(snapshot));
  return reinterpret_cast<vexil_snapshot*>(++registry.last);
}

std::shared_ptr<const Snapshot> Find(vexil_snapshot* handle) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.snapshots.find(Key(handle));
  if (found == registry.snapshots.end()) throw NoSnapshot();
  return found->second;
}

void Forget(vexil_snapshot* handle) {
  Registry& registry = TheRegistry();
  std::shared_ptr<const Snapshot> last;
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.snapshots.find(Key(handle));
  if (found == registry.snapshots.end()) throw NoSnapshot();
  last = std::move(found->second);
  registry.snapshots.erase(found);
}

}  // namespace Vexil::C
