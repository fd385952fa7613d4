#include <algorithm>
#include <array>

#include "Vexil/Common/Text.h"
#include "Vexil/Platform/VendorLibrary.h"
#include "interfaces/Interfaces.h"

namespace Vexil::Interfaces {
namespace {

using Number = std::uint32_t;
using Handle = void*;
constexpr int kOK = 0;

/// A function, its name and the number by which the library hands it out.
template <typename... Arguments>
struct Function {
  const char* name;
  Number id;
};

constexpr Function<> kInitialize{"NvAPI_Initialize", 0x0150E828};
constexpr Function<> kUnload{"NvAPI_Unload", 0xD22BDD7E};
constexpr Function<Handle*, Number*> kEnumPhysicalGPUs{"NvAPI_EnumPhysicalGPUs", 0xE5AC921F};
constexpr Function<Handle, char*> kGetFullName{"NvAPI_GPU_GetFullName", 0xCEEE8E9F};
constexpr Function<Handle, Number*> kGetBusId{"NvAPI_GPU_GetBusId", 0x1BE0B8E5};
constexpr Function<Handle, Number*> kGetBusSlotId{"NvAPI_GPU_GetBusSlotId", 0x2A0A350F};
constexpr Function<Handle, Handle*> kGetLogicalGPU{"NvAPI_GetLogicalGPUFromPhysicalGPU", 0xADD604D1};

struct LogicalGPUData {
  Number version;
  std::uint64_t* luid;
  Number count;
  Handle physical[64];
  Number reserved[8];
};
static_assert(sizeof(LogicalGPUData) == 568);
constexpr Number kLogicalGPUDataVersion = 0x00010238;
constexpr Function<Handle, LogicalGPUData*> kGetLogicalGpuInfo{"NvAPI_GPU_GetLogicalGpuInfo", 0x842B066E};
/// What drivers had before.
constexpr Function<Handle, std::uint64_t*> kGetAdapterId{"NvAPI_GPU_GetAdapterIdFromPhysicalGpu", 0x0FF07FDE};

class NVAPI : public VendorLibrary {
 public:
  NVAPI() : VendorLibrary("nvapi64.dll") {}
  ~NVAPI() {
    if (m_is_up) m_unload();
  }

  bool Start() {
    if (!Open() || Resolve() != nullptr) return false;
    // What cannot be shut down is not started.
    m_unload = reinterpret_cast<int (*)()>(nvapi_QueryInterface(kUnload.id));
    if (m_unload == nullptr) {
      TheAccount().MissEntryPoint(kUnload.name, true);
      return false;
    }
    const int status = Call(kInitialize);
    if (status != kOK) TheAccount().End(SourceState::StartFailed, kInitialize.name, status);
    return m_is_up = status == kOK;
  }

  template <typename... Arguments>
  int Call(const Function<Arguments...>& function, std::type_identity_t<Arguments>... arguments) {
    constexpr int kNoImplementation = -3;
    void* const found = nvapi_QueryInterface(function.id);
    return found != nullptr ? reinterpret_cast<int (*)(Arguments...)>(found)(arguments...) : kNoImplementation;
  }

  template <typename... Arguments>
  bool Asks(const char* field, const Function<Arguments...>& function, std::type_identity_t<Arguments>... arguments) {
    const int status = Call(function, arguments...);
    if (status != kOK) TheAccount().Miss(field, function.name, status);
    return status == kOK;
  }

 private:
  Entry<void*(Number id)> nvapi_QueryInterface{*this, "nvapi_QueryInterface"};
  int (*m_unload)() = nullptr;
  bool m_is_up = false;
};

std::optional<std::uint64_t> ReadLUID(NVAPI& nvapi, Handle gpu) {
  std::uint64_t luid = 0;
  Handle logical = nullptr;
  LogicalGPUData data = {};
  data.version = kLogicalGPUDataVersion;
  data.luid = &luid;
  const bool told =
      nvapi.Call(kGetLogicalGPU, gpu, &logical) == kOK && nvapi.Call(kGetLogicalGpuInfo, logical, &data) == kOK;
  if (!told && !nvapi.Asks("luid", kGetAdapterId, gpu, &luid)) return std::nullopt;
  return ToLUID(&luid);
}

Device Describe(NVAPI& nvapi, Handle gpu) {
  Device device;
  char name[64] = {};
  if (nvapi.Asks("name", kGetFullName, gpu, name)) device.name = TextInBuffer(name);
  PCIPlace place;
  const bool has_bus = nvapi.Asks("pci", kGetBusId, gpu, &place.bus);
  if (nvapi.Asks("pci", kGetBusSlotId, gpu, &place.device) && has_bus) device.pci = place;
  device.luid = ReadLUID(nvapi, gpu);
  return device;
}

}  // namespace

Findings AskNVAPI() {
  NVAPI nvapi;
  std::vector<Device> devices;
  if (nvapi.Start()) {
    std::array<Handle, 64> gpus = {};
    Number count = 0;
    const int status = nvapi.Call(kEnumPhysicalGPUs, gpus.data(), &count);
    if (status != kOK) nvapi.TheAccount().End(SourceState::CallFailed, kEnumPhysicalGPUs.name, status);
    for (Number index = 0; status == kOK && index < std::min<std::size_t>(count, gpus.size()); ++index) {
      nvapi.TheAccount().About("GPU", index);
      devices.push_back(Describe(nvapi, gpus[index]));
      devices.back().number = std::to_string(index);
    }
  }
  return MakeFindings(std::move(devices), nvapi.TakeAccount());
}

}  // namespace Vexil::Interfaces
