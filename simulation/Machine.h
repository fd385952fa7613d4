#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Vexil/Platform/DXGI.h"
#include "Vexil/Platform/DisplayDevices.h"
#include "Vexil/Platform/Kernel.h"
#include "interfaces/platform/DisplayPaths.h"

namespace Vexil::Simulation {

// What a machine's interfaces answer, as plain data. A library that is nothing is not installed; a number
// that is nothing is one that the driver refuses to tell.

struct PCIAddress {
  std::uint32_t bus = 0;
  std::uint32_t device = 0;
  std::uint32_t function = 0;
};

using UUID = std::array<unsigned char, 16>;

/// An output of the desktop, with the monitors on it.
struct DesktopOutput {
  DisplayDevice device;
  std::optional<DisplayMode> mode;
  std::vector<DisplayDevice> monitors;
};

/// A device of Windows' display class.
struct ClassDevice {
  std::optional<std::string> driver_key;
  std::optional<std::uint64_t> luid;
  std::optional<PCIAddress> pci;
  std::string instance = {};
  std::string name = {};
  std::optional<std::uint32_t> physical_index = {};
  std::string driver_version = {};
  std::string driver_date = {};
};

struct GraphicsAdapter {
  DXGIAdapterDescription description;
  std::vector<std::string> outputs;
  std::optional<std::uint32_t> performance_rank = {};  ///< Where Windows lists it among the fastest.
};

/// What vendor libraries have in common.
struct Library {
  /// Entry points that this version of the library does not have yet.
  std::set<std::string> missing;
  /// How many devices the library says it has, where that is not how many it has.
  std::optional<std::int64_t> claimed_count;
  std::string file_version;
};

struct OpenCLDevice {
  std::string name;
  std::string vendor;
  std::string driver_version;
  std::string extensions;
  bool is_gpu = true;
  std::optional<std::uint64_t> memory_bytes;
  std::optional<bool> unified_memory;
  std::optional<PCIAddress> pci;
  std::uint32_t topology_type = 1;
  std::optional<std::string> board_name;
  std::optional<std::uint64_t> free_memory_kib;
  std::vector<std::size_t> peers;  ///< Indexes in the platform's list.
  std::optional<std::uint64_t> peer_count;
  std::optional<std::uint64_t> luid;  ///< Of the DXGI adapter with which it shares.
  /// Bytes that it says each of its texts has.
  std::optional<std::uint64_t> claimed_text_size = {};
  std::optional<std::uint64_t> own_luid = {};  ///< That it tells itself.
  std::uint32_t node_mask = 1;
  std::optional<UUID> uuid = {};
  std::uint32_t vendor_id = 0;
};

struct OpenCLPlatform {
  std::string name;
  std::string version;
  std::string extensions;
  /// What the platform answers when asked for a device's vendor, which most refuse.
  std::optional<std::string> device_vendor;
  std::optional<std::int64_t> claimed_count;
  std::vector<OpenCLDevice> devices;
  std::optional<std::uint64_t> claimed_text_size = {};
  /// For every DXGI adapter it names its first device as the one that shares with it.
  bool shares_first_device = false;
};

struct OpenCL : Library {
  std::vector<OpenCLPlatform> platforms;
};

struct CUDADevice {
  std::string name;
  std::optional<std::uint64_t> memory_bytes;
  std::optional<std::int32_t> compute_major;
  std::optional<std::int32_t> compute_minor;
  std::optional<PCIAddress> pci;
  std::vector<std::size_t> peers;  ///< Ordinals.
  std::optional<UUID> uuid = {};
  std::optional<std::uint64_t> luid = {};
  std::uint32_t node_mask = 1;
};

struct CUDA : Library {
  std::int32_t driver_version = 0;
  std::vector<CUDADevice> devices;
};

struct NvLink {
  PCIAddress remote;
  std::optional<std::uint32_t> version;
};

struct NVMLDevice {
  std::optional<PCIAddress> pci;
  std::optional<std::uint32_t> generation;
  std::optional<std::uint32_t> max_generation;
  std::optional<std::uint32_t> width;
  std::optional<std::uint32_t> max_width;
  std::optional<std::string> vbios;
  std::vector<NvLink> links;
  /// Links of every number answer, as these do over and over.
  bool has_endless_links = false;
  std::optional<UUID> uuid = {};
};

struct NVML : Library {
  std::vector<NVMLDevice> devices;
};

struct NVAPIDeviceIDs {
  std::uint32_t device = 0;
  std::uint32_t subsystem = 0;
  std::uint32_t revision = 0;
  std::uint32_t external_device = 0;
};

struct NVAPIGPU {
  std::string name;
  std::string vbios;
  std::optional<PCIAddress> pci;
  std::optional<NVAPIDeviceIDs> ids;
  std::optional<std::uint32_t> width;
  std::optional<std::uint32_t> system_type;
  std::optional<std::uint32_t> gpu_type;
  std::optional<std::uint32_t> memory_kib;
  std::uint32_t free_memory_kib = 0;
  std::optional<std::uint64_t> luid = {};
};

struct NVAPIDisplay {
  std::string name;
  bool attached = true;
  std::vector<std::size_t> gpus;  ///< Indexes in the list of GPUs.
  std::optional<std::int64_t> claimed_gpus = {};
};

struct NVAPI : Library {
  std::uint32_t driver_version = 0;
  std::vector<NVAPIGPU> gpus;
  std::vector<NVAPIDisplay> displays;
  /// Listing displays of either kind never ends: they come over and over.
  bool has_endless_displays = false;
};

/// One output of an AMD card.
struct ADLAdapter {
  std::int32_t index = 0;
  std::string name;
  std::string display;
  std::int32_t vendor_id = 0x1002;
  PCIAddress pci;
  std::string pnp;
  std::optional<std::int32_t> asic_types;
};

struct ADL : Library {
  std::string driver_version;
  std::optional<std::int32_t> primary_adapter;
  std::vector<ADLAdapter> adapters;
};

struct VulkanDevice {
  std::string name;
  std::uint32_t vendor_id = 0;
  std::optional<std::uint32_t> type;
  std::uint32_t api_version = 0x00401000;  ///< 1.1
  UUID uuid = {};
  std::optional<std::uint64_t> luid;
  std::uint32_t node_mask = 1;
  std::optional<PCIAddress> pci;
};

struct Vulkan : Library {
  std::vector<VulkanDevice> devices;
};

struct HIPDevice {
  std::string name;
  std::optional<PCIAddress> pci;
  std::optional<std::string> uuid;  ///< Digits, as newer runtimes write them.
  std::optional<std::uint64_t> luid;
  std::uint32_t node_mask = 0;
};

struct HIP : Library {
  std::uint32_t version = 7;
  std::vector<HIPDevice> devices;
};

struct LevelZeroDevice {
  std::string name;
  bool is_gpu = true;
  UUID uuid = {};
  std::optional<std::uint64_t> luid;
  std::optional<PCIAddress> pci;
};

struct LevelZeroDriver {
  std::vector<LevelZeroDevice> devices;
};

struct LevelZero : Library {
  std::vector<LevelZeroDriver> drivers;
};

/// Calls that this machine fails.
struct Failure {
  /// "cuDeviceGetName"; of a call with a parameter also only one kind: "cuDeviceGetAttribute 33".
  std::string call;
  /// On this device only.
  std::optional<std::int64_t> device;
  /// What the call returns, where that is not the library's usual error. 0 is success all the same.
  std::optional<std::int32_t> status = {};
  /// The call answers before it fails.
  bool writes = false;
};

struct Machine {
  std::string about;
  /// By key and name, under HKEY_LOCAL_MACHINE.
  std::map<std::pair<std::string, std::string>, std::string> registry;
  std::optional<PhysicalMemory> memory;
  std::uint32_t processors = 0;
  std::vector<DesktopOutput> desktop;
  std::vector<ClassDevice> display_class;
  /// Nothing where there is no DXGI.
  std::optional<std::vector<GraphicsAdapter>> dxgi;
  std::optional<OpenCL> opencl;
  std::optional<CUDA> cuda;
  std::optional<NVML> nvml;
  std::optional<NVAPI> nvapi;
  std::optional<ADL> adl;
  std::optional<Vulkan> vulkan;
  std::optional<HIP> hip;
  std::optional<LevelZero> level_zero;
  std::vector<Interfaces::DisplayPath> display_paths;
  std::map<std::string, std::string> environment;
  bool is_remote_session = false;
  std::vector<Failure> failures;
  /// Only every other call claims the counts that are claimed; those between tell the truth.
  bool has_unsteady_counts = false;
};

}  // namespace Vexil::Simulation
