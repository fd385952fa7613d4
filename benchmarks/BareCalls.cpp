#include "BareCalls.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <unordered_map>

#include "Common/OpenLibrary.h"
#include "Windows/DXGI.h"
#include "Windows/DisplayClass.h"
#include "Windows/DisplayDevices.h"
#include "Windows/Kernel.h"
#include "Windows/Registry.h"

namespace Vexil::Bench {
namespace {

/// A library with all its entry points resolved, called with whatever they take.
class Library {
 public:
  Library(const char* file_name, std::initializer_list<const char*> entry_points) : m_library(OpenLibrary(file_name)) {
    for (const char* name : entry_points) m_symbols[name] = FindSymbol(m_library, name);
  }
  ~Library() { CloseLibrary(m_library); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <typename... Arguments>
  auto Find(const char* name) const {
    return reinterpret_cast<int (*)(Arguments...)>(m_symbols.at(name));
  }
  Symbol FindByName(const char* name) const { return m_symbols.at(name); }

 private:
  void* m_library;
  std::unordered_map<std::string, Symbol> m_symbols;
};

using Handle = void*;
using Number = unsigned;
using Size = std::size_t;

class OpenCL : Library {
 public:
  OpenCL()
      : Library("OpenCL.dll", {"clGetPlatformIDs", "clGetPlatformInfo", "clGetDeviceIDs", "clGetDeviceInfo",
                               "clGetExtensionFunctionAddressForPlatform"}) {}

  Handle Platforms() const {
    Handle platform = nullptr;
    Number count = 0;
    get_platforms(0, nullptr, &count);
    get_platforms(1, &platform, nullptr);
    get_devices(platform, kGPU, 0, nullptr, &count);
    PlatformText(platform, 0x0902);
    Size size = 0;
    get_platform_info(platform, 0x102C, 0, nullptr, &size);
    return platform;
  }

  void PlatformText(Handle platform, Number parameter) const {
    char text[256];
    Size size = 0;
    get_platform_info(platform, parameter, 0, nullptr, &size);
    get_platform_info(platform, parameter, sizeof(text), text, nullptr);
  }

  void Devices(Handle platform, Size gpus) const {
    Handle devices[64];
    Number count = 0;
    get_devices(platform, kGPU, 0, nullptr, &count);
    get_devices(platform, kGPU, 64, devices, nullptr);
    for (Size gpu = 0; gpu < gpus; ++gpu) Device(platform, devices[gpu]);
  }

 private:
  static constexpr std::uint64_t kGPU = 4;

  void Device(Handle platform, Handle device) const {
    char answer[4096];
    Size size = 0;
    PlatformText(platform, 0x0902);
    PlatformText(platform, 0x0901);
    for (const Number text : {0x102CU, 0x102BU, 0x102DU, 0x1030U}) {
      get_device_info(device, text, 0, nullptr, &size);
      get_device_info(device, text, sizeof(answer), answer, nullptr);
    }
    get_device_info(device, 0x101F, 8, answer, nullptr);
    for (const Number number : {0x1035U, 0x4008U, 0x4009U}) get_device_info(device, number, 4, answer, nullptr);
  }

  int (*get_platforms)(Number, Handle*, Number*) = Find<Number, Handle*, Number*>("clGetPlatformIDs");
  int (*get_devices)(Handle, std::uint64_t, Number, Handle*,
                     Number*) = Find<Handle, std::uint64_t, Number, Handle*, Number*>("clGetDeviceIDs");
  int (*get_platform_info)(Handle, Number, Size, void*,
                           Size*) = Find<Handle, Number, Size, void*, Size*>("clGetPlatformInfo");
  int (*get_device_info)(Handle, Number, Size, void*,
                         Size*) = Find<Handle, Number, Size, void*, Size*>("clGetDeviceInfo");
};

void CallOpenCL(Size gpus) {
  {
    const OpenCL intel_driver_version;
    intel_driver_version.PlatformText(intel_driver_version.Platforms(), 0x0902);
  }
  {
    const OpenCL detector;
    detector.Devices(detector.Platforms(), gpus);
  }
  const OpenCL directx_link;
  directx_link.Platforms();
}

void CallCUDA(int gpus) {
  const Library cuda("nvcuda.dll",
                     {"cuInit", "cuDeviceGetCount", "cuDeviceGet", "cuDeviceGetAttribute", "cuDeviceGetName",
                      "cuDeviceTotalMem_v2", "cuDeviceCanAccessPeer", "cuGetErrorName", "cuDriverGetVersion"});
  int value = 0;
  char name[1024];
  Size bytes = 0;
  cuda.Find<Number>("cuInit")(0);
  cuda.Find<int*>("cuDeviceGetCount")(&value);
  const auto get = cuda.Find<int*, int>("cuDeviceGet");
  const auto can_access_peer = cuda.Find<int*, int, int>("cuDeviceCanAccessPeer");
  const auto get_name = cuda.Find<char*, int, int>("cuDeviceGetName");
  const auto total_memory = cuda.Find<Size*, int>("cuDeviceTotalMem_v2");
  const auto get_attribute = cuda.Find<int*, int, int>("cuDeviceGetAttribute");
  for (int gpu = 0; gpu < gpus; ++gpu) {
    int device = 0;
    get(&device, gpu);
    get_name(name, sizeof(name), device);
    total_memory(&bytes, device);
    for (const int attribute : {75, 76, 33, 34}) get_attribute(&value, attribute, device);
    for (int other = 0; other < gpus; ++other) {
      int peer = 0;
      if (other == gpu) continue;
      get(&peer, other);
      can_access_peer(&value, device, peer);
    }
  }
}

void CallNVML(Number gpus) {
  const Library nvml(
      "nvml.dll",
      {"nvmlInit_v2", "nvmlShutdown", "nvmlErrorString", "nvmlSystemGetDriverVersion", "nvmlDeviceGetCount_v2",
       "nvmlDeviceGetHandleByIndex_v2", "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetCurrPcieLinkGeneration",
       "nvmlDeviceGetMaxPcieLinkGeneration", "nvmlDeviceGetCurrPcieLinkWidth", "nvmlDeviceGetMaxPcieLinkWidth",
       "nvmlDeviceGetNvLinkRemotePciInfo_v2", "nvmlDeviceGetNvLinkVersion", "nvmlDeviceGetVbiosVersion"});
  Number value = 0;
  char text[256];
  nvml.Find<>("nvmlInit_v2")();
  nvml.Find<Number*>("nvmlDeviceGetCount_v2")(&value);
  const auto by_index = nvml.Find<Number, Handle*>("nvmlDeviceGetHandleByIndex_v2");
  const auto pci_info = nvml.Find<Handle, void*>("nvmlDeviceGetPciInfo_v3");
  const auto remote_pci_info = nvml.Find<Handle, Number, void*>("nvmlDeviceGetNvLinkRemotePciInfo_v2");
  const auto link_version = nvml.Find<Handle, Number, Number*>("nvmlDeviceGetNvLinkVersion");
  const auto vbios_version = nvml.Find<Handle, char*, Number>("nvmlDeviceGetVbiosVersion");
  for (Number gpu = 0; gpu < gpus; ++gpu) {
    Handle device = nullptr;
    by_index(gpu, &device);
    pci_info(device, text);
    for (const char* link : {"nvmlDeviceGetCurrPcieLinkGeneration", "nvmlDeviceGetMaxPcieLinkGeneration",
                             "nvmlDeviceGetCurrPcieLinkWidth", "nvmlDeviceGetMaxPcieLinkWidth"}) {
      nvml.Find<Handle, Number*>(link)(device, &value);
    }
    for (Number link = 0; remote_pci_info(device, link, text) == 0; ++link) link_version(device, link, &value);
    vbios_version(device, text, 32);
  }
  nvml.Find<>("nvmlShutdown")();
}

/// NVAPI's functions by number, each asked for once.
class NVAPI : Library {
 public:
  NVAPI() : Library("nvapi64.dll", {"nvapi_QueryInterface"}) {}

  template <typename... Arguments>
  int Call(Number id, Arguments... arguments) {
    Symbol& function = m_functions[id];
    if (function == nullptr) function = m_query(id);
    return reinterpret_cast<int (*)(Arguments...)>(function)(arguments...);
  }

 private:
  std::unordered_map<Number, Symbol> m_functions;
  Symbol (*m_query)(Number) = reinterpret_cast<Symbol (*)(Number)>(FindByName("nvapi_QueryInterface"));
};

constexpr Number kInitialize = 0x0150E828;
constexpr Number kUnload = 0xD22BDD7E;

/// Each session loads NVAPI anew, unless live memory keeps it up.
std::shared_ptr<NVAPI> OpenNVAPI(bool keep_up) {
  if (!keep_up) return std::make_shared<NVAPI>();
  static const auto kept = [] {
    auto nvapi = std::make_shared<NVAPI>();
    nvapi->Call(kInitialize);
    return nvapi;
  }();
  return kept;
}

using Handles = std::array<Handle, 64>;

Handles CallNVAPI(NVAPI& nvapi, Number gpus) {
  Handles handles = {};
  Handle display = nullptr;
  Number value = 0;
  char text[64];
  nvapi.Call(kInitialize);
  nvapi.Call<Handle*, Number*>(0xE5AC921F, handles.data(), &value);
  for (Number index = 0; nvapi.Call<Number, Handle*>(0x9ABDD40D, index, &display) == 0; ++index) {
    Handle drivers[64];
    nvapi.Call<Handle, char*>(0x22A78B05, display, text);
    nvapi.Call<Handle, Handle*, Number*>(0x34EF9506, display, drivers, &value);
  }
  nvapi.Call<Number, Handle*>(0x20DE9260, 0, &display);
  for (Number gpu = 0; gpu < gpus; ++gpu) {
    for (const Number name : {0xCEEE8E9FU, 0xA561FD7DU}) nvapi.Call<Handle, char*>(name, handles[gpu], text);
    for (const Number number : {0x1BE0B8E5U, 0x2A0A350FU, 0xD048C3B1U, 0xBAAABFCCU, 0xC33BAEB1U}) {
      nvapi.Call<Handle, Number*>(number, handles[gpu], &value);
    }
    nvapi.Call<Handle, Number*, Number*, Number*, Number*>(0x2DDFB66E, handles[gpu], &value, &value, &value, &value);
  }
  nvapi.Call(kUnload);
  return handles;
}

/// The report's live figures.
void CallForReport(NVAPI& nvapi, Number gpus, const Handles& handles) {
  Number memory[8] = {0x00030020};
  GetPhysicalMemory();
  for (Number gpu = 0; gpu < gpus; ++gpu) nvapi.Call<Handle, void*>(0x07F9B368, handles[gpu], memory);
}

void CallNVAPIForDriverVersion(NVAPI& nvapi) {
  Number version = 0;
  char branch[64];
  nvapi.Call(kInitialize);
  nvapi.Call<Number*, char*>(0x2926AAAD, &version, branch);
  nvapi.Call(kUnload);
}

void CallSystem(bool for_report) {
  for (const char* value : {"CurrentBuildNumber", "ProductName", "MachineGuid", "BaseBoardManufacturer",
                            "BaseBoardProduct", "ProcessorNameString"}) {
    ReadRegistryString(R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion)", value);
  }
  GetProcessorCount();
  GetPhysicalMemory();
  // Asked for twice, and not there.
  OpenLibrary("atiadlxx.dll");
  OpenLibrary("atiadlxx.dll");
  CallNVAPIForDriverVersion(*OpenNVAPI(for_report));
  for (std::uint32_t index = 0; GetAdapterOutput(index); ++index) continue;
}

void CallMonitors(const std::string& output) {
  for (std::uint32_t index = 0; GetMonitorOn(output, index); ++index) GetCurrentMode(output);
}

void CallDisplayDevices() {
  for (std::uint32_t index = 0; const auto output = GetAdapterOutput(index); ++index) {
    CallMonitors(output->name);
    ReadRegistryString(output->key, "ProviderName");
    ReadRegistryString(output->key, "Driver");
    DisplayClassDevices devices;
    for (std::uint32_t i = 0; i <= index && devices.Next(); ++i) devices.DriverKey();
    devices.BusNumber();
    devices.Address();
  }
}

void CallDirectX() {
  ForEachDXGIAdapter([](std::uint32_t index, DXGIAdapter& adapter) {
    adapter.Description();
    DisplayClassDevices devices;
    for (std::uint32_t i = 0; i <= index && devices.Next(); ++i) devices.AdapterLUID();
    devices.BusNumberProperty();
    devices.AddressProperty();
    for (std::uint32_t output = 0; const auto name = adapter.OutputName(output); ++output) CallMonitors(*name);
  });
}

}  // namespace

void MakeBareCalls(std::size_t gpus, bool for_report) {
  CallSystem(for_report);
  CallOpenCL(gpus);
  CallCUDA(static_cast<int>(gpus));
  CallDisplayDevices();
  CallDirectX();
  const Handles nvapi_handles = CallNVAPI(*OpenNVAPI(for_report), static_cast<Number>(gpus));
  CallNVML(static_cast<Number>(gpus));
  if (for_report) CallForReport(*OpenNVAPI(true), static_cast<Number>(gpus), nvapi_handles);
}

}  // namespace Vexil::Bench
